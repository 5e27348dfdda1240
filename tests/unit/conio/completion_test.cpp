// Tab completion on plain text: a single match finishes the word, a shared
// prefix is added, several matches are listed.
#include "conio/completion.h"
#include "testutil.h"

namespace {

const char *const kMenu[] = {"GLIDER-FLIGHTS", "GLIDER-TOWS", "GAS-SALES", nullptr};

TEST(Completion, OneMatchASharedPrefixOrTheChoices) {
    CompletionScope scope(complete_from_table, CompletionSpan::WORD, kMenu);
    Completion one = complete_line("ga", 2);
    EXPECT_TRUE(one.changed);
    EXPECT_EQ(one.replacement, "GAS-SALES ");
    Completion shared = complete_line("gl", 2);
    EXPECT_TRUE(shared.changed);
    EXPECT_EQ(shared.replacement, "GLIDER-");
    Completion several = complete_line("glider-", 7);
    EXPECT_FALSE(several.changed);
    EXPECT_EQ(several.choices, (std::vector<std::string>{"GLIDER-FLIGHTS", "GLIDER-TOWS"}));
    // Listed down the columns, each as wide as the widest choice and two spaces.
    EXPECT_EQ(format_choices({"GLIDER-FLIGHTS", "GLIDER-TOWS", "GAS-SALES"}, 34),
              "GLIDER-FLIGHTS  GAS-SALES\nGLIDER-TOWS\n");
}

} // namespace
