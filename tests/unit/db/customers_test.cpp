#include <cstring>
#include <string>
#include <vector>

#include "customers_fixture.h"

namespace {

using CustomerLookupTest = CustomerDbTest;

TEST_F(CustomerLookupTest, FcCustKeepsListTailAndIndexInStep) {
    const char *names[][2] = {{"MILLER", "ANN"}, {"ADAMS", "ZED"},  {"ZULU", ""},    {"MILLER", ""},
                              {"ADAMS", "AL"},   {"MILLER", "BOB"}, {"miller", "x"}, {"ZULU", "A"}};
    for (auto &n : names)
        fc_cust(n[0], n[1], true);
    EXPECT_EQ(customer_names(),
              (std::vector<std::string>{"ADAMS,AL", "ADAMS,ZED", "MILLER,", "MILLER,ANN",
                                        "MILLER,BOB", "ZULU,", "ZULU,A", "miller,x"}));
    const customer *last = db.cust_list;
    while (last->next)
        last = last->next;
    EXPECT_EQ(db.last_cust, last);
    EXPECT_EQ(db.cust_index.size(), 8u);

    customer *bob = fc_cust("MILLER", "BOB", false);
    EXPECT_EQ(db.cust_index.at({"MILLER", "BOB"}), bob);
    EXPECT_EQ(fc_cust("MILLER", "BOB", true), bob);
    EXPECT_EQ(fc_cust("MILLER", "BO", false), nullptr);
    EXPECT_EQ(fc_cust("zz", "", false), nullptr);
    EXPECT_EQ(customer_names().size(), 8u);
    EXPECT_STREQ(bob->category, "DEFAULT");
    EXPECT_FALSE(db.cust_changed);
}

std::string find_output(const char *last, const char *first, customer **found) {
    start_capture();
    *found = find_cust(last, first);
    return end_capture();
}

TEST_F(CustomerLookupTest, FindCustPrefixesAmbiguityAndExactMatch) {
    customer *ann = fc_cust("SMITH", "ANN", true);
    customer *bob = fc_cust("SMITH", "BOB", true);
    fc_cust("ADAMS", "ANN", true);
    customer *jon = fc_cust("SNOW", "JON", true);

    customer *found = ann;
    EXPECT_EQ(find_output("SMITH", "", &found), "? More than one customer matches the name "
                                                "\" SMITH\"\n"
                                                "    Two of these customers are:\n"
                                                "\t\"ANN SMITH\"\n"
                                                "\t\"BOB SMITH\"\n");
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(find_output("SMITH", "A", &found), "");
    EXPECT_EQ(found, ann);
    EXPECT_EQ(find_cust("SMI", "B"), bob);
    EXPECT_EQ(find_cust("SN", ""), jon);
    EXPECT_EQ(find_cust("SMITH", "C"), nullptr);
    EXPECT_EQ(find_cust("ZED", ""), nullptr);
    EXPECT_EQ(find_cust("smith", "ANN"), nullptr); // exact bytes

    // Last names match as prefixes too ...
    customer *anne = fc_cust("SMITHERS", "ANNE", true);
    EXPECT_EQ(find_output("SMITH", "A", &found),
              "? More than one customer matches the name \"A SMITH\"\n"
              "    Two of these customers are:\n\t\"ANN SMITH\"\n\t\"ANNE SMITHERS\"\n");
    EXPECT_EQ(find_cust("SMITHE", ""), anne);
    // ... and a customer named exactly as asked wins over them.
    customer *plain = fc_cust("SMITH", "", true);
    EXPECT_EQ(find_output("SMITH", "", &found), "");
    EXPECT_EQ(found, plain);
}

TEST_F(CustomerLookupTest, LookupAccountReceiptsAbbreviationsAndNames) {
    customer *ann = fc_cust("SMITH", "ANN", true);
    customer *bob = fc_cust("SMITH", "BOB", true);

    customer *cash = lookup_account("#1234", false);
    ASSERT_NE(cash, nullptr);
    EXPECT_STREQ(cash->lastname, "CASH");
    EXPECT_STREQ(cash->firstname, "");
    EXPECT_STREQ(cash->category, "CASH");
    EXPECT_EQ(lookup_account("42", true), cash);

    EXPECT_EQ(lookup_account("A SMITH", false), ann);
    EXPECT_EQ(lookup_account("SMITH, B", false), bob);

    EXPECT_EQ(fc_abbrev("~", "SMITH", "ANN", true), nullptr);
    fc_abbrev("AS", "SMITH", "ANN", true);
    EXPECT_EQ(lookup_account("AS", true), ann);
    EXPECT_EQ(lookup_account("AS", false), nullptr); // files never use abbreviations
    EXPECT_EQ(lookup_account("A", true), nullptr);   // only a whole abbreviation counts
}

TEST_F(CustomerLookupTest, ParseAndNormalizeNames) {
    const char *cases[][3] = {
        {"SMITH, JOHN", "SMITH", "JOHN"},
        {"SMITH,\t JOHN Q", "SMITH", "JOHN Q"},
        {"MARY ANN SMITH", "ANN SMITH", "MARY"},
        {"JOHN  \tSMITH", "SMITH", "JOHN"},
        {"SMITH", "SMITH", ""},
        {"", "", ""},
    };
    for (auto &c : cases) {
        std::string last = "junk", first = "junk";
        parse_name(c[0], last, first);
        EXPECT_EQ(last, c[1]) << c[0];
        EXPECT_EQ(first, c[2]) << c[0];
    }

    const char *rotations[][2] = {{"smith john", "JOHN SMITH"},
                                  {"Doe, Jane", "DOE, JANE"},
                                  {"SMITH", "SMITH"},
                                  {"VAN DER BERG", "DER BERG VAN"},
                                  {"SMITH ", "SMITH"}};
    for (auto &r : rotations) {
        char text[32];
        strcpy(text, r[0]);
        normalize_name(text);
        EXPECT_STREQ(text, r[1]) << r[0];
    }
}

TEST_F(CustomerLookupTest, GetNameRefusesCommasAndBlanks) {
    feed_input("smith, j\nwho?\n\njohn\tq\n");
    start_capture();
    char *name = get_name("Full last name", "", false);
    std::string out = end_capture();
    EXPECT_STREQ(name, "JOHN Q");
    EXPECT_EQ(out, "Full last name: ? Names can not contain the character ,\n"
                   "Full last name: ? Names can not contain the character ?\n"
                   "Full last name: ? This name can not be blank.\n"
                   "Full last name: ");
    errfree(name);
}

TEST_F(CustomerLookupTest, GetAccountFoundTildeHelpAndRefusal) {
    customer *ann = fc_cust("SMITH", "ANN", true);
    feed_input("ann smith\n?\nNOBODY\n~\n");
    customer *got = nullptr;
    int how = 0;
    start_capture();
    char *line = get_account("Pilot", "", false, &got, &how);
    EXPECT_EQ(end_capture(), "Pilot: Found customer: SMITH, ANN\t\tDEFAULT\tCredit\n"
                             "    Flags: \n");
    EXPECT_STREQ(line, "ANN SMITH");
    EXPECT_EQ(got, ann);
    EXPECT_EQ(how, ACCOUNT_FOUND);
    errfree(line);

    start_capture();
    line = get_account("Pilot", "", false, &got, &how);
    EXPECT_EQ(end_capture(), "Pilot: "
                             "Enter a recipt #, customer name or abbreviation\n"
                             "    Firstname Lastname, Lastname comma firstname or\n"
                             "    Lastname alone are permitted.\n"
                             "    The first or last names can be only the first few\n"
                             "    characters of the name.\n"
                             "Pilot: ? Can not find account or abbreviation for \"NOBODY\".\n"
                             "    You must type a legal account. Type \"~\" to get out.\n"
                             "Pilot: ");
    EXPECT_STREQ(line, "");
    EXPECT_EQ(got, nullptr);
    EXPECT_EQ(how, ACCOUNT_TILDE);
    EXPECT_EQ(customer_names().size(), 1u);
    errfree(line);
}

TEST_F(CustomerLookupTest, GetAccountAddsNewCustomer) {
    // Refuse once, then accept the parsed names as they are.
    feed_input("JOE NEW\nNO\nJOE NEW\nYES\n\n\n");
    customer *got = nullptr;
    int how = 0;
    start_capture();
    char *line = get_account("Pilot", "", true, &got, &how);
    std::string out = end_capture();
    EXPECT_STREQ(line, "JOE NEW");
    EXPECT_EQ(how, ACCOUNT_ADDED);
    EXPECT_EQ(got, fc_cust("NEW", "JOE", false));
    EXPECT_TRUE(db.cust_changed);
    EXPECT_NE(out.find("Full first name [JOE]: Full last name [NEW]: "), std::string::npos);
    EXPECT_NE(out.find("NEW, JOE\t\tDEFAULT\tCredit\n"), std::string::npos);
    errfree(line);
}

} // namespace
