#include <string>
#include <tuple>

#include "db_fixture.h"

namespace {

using RatesTest = DbTest;

TEST_F(RatesTest, LookupFallsBackToDefaultOnly) {
    set_price(fc_item("ASK21"), "DEFAULT", 5000, 0);
    set_price(fc_item("ASK21"), "JUNIOR", 3000, 0);
    set_price(fc_item("DISCUS"), "JUNIOR", 3100, 0);
    fc_item("EMPTY");
    const std::tuple<const char *, const char *, int32_t> cases[] = {
        {"ASK21", "JUNIOR", 3000},  {"ASK21", "SENIOR", 5000}, {"ASK21", nullptr, 5000},
        {"DISCUS", "JUNIOR", 3100}, {"DISCUS", "SENIOR", 0},   {"DISCUS", nullptr, 0},
        {"EMPTY", "JUNIOR", 0}};
    start_capture();
    for (auto [item, category, rate] : cases)
        EXPECT_EQ(lookup_rate(item, category, true), rate) << item;
    EXPECT_EQ(end_capture(), "");

    start_capture();
    EXPECT_EQ(lookup_rate(nullptr, "JUNIOR", true), 0);
    EXPECT_EQ(lookup_rate("", "JUNIOR", true), 0);
    EXPECT_EQ(lookup_rate("ask21", "JUNIOR", true), 0); // names are exact
    EXPECT_EQ(lookup_rate("NONE", "JUNIOR", false), 0);
    EXPECT_EQ(end_capture(),
              "? No item to price.\n? item \"\" has no price.\n? No price for item \"ask21\"\n");

    // The prior category is never the one billed, before or after the date.
    customer *c = fc_cust("SMITH", "ANN", true);
    c->category = fc_category("SENIOR");
    c->priorCategory = fc_category("JUNIOR");
    c->transitionDate = 2000000000;
    EXPECT_STREQ(categoryOnDate(1000000000, c), "SENIOR");
    EXPECT_STREQ(categoryOnDate(2100000000, c), "SENIOR");
}

// Half a cent is added before the division truncates, negatives included.
TEST_F(RatesTest, GasPriceAddsHalfACentAndTruncates) {
    customer *c = fc_cust("SMITH", "ANN", true);
    set_price(fc_item("GAS100"), "DEFAULT", 2500, 0);
    set_price(fc_item("GAS80"), "DEFAULT", 2000, 0);
    set_price(fc_item("JETA"), "DEFAULT", 3333, 0);
    start_capture();
    // JETA: 233.31 and 266.64.
    EXPECT_EQ((std::vector<int32_t>{gas_price("100", 123, c), gas_price("100", -123, c),
                                    gas_price("80", 15, c), gas_price("JETA", 7, c),
                                    gas_price("JETA", 8, c)}),
              (std::vector<int32_t>{3075, -3074, 300, 233, 267}));
    EXPECT_EQ(end_capture(), "");

    // A grade priced under its own name wins over the GAS item.
    set_price(fc_item("100"), "DEFAULT", 3000, 0);
    EXPECT_EQ(gas_price("100", 10, c), 300);
    start_capture();
    EXPECT_EQ(gas_price("MOGAS", 100, c), 0);
    EXPECT_EQ(end_capture(), "? No price for item \"MOGAS\"\n");
}

TEST_F(RatesTest, CalcPriceMinimumExtraRoundingAndWrap) {
    set_price(fc_item("ASK21"), "DEFAULT", 2500, 0);
    set_price(fc_item("MINIMUM-TIME"), "DEFAULT", 30, 0);
    set_price(fc_item("GROUND-TIME"), "DEFAULT", 10, 0);
    set_price(fc_item("CREDIT"), "DEFAULT", -1500, 0);
    // "" stands for no minimum or no extra.
    auto price = [](int32_t quantity, const char *item, const char *minimum, const char *extra) {
        PriceItem priced(item), least(minimum), more(extra);
        return calc_price(quantity, "DEFAULT", priced, *minimum ? &least : nullptr,
                          *extra ? &more : nullptr);
    };
    const std::tuple<int32_t, const char *, const char *, const char *, int32_t> cases[] = {
        {20, "ASK21", "MINIMUM-TIME", "GROUND-TIME", 10}, // raised to 30, plus 10
        {50, "ASK21", "MINIMUM-TIME", "", 13},
        {18, "ASK21", "", "", 5},
        {17, "ASK21", "", "", 4},
        {7, "CREDIT", "", "", 0},
        {17, "CREDIT", "", "", -2},
        {800000, "ASK21", "", "", 200000},
        {2000000, "ASK21", "", "", 70503}, // 2500 x 2,000,000 wraps to 705032704
    };
    start_capture();
    for (auto [quantity, item, minimum, extra, cents] : cases)
        EXPECT_EQ(price(quantity, item, minimum, extra), cents) << quantity << " " << item;
    EXPECT_EQ(end_capture(), "");

    start_capture();
    EXPECT_EQ(price(40, "ASK21", "NO-MIN", "NO-EXTRA"), 10);
    EXPECT_EQ(price(40, "NO-ITEM", "", ""), 0);
    EXPECT_EQ(end_capture(), "? No price for item \"NO-MIN\"\n? No price for item \"NO-EXTRA\"\n"
                             "? No price for item \"NO-ITEM\"\n");
}

// A handle follows the price list: an item added after its first lookup is
// found, a changed price is read anew, and a removed item is no longer used.
TEST_F(RatesTest, PriceItemHandlesFollowThePriceList) {
    PriceItem hookup("HOOKUP");
    start_capture();
    EXPECT_EQ(lookup_rate(hookup, "DEFAULT", true), 0);
    EXPECT_EQ(end_capture(), "? No price for item \"HOOKUP\"\n");
    set_price(fc_item("HOOKUP"), "DEFAULT", 22000, 0);
    set_price(fc_item("HOOKUP"), "FULL", 15000, 0);
    EXPECT_EQ(lookup_rate(hookup, "DEFAULT", true), 22000);
    EXPECT_EQ(lookup_rate(hookup, "FULL", true), 15000);
    EXPECT_EQ(lookup_rate(hookup, "JUNIOR", true), 22000);
    set_price(fc_item("HOOKUP"), "DEFAULT", 18000, 0);
    EXPECT_EQ(lookup_rate(hookup, "DEFAULT", true), 18000);
    free_mprices();
    EXPECT_EQ(lookup_rate(hookup, "DEFAULT", false), 0);
}

// Sums past either end of the 32-bit range wrap around, without the
// undefined overflow the sanitizer build would stop on.
TEST_F(RatesTest, SumsWrapAtThe32BitLimits) {
    EXPECT_EQ((std::vector<int32_t>{add32(INT32_MAX, 1), add32(2000000000, 2000000000),
                                    add32(INT32_MIN, -1), sub32(INT32_MIN, 1),
                                    sub32(-2000000000, 2000000000), add32(-5, 3),
                                    add32(add32(1500000000, 1500000000), 1500000000)}),
              (std::vector<int32_t>{INT32_MIN, -294967296, INT32_MAX, INT32_MAX, 294967296, -2,
                                    static_cast<int32_t>(4500000000LL - 4294967296LL)}));
}

// A cost takes its sign from the whole part; digits past the third decimal are dropped. Written
// back: newest first, blank e-mail settings left out, the flag labels always there.
TEST_F(RatesTest, PriceValueRule) {
    write_file("VNKPRICE.DAT", "$PRICE\tX\t3\n\tA\t-0.500\n\tB\t.5\n\tC\t5.\n\tD\t1.23456\n"
                               "\tE\t-12.007\n\tF\t-.5\n\tG\t1.2.3\n\tH\t1,5\n\tI\t1.X\n");
    std::string out = output_of(do_r_price);
    for (int line = 7; line <= 10; line++)
        EXPECT_TRUE(has(out, "? Bad format price on line: " + std::to_string(line) + "\n")) << out;
    const std::pair<const char *, int32_t> costs[] = {{"A", 500},  {"B", 500},    {"C", 5000},
                                                      {"D", 1234}, {"E", -12007}, {"F", 0}};
    for (auto [category, cost] : costs)
        EXPECT_EQ(lookup_rate("X", category, false), cost) << category;
    EXPECT_STREQ(db.nnumbers[2], "X"); // fast key 3

    replace_str(&db.emailServer, "");
    replace_str(&db.emailSender, " ");
    db.price_changed = 1;
    EXPECT_EQ(output_of(do_w_prices), "Prices file \"VNKPRICE.DAT\" written\n");
    EXPECT_EQ(read_file("VNKPRICE.DAT"),
              "$VERSION 2\n\n$PRICE\tX\t3\n\tE\t-12.007\n\tD\t1.234\n\tC\t5.000\n"
              "\tB\t0.500\n\tA\t0.500\n\n$PRINT_BILLS_FOR_CASH_CUSTOMERS\tYES\n"
              "$FLAG1\tFLAG1\n$FLAG2\tFLAG2\n");
    EXPECT_EQ(output_of(do_w_prices), "Prices are up to date.\n");
}

} // namespace
