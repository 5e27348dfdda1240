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

TEST_F(InputTest, PromptsDefaultsAndTrimming) {
    feed_input("\n  \t \n   two words  \t\n\n  lower Case \n");
    std::string printed;
    EXPECT_EQ(ask("Amount", "5", &printed), "5");
    EXPECT_EQ(printed, "Amount [5]: ");
    EXPECT_EQ(ask("Name", nullptr, &printed), "");
    EXPECT_EQ(printed, "Name: ");
    EXPECT_EQ(ask("Name", "", &printed), "two words");
    // A default of blanks is shown and, when substituted, kept as it is.
    EXPECT_EQ(ask("Pad", "ab  ", &printed), "ab  ");
    EXPECT_EQ(printed, "Pad [ab  ]: ");
    EXPECT_EQ(ask("Up", "", nullptr, true), "LOWER CASE");
}

TEST_F(InputTest, LongLinesAreCutAndTheirRestDropped) {
    std::string long_line(150, 'a');
    long_line += std::string(150, 'b');
    std::string huge(10000, 'h');
    feed_input(long_line + "\n" + huge + "\nnext\r\n");
    EXPECT_EQ(ask("P", ""), long_line.substr(0, 200));
    EXPECT_EQ(ask("P", ""), huge.substr(0, 200));
    EXPECT_EQ(ask("P", ""), "next");
}

TEST_F(InputTest, LowLevelReadLimits) {
    feed_input("abcdef\n   \n");
    char buffer[16];
    EXPECT_EQ(getLineFromLogicalUser(nullptr, 5, nullptr), nullptr);
    EXPECT_STREQ(getLineFromLogicalUser(buffer, 3, nullptr), "abc");
    // A negative length counts as 0, so even the default is cut away.
    EXPECT_STREQ(getLineFromLogicalUser(buffer, -4, "dflt"), "");
}

TEST_F(InputTest, TypeAheadAnswersTheNextPromptSilently) {
    feed_input("ADD customer  Smith\nconsole\n");
    start_capture();
    char *word = get_commandWord("VARNOK", "", true);
    std::string printed = end_capture();
    EXPECT_STREQ(word, "ADD");
    EXPECT_EQ(printed, "VARNOK: ");
    errfree(word);

    std::string second_prompt;
    // The whole line was upper-cased before the word was split off.
    EXPECT_EQ(ask("What", "x", &second_prompt), "CUSTOMER  SMITH");
    EXPECT_EQ(second_prompt, "");
    EXPECT_EQ(ask("What", ""), "console");
}

TEST_F(InputTest, GivingBackAndDiscardingLines) {
    feed_input("from console\n");
    i_giveBackLine(alloc_str("pending"));
    i_giveBackLine(alloc_str("  \t "));
    i_giveBackLine(nullptr);
    EXPECT_EQ(ask("Q", ""), "pending");

    i_giveBackLine(alloc_str("leftover"));
    start_capture();
    i_ignoreRestOfLine(false);
    std::string out = end_capture();
    EXPECT_NE(out.find("? Discarding rest of line: leftover\n"), std::string::npos);
    EXPECT_EQ(ask("Q", ""), "from console");

    i_giveBackLine(alloc_str("dropped by reset"));
    conio_reset();
    feed_input("fresh\n");
    EXPECT_EQ(ask("Q", ""), "fresh");
}

TEST_F(InputTest, IndirectFilesNestAndFallBack) {
    write_file("outer.cmd", "outer 1\nouter 2\n");
    write_file("inner.cmd", "inner 1\n");
    feed_input("console 1\n");
    ASSERT_TRUE(addIndirectFile("outer.cmd"));
    EXPECT_EQ(ask("Q", ""), "outer 1");
    ASSERT_TRUE(addIndirectFile("inner.cmd"));
    EXPECT_EQ(ask("Q", ""), "inner 1");
    EXPECT_EQ(ask("Q", ""), "outer 2");
    EXPECT_EQ(ask("Q", ""), "console 1");

    start_capture();
    EXPECT_FALSE(addIndirectFile("absent.cmd"));
    EXPECT_FALSE(addIndirectFile(nullptr));
    EXPECT_NE(end_capture().find("? Unable to open indirect file absent.cmd\n"), std::string::npos);
}

TEST_F(InputTest, AtMostTenIndirectFiles) {
    for (int i = 0; i < 11; i++)
        write_file("f" + std::to_string(i), "line " + std::to_string(i) + "\n");
    for (int i = 0; i < 10; i++)
        ASSERT_TRUE(addIndirectFile(("f" + std::to_string(i)).c_str()));
    start_capture();
    EXPECT_FALSE(addIndirectFile("f10"));
    EXPECT_NE(end_capture().find("? Too many indirect files open at once. Trying to open f10\n"),
              std::string::npos);
    EXPECT_EQ(ask("Q", ""), "line 9");
    // f9 is exhausted but still open; closing it resumes f8.
    closeCurrentIndirectFile();
    EXPECT_EQ(ask("Q", ""), "line 8");
    closeCurrentIndirectFile();
    closeCurrentIndirectFile();
    EXPECT_EQ(ask("Q", ""), "line 6");
    closeAllIndirectFiles();
    feed_input("console\n");
    EXPECT_EQ(ask("Q", ""), "console");
}

TEST_F(InputTest, CommandLogRecordsAnswers) {
    feed_input("first\n\n");
    start_capture();
    EXPECT_TRUE(establishLogFile("cmd.log"));
    std::string out = end_capture();
    EXPECT_EQ(out, "Logging commands in cmd.log\n");
    i_giveBackLine(alloc_str("typed ahead"));
    ask("Q", "");
    ask("Q", "");
    ask("Q", "dflt");
    start_capture();
    EXPECT_FALSE(establishLogFile(nullptr));
    EXPECT_EQ(end_capture(), "Closing log file cmd.log\n");
    EXPECT_EQ(read_file("cmd.log"), "typed ahead\nfirst\ndflt\n");
    EXPECT_FALSE(establishLogFile("no-such-dir/x.log"));
}

int end_calls = 0;
std::string asked_inside;
void count_end() {
    end_calls++;
    // A handler that asks a question itself must not recurse.
    char *answer = getuser("Save", "inner", false);
    asked_inside = answer;
    errfree(answer);
}

TEST_F(InputTest, EndOfConsoleInputCallsTheHandler) {
    end_calls = 0;
    i_setEndOfInputHandler(count_end);
    feed_input("last");
    EXPECT_EQ(ask("Q", "d"), "last");
    EXPECT_EQ(end_calls, 0);
    EXPECT_EQ(ask("Q", "d"), "d");
    EXPECT_EQ(end_calls, 1);
    EXPECT_EQ(asked_inside, "inner");
    EXPECT_EQ(ask("Q", ""), "");
    EXPECT_EQ(end_calls, 2);
}

} // namespace
