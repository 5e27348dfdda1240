// Console input: defaults, trimming, the 200-character cut, type-ahead,
// indirect command files and the command log.
#include "testutil.h"

namespace {

using InputTest = TempDirTest;

// Answers one getuser and returns the answer, with what was printed.
std::string ask(const char *prompt, const char *def, std::string *printed = nullptr,
                bool upper = false) {
    start_capture();
    char *answer = getuser(prompt, def, upper);
    std::string out = end_capture();
    if (printed != nullptr)
        *printed = out;
    std::string result = answer;
    errfree(answer);
    return result;
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

TEST_F(InputTest, TypeAheadAnswersTheNextQuestionsWithoutTheirPrompts) {
    const char *const table[] = {"CUSTOMER", "PRICE", nullptr};
    feed_input("add price  Smith x\nconsole\n");
    start_capture();
    char *word = get_commandWord("VARNOK", "", true);
    int choice = get_list("Add what", "", table, false);
    char *rest = getuser("Name", "dflt", false);
    char *next = getuser("Next", "", false);
    std::string printed = end_capture();
    EXPECT_STREQ(word, "ADD");
    EXPECT_EQ(choice, 1);
    // The whole line was upper-cased before the first word was split off.
    EXPECT_STREQ(rest, "SMITH X");
    EXPECT_STREQ(next, "console");
    EXPECT_EQ(printed, "VARNOK: Next: ");
    errfree(word);
    errfree(rest);
    errfree(next);
}

TEST_F(InputTest, IndirectFilesNestAndFallBackToTheConsole) {
    write_file("outer.cmd", "outer one\nouter two\n");
    write_file("inner.cmd", "inner\n");
    feed_input("console\n");
    ASSERT_TRUE(addIndirectFile("outer.cmd"));
    EXPECT_EQ(ask("A", ""), "outer one");
    ASSERT_TRUE(addIndirectFile("inner.cmd"));
    // The log records every answer, whatever its source.
    start_capture();
    EXPECT_TRUE(establishLogFile("cmd.log"));
    EXPECT_EQ(end_capture(), "Logging commands in cmd.log\n");
    EXPECT_EQ(ask("B", ""), "inner");
    EXPECT_EQ(ask("C", ""), "outer two");
    EXPECT_EQ(ask("D", ""), "console");
    start_capture();
    establishLogFile(nullptr);
    EXPECT_EQ(end_capture(), "Closing log file cmd.log\n");
    EXPECT_EQ(read_file("cmd.log"), "inner\nouter two\nconsole\n");

    for (int i = 0; i < 10; i++)
        ASSERT_TRUE(addIndirectFile("outer.cmd"));
    start_capture();
    EXPECT_FALSE(addIndirectFile("inner.cmd"));
    std::string out = end_capture();
    EXPECT_NE(out.find("? Too many indirect files open at once. Trying to open inner.cmd\n"),
              std::string::npos);
    EXPECT_EQ(ask("E", ""), "outer one"); // the ten stay open
    closeAllIndirectFiles();
}

} // namespace
