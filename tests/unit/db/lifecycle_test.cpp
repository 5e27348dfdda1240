#include <filesystem>
#include <string>
#include <tuple>

#include "db/db_fixture.h"

namespace {

using LifecycleTest = DbTest;

TEST_F(LifecycleTest, InvoiceNumbers) {
    // A name is no receipt number: zero, and no failure either; "#" alone
    // passes the number test but holds no number.
    const std::tuple<const char *, int, int32_t> cases[] = {{"#1234", 0, 1234}, {" 42 ", 0, 42},
                                                            {"SMITH", 0, 0},    {"#12x", 0, 0},
                                                            {nullptr, 0, 0},    {"#", -1, 0}};
    for (auto [text, result, number] : cases) {
        int32_t n = 99;
        EXPECT_EQ(set_invoice_number(&n, text), result) << (text ? text : "null");
        EXPECT_EQ(n, number) << (text ? text : "null");
    }
}

TEST_F(LifecycleTest, OutdatedFlagLabels) {
    write_file("VNKPRICE.DAT", "$VERSION 2\n$FLAG1\tSHARE\n");
    feed_input("YES\n" + std::string(250, 'X') + "\n\nNO\n");
    EXPECT_EQ(output_of(do_flagnames),
              "Reading prices file: \"VNKPRICE.DAT\"\n"
              "A customer can now have any number of flags with any name.\n"
              "Add flags to the individual customer with CHANGE CUSTOMER.\n"
              "Do you wish to change the outdated names [NO]: "
              "Two flags are provided for each customer. These flags can\n"
              "have any name desired. This allows the names to be set.\n"
              "Flag number one [SHARE]: Flag number two [FLAG2]: ");
    // The first label is cut to 200.
    EXPECT_EQ(std::string(db.sharetext) + " " + db.boardtext, std::string(200, 'X') + " FLAG2");
    EXPECT_TRUE(db.price_changed);

    db.price_changed = 0;
    output_of(do_flagnames);
    EXPECT_FALSE(db.price_changed);
}

// The demo club loads completely and without a single complaint.
TEST_F(LifecycleTest, DemoClubReadsCleanly) {
    std::filesystem::path demo = std::filesystem::path(VARNOK_SOURCE_DIR) / "demo";
    for (const auto &entry : std::filesystem::directory_iterator(demo))
        std::filesystem::copy_file(entry.path(), entry.path().filename());
    std::string out = output_of(do_r_all);
    EXPECT_EQ(out.find('?'), std::string::npos) << out;
    EXPECT_NE(out.find("Reading payments history file: \"VNKPMNT.HIS\""), std::string::npos);
    long customers = 0, flights = 0, charged = 0;
    for (const customer *c = db.cust_list.head(); c; c = c->next, customers++) {
        flights += std::distance(c->flights.begin(), c->flights.end());
        charged += !c->gas.empty() && !c->misc.empty() && !c->payments.empty();
    }
    EXPECT_EQ(std::pair(customers, flights), std::pair(30l, 150l));
    EXPECT_GT(charged, 0); // customers with gas, other charges and payments
}

} // namespace
