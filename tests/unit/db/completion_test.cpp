// The account prompt's completions: every one must be an answer the
// prompt accepts for the customer it names.
#include <algorithm>

#include "db/completion.h"
#include "db_fixture.h"

namespace {

using AccountCompletionTest = DbTest;

TEST_F(AccountCompletionTest, EveryOfferedNameFindsItsCustomer) {
    customer *karen = fc_cust("ANDERSON", "KAREN", true);
    customer *mary = fc_cust("ANDERSON", "MARY ANN", true);
    customer *club = fc_cust("AIRSPORTS-INC", "", true);
    fc_abbrev("AN15", "ANDERSON", "KAREN", true);
    std::vector<std::string> offered;
    complete_accounts(nullptr, "", offered);
    // Customers in list order (last name, then first), then abbreviations.
    ASSERT_EQ(offered, (std::vector<std::string>{"AIRSPORTS-INC", "KAREN ANDERSON",
                                                 "ANDERSON, MARY ANN", "AN15"}));
    const customer *expected[] = {club, karen, mary, karen};
    for (size_t i = 0; i < offered.size(); i++)
        EXPECT_EQ(lookup_account(offered[i].c_str(), true), expected[i]) << offered[i];
}

} // namespace
