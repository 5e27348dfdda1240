// Tab completion on plain text: which part of the line is completed, what
// a single match, a shared prefix and several matches do, nested questions,
// file names, and the listing of choices.
#include <sys/stat.h>

#include "conio/completion.h"
#include "testutil.h"

namespace {

using CompletionTest = TempDirTest;

const char *const kCommands[] = {"ENTER", "END-MONTH", "EXIT", "EXPERT", "SHOW", nullptr};
const char *const kMenu[] = {"GLIDER-FLIGHTS", "GLIDER-TOWS", "GAS-SALES", nullptr};

void names(const void *, const std::string &, std::vector<std::string> &out) {
    out = {"KAREN ANDERSON", "KARL BAKER", "AN15", "KAREN ANDERSON"};
}

std::string completed(const std::string &line, size_t cursor = std::string::npos) {
    if (cursor == std::string::npos)
        cursor = line.size();
    Completion c = complete_line(line, cursor);
    if (!c.changed)
        return "<unchanged>";
    return line.substr(0, c.from) + c.replacement + line.substr(cursor);
}

std::vector<std::string> listed(const std::string &line) {
    return complete_line(line, line.size()).choices;
}

TEST_F(CompletionTest, TheFirstWordCompletesAgainstTheTableCaseIgnored) {
    CompletionScope scope(complete_from_table, CompletionSpan::WORD, kCommands);
    // A finished word gets the blank that separates it from type-ahead.
    EXPECT_EQ(completed("ent"), "ENTER ");
    EXPECT_EQ(completed("  sh"), "  SHOW ");
    // Within a line the rest stays and no blank is added.
    EXPECT_EQ(completed("ent glider", 3), "ENTER glider");
    // Several matches: listed in the table's order when nothing can be added.
    EXPECT_EQ(listed("ex"), (std::vector<std::string>{"EXIT", "EXPERT"}));
    EXPECT_EQ(listed("e").size(), 4u);
    EXPECT_EQ(completed("e"), "<unchanged>");
    // Past the first word the line answers later questions: nothing offered.
    Completion later = complete_line("enter gl", 8);
    EXPECT_FALSE(later.changed);
    EXPECT_TRUE(later.choices.empty());
    EXPECT_TRUE(listed("zz").empty());
}

TEST_F(CompletionTest, SharedPrefixIsAddedBeforeChoicesAreListed) {
    CompletionScope scope(complete_from_table, CompletionSpan::WORD, kMenu);
    EXPECT_EQ(completed("gl"), "GLIDER-");
    EXPECT_EQ(listed("glider-"), (std::vector<std::string>{"GLIDER-FLIGHTS", "GLIDER-TOWS"}));
    EXPECT_EQ(completed("glider-t"), "GLIDER-TOWS ");
}

TEST_F(CompletionTest, WholeLineSpanKeepsBlanksAndDuplicatesCountOnce) {
    CompletionScope scope(names, CompletionSpan::LINE);
    EXPECT_EQ(completed("karen a"), "KAREN ANDERSON");
    EXPECT_EQ(completed("kare"), "KAREN ANDERSON");
    EXPECT_EQ(listed("kar"), (std::vector<std::string>{"KAREN ANDERSON", "KARL BAKER"}));
    EXPECT_EQ(completed("an"), "AN15");
}

TEST_F(CompletionTest, AnInnerQuestionOffersItsOwnAnswersThenTheOuterOnesAgain) {
    EXPECT_EQ(completed("ent"), "<unchanged>"); // no question names a source
    {
        CompletionScope outer(names, CompletionSpan::LINE);
        {
            CompletionScope inner(complete_from_table, CompletionSpan::WORD, yesno);
            EXPECT_EQ(completed("y"), "YES ");
            EXPECT_EQ(completed("kar"), "<unchanged>");
        }
        EXPECT_EQ(completed("karl"), "KARL BAKER");
    }
    EXPECT_EQ(completed("karl"), "<unchanged>");
}

TEST_F(CompletionTest, FileNamesFromTheFolderTyped) {
    write_file("VNKSTMNT.LIS", "");
    write_file("VNKSTMNT.OLD", "");
    write_file(".varnok_history", "");
    ASSERT_EQ(mkdir("sub", 0755), 0);
    write_file("sub/may.lis", "");
    CompletionScope scope(complete_file_names, CompletionSpan::WORD);
    EXPECT_EQ(completed("vnks"), "VNKSTMNT.");
    EXPECT_EQ(completed("vnkstmnt.o"), "VNKSTMNT.OLD ");
    // A folder is not a finished answer: no blank, its names next.
    EXPECT_EQ(completed("su"), "sub/");
    EXPECT_EQ(completed("sub/"), "sub/may.lis ");
    // Hidden names only when asked for.
    EXPECT_EQ(listed(""), (std::vector<std::string>{"VNKSTMNT.LIS", "VNKSTMNT.OLD", "sub/"}));
    EXPECT_EQ(completed(".v"), ".varnok_history ");
    EXPECT_TRUE(listed("nowhere/x").empty());
}

TEST_F(CompletionTest, ChoicesAreListedColumnAfterColumn) {
    std::vector<std::string> five = {"ACCOUNT-BALANCE", "AIRPLANE-FLIGHTS", "GAS-SALES",
                                     "GLIDER-FLIGHTS", "PAYMENTS"};
    // 16 wide plus two blanks: two columns in 40, three in 54.
    EXPECT_EQ(format_choices(five, 40), "ACCOUNT-BALANCE   GLIDER-FLIGHTS\n"
                                        "AIRPLANE-FLIGHTS  PAYMENTS\n"
                                        "GAS-SALES\n");
    EXPECT_EQ(format_choices(five, 54), "ACCOUNT-BALANCE   GAS-SALES         PAYMENTS\n"
                                        "AIRPLANE-FLIGHTS  GLIDER-FLIGHTS\n");
    // A choice wider than the screen still gets a line of its own.
    EXPECT_EQ(format_choices({"AB", "CD"}, 1), "AB\nCD\n");
}

} // namespace
