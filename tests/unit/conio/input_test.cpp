// Console input: defaults, trimming, the 200-character cut, type-ahead,
// indirect command files, the command log and Tab completion.
#include "conio/completion.h"
#include "testutil.h"

namespace {

using InputTest = TempDirTest;

// The answer to one question; what it printed goes to `printed`.
std::string ask(const char *prompt, const char *def, std::string *printed = nullptr,
                bool upper = false) {
    std::string answer;
    std::string out = output_of([&] { answer = take(getuser(prompt, def, upper)); });
    if (printed != nullptr)
        *printed = out;
    return answer;
}

TEST_F(InputTest, AnswersAreDefaultedTrimmedAndCut) {
    std::string long_line = std::string(150, 'a') + std::string(150, 'b');
    std::string huge(10000, 'h');
    feed_input("\n   two words  \t\n  lower Case \n" + long_line + "\n" + huge + "\nnext\r\n");
    std::string printed;
    EXPECT_EQ(ask("Amount", "5", &printed), "5");
    EXPECT_EQ(printed, "Amount [5]: ");
    EXPECT_EQ(ask("Name", nullptr, &printed), "two words");
    EXPECT_EQ(printed, "Name: ");
    EXPECT_EQ(ask("Up", "", nullptr, true), "LOWER CASE");
    // Only the first 200 characters count; the rest of the line is dropped.
    EXPECT_EQ(ask("P", ""), long_line.substr(0, 200));
    EXPECT_EQ(ask("P", ""), huge.substr(0, 200));
    EXPECT_EQ(ask("P", ""), "next");
}

// The whole line is upper-cased before the first word is split off; the
// rest answers the next questions without their prompts.
TEST_F(InputTest, TypeAheadAnswersTheNextQuestionsWithoutTheirPrompts) {
    const char *const table[] = {"CUSTOMER", "PRICE", nullptr};
    feed_input("add price  Smith x\nconsole\n");
    std::string word, rest, next;
    int choice = -1;
    EXPECT_EQ(output_of([&] {
                  word = take(get_commandWord("VARNOK", "", true));
                  choice = get_list("Add what", "", table, false);
                  rest = take(getuser("Name", "dflt", false));
                  next = take(getuser("Next", "", false));
              }),
              "VARNOK: Next: ");
    EXPECT_EQ(word + "|" + rest + "|" + next, "ADD|SMITH X|console");
    EXPECT_EQ(choice, 1);
}

TEST_F(InputTest, IndirectFilesNestAndFallBackToTheConsole) {
    write_file("outer.cmd", "outer one\nouter two\n");
    write_file("inner.cmd", "inner\n");
    feed_input("console\n");
    ASSERT_TRUE(addIndirectFile("outer.cmd"));
    EXPECT_EQ(ask("A", ""), "outer one");
    ASSERT_TRUE(addIndirectFile("inner.cmd"));
    // The log records every answer, whatever its source.
    EXPECT_EQ(output_of([] { EXPECT_TRUE(establishLogFile("cmd.log")); }),
              "Logging commands in cmd.log\n");
    EXPECT_EQ(ask("B", ""), "inner");
    EXPECT_EQ(ask("C", ""), "outer two");
    EXPECT_EQ(ask("D", ""), "console");
    EXPECT_EQ(output_of([] { establishLogFile(nullptr); }), "Closing log file cmd.log\n");
    EXPECT_EQ(read_file("cmd.log"), "inner\nouter two\nconsole\n");

    for (int i = 0; i < 10; i++)
        ASSERT_TRUE(addIndirectFile("outer.cmd"));
    EXPECT_TRUE(has(output_of([] { EXPECT_FALSE(addIndirectFile("inner.cmd")); }),
                    "? Too many indirect files open at once. Trying to open inner.cmd\n"));
    EXPECT_EQ(ask("E", ""), "outer one"); // the ten stay open
    closeAllIndirectFiles();
}

// A single match finishes the word, a shared prefix is added, several
// matches are listed.
TEST(Completion, OneMatchASharedPrefixOrTheChoices) {
    const char *const menu[] = {"GLIDER-FLIGHTS", "GLIDER-TOWS", "GAS-SALES", nullptr};
    CompletionScope scope(complete_from_table, CompletionSpan::WORD, menu);
    Completion one = complete_line("ga", 2), shared = complete_line("gl", 2);
    EXPECT_TRUE(one.changed && shared.changed);
    EXPECT_EQ(one.replacement + "|" + shared.replacement, "GAS-SALES |GLIDER-");
    Completion several = complete_line("glider-", 7);
    EXPECT_FALSE(several.changed);
    EXPECT_EQ(several.choices, (std::vector<std::string>{"GLIDER-FLIGHTS", "GLIDER-TOWS"}));
    // Listed down the columns, each as wide as the widest choice and two spaces.
    EXPECT_EQ(format_choices({"GLIDER-FLIGHTS", "GLIDER-TOWS", "GAS-SALES"}, 34),
              "GLIDER-FLIGHTS  GAS-SALES\nGLIDER-TOWS\n");
}

} // namespace
