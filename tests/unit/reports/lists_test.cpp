#include <vector>

#include "reports_fixture.h"

namespace {

std::vector<std::string> seen;

void record(customer *c, long argument) {
    seen.push_back(std::string(c->lastname) + ":" + std::to_string(argument));
}

class ListsTest : public ReportsTest {
  protected:
    void SetUp() override {
        ReportsTest::SetUp();
        seen.clear();
        adams = add("ADAMS", "AL", "FULL", {"1 Main St", "Springfield, MA 01101"},
                    {"555-1111", "", "555-3333"});
        baker = add("BAKER", "BO", "DEFAULT", {"PO Box 9", "Apt 2", "New York, New York 10001"},
                    {"", "555-2222"});
        cole = add("COLE", "CY", "JUNIOR");
        cole->category = nullptr; // no category: never dropped as DEFAULT
        fc_namelist_entry(&db.flag_names, "BOARDMEMBER", true, true);
        fc_customer_flag(adams, "BOARDMEMBER", true);
        fc_customer_flag(baker, "BOARDMEMBER", true);
    }
    customer *adams = nullptr, *baker = nullptr, *cole = nullptr;

    std::vector<std::string> select(const std::string &answers, int expected) {
        seen.clear();
        feed_input(answers);
        int count = 0;
        output_of([&] { count = w_selectedClassOrFlag("Customers", record, 7); });
        EXPECT_EQ(count, (int)seen.size());
        EXPECT_EQ(count, expected) << answers;
        return seen;
    }
};

using V = std::vector<std::string>;

TEST_F(ListsTest, SelectionByClassCategoryAndFlag) {
    EXPECT_EQ(select("NO\nALL\n", 3), (V{"ADAMS:7", "BAKER:7", "COLE:7"}));
    EXPECT_EQ(select("YES\n\n", 2), (V{"ADAMS:7", "COLE:7"}));
    EXPECT_EQ(select("NO\nCATEGORY\nFULL\n", 1), (V{"ADAMS:7"}));
    EXPECT_EQ(select("NO\nCATEGORY\n\n", 1), (V{"BAKER:7"}));
    // Excluding DEFAULT while asking for DEFAULT leaves nobody.
    EXPECT_EQ(select("YES\nCATEGORY\nDEFAULT\n", 0), V{});
    EXPECT_EQ(select("NO\nFLAG\n\n", 2), (V{"ADAMS:7", "BAKER:7"}));
    EXPECT_EQ(select("YES\nFLAG\nBOARDMEMBER\n", 1), (V{"ADAMS:7"}));
    // Cancelling either question selects nobody and writes nothing.
    EXPECT_EQ(select("NO\n~\n", 0), V{});
    EXPECT_EQ(select("NO\nFLAG\n~\n", 0), V{});
}

TEST_F(ListsTest, AddressAndPhoneLists) {
    std::string console;
    EXPECT_EQ(written("NO\nALL\n", w_address_list, &console),
              "ADAMS       AL               FULL\n"
              "   555-1111                        555-3333\n"
              "1 Main St\n"
              "Springfield, MA 01101\n"
              "\n"
              "BAKER       BO               DEFAULT\n"
              "                   555-2222\n"
              "PO Box 9\n"
              "Apt 2\n"
              "New York, New York 10001\n"
              "\n"
              "COLE        CY               \n" // the empty category is still placed
              "\n"
              "\n");
    EXPECT_TRUE(has(console, "3 addresses output.\n"));
    EXPECT_EQ(written("YES\nALL\n", w_phones, &console),
              "ADAMS       AL          555-1111                        555-3333\n"
              "COLE        CY\n");
    EXPECT_TRUE(has(console, "2 phone numbers output.\n"));
}

TEST_F(ListsTest, LabelsPadToTheirHeight) {
    std::string console;
    // 66 is refused although the message names it; then one sample label.
    EXPECT_EQ(written("66\n4\nYES\nNO\nNO\nCATEGORY\nFULL\n", w_labels, &console),
              "********\n********\n\n\n"
              "AL ADAMS\n1 Main St\nSpringfield, MA 01101\n\n");
    EXPECT_TRUE(has(console, "? Lines per label must be between 2 and 66.\n"));
    EXPECT_TRUE(has(console, "1 mailing labels output.\n"));
    // A full label still ends in one empty line; a short label pads.
    EXPECT_EQ(written("",
                      [&] {
                          w_lbl(baker, 3);
                          w_lbl(adams, 6);
                          w_lbl(nullptr, 3);
                          w_lbl(nullptr, 1);
                      }),
              "BO BAKER\nPO Box 9\nApt 2\nNew York, New York 10001\n\n"
              "AL ADAMS\n1 Main St\nSpringfield, MA 01101\n\n\n\n"
              "No customer.\n\n\nNo customer.\n");
}

TEST_F(ListsTest, DataUpdateSheetAndInformation) {
    replace_str(&adams->spouse, "Mary");
    replace_str(&adams->info, "Tow pilot");
    std::string console;
    EXPECT_EQ(written("NO\nCATEGORY\nFULL\n", w_data_update_list, &console),
              "Please make corrections and return this sheet\n\n"
              "Your Name:         AL ADAMS\n\n"
              "Billing Category:  FULL\n\n"
              "Local Address:     1 Main St\n"
              "                   Springfield, MA 01101\n\n\n"
              "Spouse's Name:     Mary\n\n"
              "Home Phone:        555-1111\n\n"
              "Work Phone:        \n\n"
              "Local Phone:       555-3333\n\n"
              "Local Address:\n\n"
              "eMail Address:     \n\n"
              "Contest Number:    \n\n"
              "Extra Info:        Tow pilot\n\n"
              "\n\f");
    EXPECT_TRUE(has(console, "1 information sheets output.\n"));

    std::string info = written("ADAMS, AL\n", w_info, &console);
    EXPECT_TRUE(has(info, "ADAMS, AL\t\tFULL\tCredit\n    Flags: BOARDMEMBER\n"
                          "    Info: Tow pilot\n    Spouse: Mary\n"));
    EXPECT_TRUE(has(info, "\t1 Main St\n\tSpringfield, MA 01101\n\n\n")) << info;
    EXPECT_EQ(written("~\n", w_info), "");

    std::string all = written("NO\nFLAG\nBOARDMEMBER\n", w_customer_list, &console);
    EXPECT_TRUE(has(all, "ADAMS, AL") && has(all, "BAKER, BO") && !has(all, "COLE")) << all;
    EXPECT_TRUE(has(console, "2 customers output.\n"));
}

TEST_F(ListsTest, AbbreviationsInListOrder) {
    fc_abbrev("ZZ", "ADAMS", "AL", true);
    fc_abbrev("BB", "BAKER", "BO", true);
    EXPECT_EQ(written("", w_abbrevs), "Abbrev: BB BO BAKER\nAbbrev: ZZ AL ADAMS\n");
}

TEST_F(ListsTest, CityStateAndZip) {
    struct Case {
        std::vector<const char *> address;
        bool ok;
        const char *city, *state, *zip;
    } cases[] = {
        {{"1 Main St", "Springfield, MA 01101"}, true, "Springfield", "MA", "01101"},
        {{"Springfield, MA"}, true, "Springfield", "MA", ""},
        {{"Springfield, MA 01101-1234", "", "Boston, MA 02101"}, true, "Boston", "MA", "02101"},
        {{"Springfield MA 01101"}, false, "", "", ""},
        {{"New York, New York 10001"}, false, "New York", "New", "York"},
        {{"Springfield, MA 011O1"}, false, "Springfield", "MA", "011O1"},
        {{"Springfield,"}, false, "Springfield", "", ""},
        {{"-No Address"}, true, "", "", ""},
        {{}, true, "", "", ""},
    };
    for (const Case &t : cases) {
        customer *c = add("TEST", "T", "FULL");
        for (char *&line : c->addr)
            replace_str(&line, "");
        int i = 0;
        for (const char *line : t.address)
            replace_str(&c->addr[i++], line);
        std::string city = "x", state = "x", zip = "x";
        EXPECT_EQ(findCityStateZip(c, city, state, zip), t.ok) << t.address.back();
        EXPECT_EQ(city + "|" + state + "|" + zip,
                  std::string(t.city) + "|" + t.state + "|" + t.zip);
    }
}

TEST_F(ListsTest, DatabaseExport) {
    replace_str(&adams->eMail, "al@example.com");
    replace_str(&adams->spouse, "Mary");
    std::string console;
    EXPECT_EQ(written("", w_db_custs, &console),
              "recordID\tMembershipID\tLastName\tFirstName\tAddress\tAddress2\tCity\tState\t"
              "ZIPCODE\tCountry\tPhone\tFax\temail\tRegistration\tSpouse\n"
              "1\t1\tADAMS\tAL\t1 Main St\t\tSpringfield\tMA\t01101\t\t555-1111\t\t\t\t\t\n"
              "2\t2\tBAKER\tBO\tPO Box 9\tApt 2\tNew York\tNew\tYork\t\t\t\t\t\t\t\n"
              "3\t3\tCOLE\tCY\t\t\t\t\t\t\t\t\t\t\t\t\n");
    EXPECT_TRUE(has(console, "? BAKER, BO has invalid city, state or zipcode\n"));
    EXPECT_FALSE(has(console, "ADAMS") || has(console, "COLE"));
}

} // namespace
