#include <cstring>
#include <string>
#include <vector>

#include "customers_fixture.h"

namespace {

using CustomerLookupTest = CustomerDbTest;

// The list, its tail pointer and the index must always describe the same
// sorted sequence.
void expect_consistent() {
    size_t count = 0;
    const customer *prev = nullptr;
    for (const customer *c = db.cust_list; c; c = c->next) {
        if (prev) {
            int order = strcmp(prev->lastname, c->lastname);
            if (order == 0)
                order = strcmp(prev->firstname, c->firstname);
            EXPECT_LT(order, 0) << prev->lastname << " before " << c->lastname;
        }
        auto it = db.cust_index.find({c->lastname, c->firstname});
        ASSERT_NE(it, db.cust_index.end());
        EXPECT_EQ(it->second, c);
        prev = c;
        count++;
    }
    EXPECT_EQ(db.last_cust, prev);
    EXPECT_EQ(db.cust_index.size(), count);
}

TEST_F(CustomerLookupTest, FcCustKeepsListSortedFromAnyInsertionOrder) {
    const char *names[][2] = {{"MILLER", "ANN"}, {"ADAMS", "ZED"},  {"ZULU", ""},    {"MILLER", ""},
                              {"ADAMS", "AL"},   {"MILLER", "BOB"}, {"miller", "x"}, {"ZULU", "A"}};
    for (auto &n : names)
        ASSERT_NE(fc_cust(n[0], n[1], true), nullptr);
    EXPECT_EQ(customer_names(),
              (std::vector<std::string>{"ADAMS,AL", "ADAMS,ZED", "MILLER,", "MILLER,ANN",
                                        "MILLER,BOB", "ZULU,", "ZULU,A", "miller,x"}));
    expect_consistent();

    customer *bob = fc_cust("MILLER", "BOB", false);
    ASSERT_NE(bob, nullptr);
    EXPECT_EQ(fc_cust("MILLER", "BOB", true), bob);
    EXPECT_EQ(fc_cust("MILLER", "BO", false), nullptr);
    EXPECT_EQ(fc_cust("zz", "", false), nullptr);
    EXPECT_EQ(customer_names().size(), 8u);
    EXPECT_FALSE(db.cust_changed);
}

TEST_F(CustomerLookupTest, NewCustomerDefaults) {
    customer *c = fc_cust("SMITH", "ANN", true);
    EXPECT_STREQ(c->category, "DEFAULT");
    EXPECT_EQ(c->category, fc_category("DEFAULT")); // interned
    EXPECT_EQ(c->balance, 0);
    EXPECT_FALSE(c->cash);
    EXPECT_STREQ(c->info, "");
    EXPECT_EQ(c->contestNumber, nullptr);
    EXPECT_EQ(c->eMail, nullptr);
    EXPECT_EQ(c->priorCategory, nullptr);
    EXPECT_EQ(c->transitionDate, 0);
    for (char *p : c->phone)
        EXPECT_STREQ(p, "");
    for (char *a : c->addr)
        EXPECT_STREQ(a, "");
    EXPECT_STREQ(fc_cust("CASH", "", true)->category, "CASH");
    EXPECT_STREQ(fc_cust("CASH", "X", true)->category, "CASH");
    EXPECT_STREQ(fc_cust("CASHMAN", "", true)->category, "DEFAULT");
}

TEST_F(CustomerLookupTest, AppendAfterTailMovesTailPointer) {
    customer *a = fc_cust("ALPHA", "", true);
    EXPECT_EQ(db.last_cust, a);
    customer *c = fc_cust("CHARLIE", "", true);
    EXPECT_EQ(db.last_cust, c);
    customer *b = fc_cust("BRAVO", "", true);
    EXPECT_EQ(db.last_cust, c);
    EXPECT_EQ(a->next, b);
    EXPECT_EQ(b->next, c);
    customer *front = fc_cust("AAA", "", true);
    EXPECT_EQ(db.cust_list, front);
    expect_consistent();
}

class FindCustTest : public CustomerDbTest {
  protected:
    customer *find(const char *last, const char *first, std::string *out = nullptr) {
        start_capture();
        customer *c = find_cust(last, first);
        std::string text = end_capture();
        if (out)
            *out = text;
        else
            EXPECT_EQ(text, "");
        return c;
    }
};

TEST_F(FindCustTest, PrefixesOfBothNamesAndAmbiguity) {
    customer *ann = fc_cust("SMITH", "ANN", true);
    customer *bob = fc_cust("SMITH", "BOB", true);
    fc_cust("ADAMS", "ANN", true);
    fc_cust("SNOW", "JON", true);

    std::string out;
    EXPECT_EQ(find("SMITH", "", &out), nullptr);
    EXPECT_EQ(out, "? More than one customer matches the name \" SMITH\"\n"
                   "    Two of these customers are:\n"
                   "\t\"ANN SMITH\"\n"
                   "\t\"BOB SMITH\"\n");
    EXPECT_EQ(find("SMITH", "A"), ann);
    EXPECT_EQ(find("SMI", "B"), bob);
    EXPECT_EQ(find("SN", ""), fc_cust("SNOW", "JON", false));
    EXPECT_EQ(find("SMITH", "C"), nullptr);
    EXPECT_EQ(find("SMITHS", ""), nullptr);
    EXPECT_EQ(find("ZED", ""), nullptr);
    EXPECT_EQ(find("smith", ""), nullptr); // comparisons are exact bytes
}

TEST_F(FindCustTest, LastNamesMatchAsPrefixesAndExactMatchWins) {
    fc_cust("SMITH", "ANN", true);
    customer *joe = fc_cust("SMITHERS", "JOE", true);
    std::string out;
    EXPECT_EQ(find("SMITH", "", &out), nullptr);
    EXPECT_NE(out.find("\t\"ANN SMITH\"\n\t\"JOE SMITHERS\"\n"), std::string::npos);
    EXPECT_EQ(find("SMITHE", ""), joe);

    // With a customer named exactly SMITH the same question has one answer.
    customer *plain = fc_cust("SMITH", "", true);
    EXPECT_EQ(find("SMITH", ""), plain);
    EXPECT_EQ(find("SMITHERS", "JOE"), joe);
}

TEST_F(FindCustTest, LookupAccountResolvesReceiptsAbbreviationsAndNames) {
    customer *ann = fc_cust("SMITH", "ANN", true);
    customer *bob = fc_cust("SMITH", "BOB", true);

    EXPECT_EQ(fc_cust("CASH", "", false), nullptr);
    customer *cash = lookup_account("#1234", false);
    ASSERT_NE(cash, nullptr);
    EXPECT_STREQ(cash->lastname, "CASH");
    EXPECT_STREQ(cash->firstname, "");
    EXPECT_STREQ(cash->category, "CASH");
    EXPECT_EQ(lookup_account("42", true), cash);

    EXPECT_EQ(lookup_account("A SMITH", false), ann);
    EXPECT_EQ(lookup_account("SMITH, B", false), bob);
    EXPECT_EQ(lookup_account("SMITH,ANN", false), ann);

    fc_abbrev("AS", "SMITH", "ANN", true);
    EXPECT_EQ(lookup_account("AS", true), ann);
    EXPECT_EQ(lookup_account("AS", false), nullptr); // files never use abbreviations
    EXPECT_EQ(lookup_account("A", true), nullptr);   // only a whole abbreviation counts
}

TEST_F(CustomerLookupTest, ParseName) {
    struct Case {
        const char *text, *last, *first;
    } cases[] = {
        {"SMITH, JOHN", "SMITH", "JOHN"},
        {"SMITH,\t JOHN Q", "SMITH", "JOHN Q"},
        {"SMITH,JOHN", "SMITH", "JOHN"},
        {"MARY ANN SMITH", "ANN SMITH", "MARY"},
        {"JOHN  \tSMITH", "SMITH", "JOHN"},
        {"SMITH", "SMITH", ""},
        {"", "", ""},
        {"VAN DER BERG, JAN", "VAN DER BERG", "JAN"},
    };
    for (const Case &c : cases) {
        std::string last = "junk", first = "junk";
        parse_name(c.text, last, first);
        EXPECT_EQ(last, c.last) << c.text;
        EXPECT_EQ(first, c.first) << c.text;
    }
}

TEST_F(CustomerLookupTest, NormalizeNameRotatesFirstWord) {
    struct Case {
        const char *in, *out;
    } cases[] = {{"smith john", "JOHN SMITH"},
                 {"Doe, Jane", "DOE, JANE"},
                 {"SMITH", "SMITH"},
                 {"VAN DER BERG", "DER BERG VAN"},
                 {"SMITH ", "SMITH"}};
    for (const Case &c : cases) {
        char text[64];
        strcpy(text, c.in);
        normalize_name(text);
        EXPECT_STREQ(text, c.out) << c.in;
    }
    // What the rotation is for: the gas history's "LAST FIRST" reads back
    // as first name then last name.
    char text[] = "SMITH JOHN";
    normalize_name(text);
    std::string last, first;
    parse_name(text, last, first);
    EXPECT_EQ(last, "SMITH");
    EXPECT_EQ(first, "JOHN");
}

TEST_F(CustomerLookupTest, AbbreviationsStaySortedAndUnique) {
    EXPECT_EQ(fc_abbrev("~", "X", "Y", true), nullptr);
    abbrev *jd = fc_abbrev("JD", "DOE", "JOHN", true);
    fc_abbrev("AB", "BAKER", "ANN", true);
    fc_abbrev("ZZ", "TOP", "", true);
    fc_abbrev("JA", "JONES", "AL", true);
    EXPECT_EQ(fc_abbrev("JD", "OTHER", "NAME", true), jd);
    EXPECT_STREQ(jd->lastname, "DOE");
    EXPECT_EQ(fc_abbrev("J", nullptr, nullptr, false), nullptr);

    std::vector<std::string> order;
    for (const abbrev *a = db.abbrevs; a; a = a->next)
        order.push_back(a->name);
    EXPECT_EQ(order, (std::vector<std::string>{"AB", "JA", "JD", "ZZ"}));
    EXPECT_EQ(db.abbrev_index.size(), 4u);
    EXPECT_FALSE(db.abbrev_changed);
}

// ---- Prompts ------------------------------------------------------------------

TEST_F(CustomerLookupTest, GetNameRefusesCommasAndBlanks) {
    feed_input("smith, j\nwho?\njohn\tq\n");
    start_capture();
    char *name = get_name("Full first name", "", true);
    std::string out = end_capture();
    EXPECT_STREQ(name, "JOHN Q");
    EXPECT_NE(out.find("? Names can not contain the character ,\n"), std::string::npos);
    EXPECT_NE(out.find("? Names can not contain the character ?\n"), std::string::npos);
    errfree(name);

    feed_input("\n   \nJONES\n");
    start_capture();
    name = get_name("Full last name", "", false);
    out = end_capture();
    EXPECT_STREQ(name, "JONES");
    size_t first = out.find("? This name can not be blank.\n");
    ASSERT_NE(first, std::string::npos);
    EXPECT_NE(out.find("? This name can not be blank.\n", first + 1), std::string::npos);
    errfree(name);

    feed_input("\n");
    name = get_name("Full last name", "DOE", false);
    EXPECT_STREQ(name, "DOE");
    errfree(name);
}

TEST_F(CustomerLookupTest, GetAccountFindsTypedCustomer) {
    customer *ann = fc_cust("SMITH", "ANN", true);
    fc_cust("SMITH", "BOB", true);
    feed_input("ann smith\n");
    customer *got = nullptr;
    int how = 0;
    start_capture();
    char *line = get_account("Pilot", "", false, &got, &how);
    std::string out = end_capture();
    EXPECT_STREQ(line, "ANN SMITH");
    EXPECT_EQ(got, ann);
    EXPECT_EQ(how, ACCOUNT_FOUND);
    EXPECT_EQ(out, "Pilot: Found customer: SMITH, ANN\t\tDEFAULT\tCredit\n    Flags: \n");
    errfree(line);
}

TEST_F(CustomerLookupTest, GetAccountTildeHelpAndRefusal) {
    fc_cust("SMITH", "ANN", true);
    feed_input("?\nNOBODY\n~\n");
    customer *got = fc_cust("SMITH", "ANN", false);
    int how = 0;
    start_capture();
    char *line = get_account("Pilot", "", false, &got, &how);
    std::string out = end_capture();
    EXPECT_STREQ(line, "");
    EXPECT_EQ(got, nullptr);
    EXPECT_EQ(how, ACCOUNT_TILDE);
    EXPECT_EQ(out, "Pilot: "
                   "Enter a recipt #, customer name or abbreviation\n"
                   "    Firstname Lastname, Lastname comma firstname or\n"
                   "    Lastname alone are permitted.\n"
                   "    The first or last names can be only the first few\n"
                   "    characters of the name.\n"
                   "Pilot: ? Can not find account or abbreviation for \"NOBODY\".\n"
                   "    You must type a legal account. Type \"~\" to get out.\n"
                   "Pilot: ");
    EXPECT_EQ(customer_names().size(), 1u);
    errfree(line);
}

TEST_F(CustomerLookupTest, GetAccountAddsNewCustomer) {
    fc_cust("SMITH", "ANN", true);
    // Refuse once, then accept and take both parsed names as they are.
    feed_input("JOE NEW\nNO\nJOE NEW\nYES\n\n\n");
    customer *got = nullptr;
    int how = 0;
    start_capture();
    char *line = get_account("Pilot", "", true, &got, &how);
    std::string out = end_capture();
    EXPECT_STREQ(line, "JOE NEW");
    EXPECT_EQ(how, ACCOUNT_ADDED);
    ASSERT_NE(got, nullptr);
    EXPECT_EQ(got, fc_cust("NEW", "JOE", false));
    EXPECT_TRUE(db.cust_changed);
    EXPECT_NE(out.find("Full first name [JOE]: Full last name [NEW]: "), std::string::npos);
    EXPECT_NE(out.find("NEW, JOE\t\tDEFAULT\tCredit\n"), std::string::npos);
    errfree(line);
    expect_consistent();

    // Naming an existing customer at the name prompts picks that customer.
    db.cust_changed = 0;
    feed_input("NOONE\nY\nANN\nSMITH\n");
    start_capture();
    line = get_account("Pilot", "", true, &got, &how);
    end_capture();
    EXPECT_EQ(how, ACCOUNT_FOUND);
    EXPECT_EQ(got, fc_cust("SMITH", "ANN", false));
    EXPECT_TRUE(db.cust_changed);
    EXPECT_EQ(customer_names().size(), 2u);
    errfree(line);
}

} // namespace
