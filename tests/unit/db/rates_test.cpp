#include "dbcore_fixture.h"

namespace {

using RatesTest = DbCoreTest;

std::vector<std::string> item_names() {
    std::vector<std::string> out;
    for (const price *p = db.price_list; p; p = p->next)
        out.push_back(p->name);
    return out;
}

TEST_F(RatesTest, ItemsStaySortedAndIndexed) {
    price *m = fc_item("MINIMUM-TIME");
    fc_item("ASK21");
    fc_item("TOW");
    fc_item("2-33");
    fc_item("HOOKUP");
    EXPECT_EQ(fc_item("MINIMUM-TIME"), m);
    EXPECT_EQ(m->fastkey, 0);
    EXPECT_EQ(m->cat, nullptr);
    EXPECT_EQ(item_names(),
              (std::vector<std::string>{"2-33", "ASK21", "HOOKUP", "MINIMUM-TIME", "TOW"}));
    for (const price *p = db.price_list; p; p = p->next)
        EXPECT_EQ(db.price_index.at(p->name), p);
}

TEST_F(RatesTest, SetPriceAddsNewestFirstAndReportsChanges) {
    price *item = fc_item("ASK21");
    start_capture();
    EXPECT_TRUE(set_price(item, "DEFAULT", 12000, 0));
    EXPECT_TRUE(set_price(item, "JUNIOR", 7000, 3));
    EXPECT_FALSE(set_price(item, "DEFAULT", 12000, 4));
    EXPECT_EQ(end_capture(), "");
    ASSERT_NE(item->cat, nullptr);
    EXPECT_STREQ(item->cat->name, "JUNIOR");
    EXPECT_EQ(item->cat->name, fc_category("JUNIOR")); // interned
    EXPECT_STREQ(item->cat->next->name, "DEFAULT");

    start_capture();
    EXPECT_TRUE(set_price(item, "DEFAULT", 12050, 0));
    EXPECT_TRUE(set_price(item, "JUNIOR", 7005, 12));
    EXPECT_EQ(end_capture(), "? Changing price. Old price: 12.0 New price: 12.50\n"
                             "? Changing price. Old price: 7.0 New price: 7.5\n"
                             "    On line 12\n");
    EXPECT_EQ(find_category(item->cat, "DEFAULT")->cost, 12050);
    EXPECT_EQ(find_category(item->cat, "default"), nullptr);
    EXPECT_FALSE(set_price(nullptr, "DEFAULT", 1, 0));
}

TEST_F(RatesTest, LookupFallsBackToDefault) {
    price *item = fc_item("ASK21");
    set_price(item, "DEFAULT", 5000, 0);
    set_price(item, "JUNIOR", 3000, 0);
    price *only = fc_item("DISCUS");
    set_price(only, "JUNIOR", 3000, 0);
    fc_item("EMPTY");

    start_capture();
    EXPECT_EQ(lookup_rate("ASK21", "JUNIOR", true), 3000);
    EXPECT_EQ(lookup_rate("ASK21", "SENIOR", true), 5000);
    EXPECT_EQ(lookup_rate("ASK21", nullptr, true), 5000);
    EXPECT_EQ(lookup_rate("DISCUS", "SENIOR", true), 0);
    EXPECT_EQ(lookup_rate("DISCUS", nullptr, true), 0);
    EXPECT_EQ(lookup_rate("EMPTY", "JUNIOR", true), 0);
    EXPECT_EQ(end_capture(), "");

    start_capture();
    EXPECT_EQ(lookup_rate(nullptr, "JUNIOR", true), 0);
    EXPECT_EQ(lookup_rate("", "JUNIOR", true), 0);
    EXPECT_EQ(lookup_rate("ask21", "JUNIOR", true), 0);
    EXPECT_EQ(lookup_rate("NONE", "JUNIOR", false), 0);
    EXPECT_EQ(end_capture(), "? No item to price.\n"
                             "? item \"\" has no price.\n"
                             "? No price for item \"ask21\"\n");
}

TEST_F(RatesTest, PriorCategoryNeverApplies) {
    customer *c = add_customer("SMITH");
    c->category = fc_category("SENIOR");
    c->priorCategory = fc_category("JUNIOR");
    c->transitionDate = 2000000000; // long after every date below
    EXPECT_STREQ(categoryOnDate(1000000000, c), "SENIOR");
    EXPECT_STREQ(categoryOnDate(2100000000, c), "SENIOR");
    c->transitionDate = 0;
    EXPECT_STREQ(categoryOnDate(1000000000, c), "SENIOR");
}

TEST_F(RatesTest, GasPriceRoundsHalfUpAndFallsBackToGasItems) {
    customer *c = add_customer("SMITH");
    set_price(fc_item("GAS100"), "DEFAULT", 2500, 0);
    set_price(fc_item("GAS80"), "DEFAULT", 2000, 0);
    set_price(fc_item("JETA"), "DEFAULT", 3333, 0);

    start_capture();
    EXPECT_EQ(gas_price("100", 123, c), 3075);
    EXPECT_EQ(gas_price("100", -123, c), -3074); // half-cent shift, then toward zero
    EXPECT_EQ(gas_price("80", 15, c), 300);
    EXPECT_EQ(gas_price("JETA", 7, c), 233); // 2333.1 -> 233.31 -> 233
    EXPECT_EQ(gas_price("JETA", 8, c), 267); // 2666.4 -> 266.64 -> 267
    EXPECT_EQ(end_capture(), "");

    // A grade of its own wins over the GAS item.
    set_price(fc_item("100"), "DEFAULT", 3000, 0);
    EXPECT_EQ(gas_price("100", 10, c), 300);

    start_capture();
    EXPECT_EQ(gas_price("MOGAS", 100, c), 0);
    EXPECT_EQ(end_capture(), "? No price for item \"MOGAS\"\n");
}

TEST_F(RatesTest, CalcPriceAppliesMinimumExtraAndRounding) {
    set_price(fc_item("ASK21"), "DEFAULT", 2500, 0);
    set_price(fc_item("MINIMUM-TIME"), "DEFAULT", 30, 0);
    set_price(fc_item("GROUND-TIME"), "DEFAULT", 10, 0);
    set_price(fc_item("CREDIT"), "DEFAULT", -1500, 0);

    start_capture();
    // 20 raised to 30, plus 10: 40 units at 2.500 is 10.00 dollars of 10000ths.
    EXPECT_EQ(calc_price(20, "DEFAULT", "ASK21", "MINIMUM-TIME", "GROUND-TIME"), 10);
    EXPECT_EQ(calc_price(50, "DEFAULT", "ASK21", "MINIMUM-TIME", ""), 13); // 125000+5000
    EXPECT_EQ(calc_price(18, "DEFAULT", "ASK21", "", ""), 5);              // 45000+5000
    EXPECT_EQ(calc_price(17, "DEFAULT", "ASK21", "", ""), 4);              // 42500+5000
    EXPECT_EQ(calc_price(7, "DEFAULT", "CREDIT", "", ""), 0);              // -10500+5000
    EXPECT_EQ(calc_price(17, "DEFAULT", "CREDIT", "", ""), -2);            // -25500+5000
    EXPECT_EQ(calc_price(800000, "DEFAULT", "ASK21", "", ""), 200000);
    // 2500 x 2,000,000 leaves 32 bits: the product wraps to 705032704.
    EXPECT_EQ(calc_price(2000000, "DEFAULT", "ASK21", "", ""), 70503);
    EXPECT_EQ(end_capture(), "");

    start_capture();
    EXPECT_EQ(calc_price(40, "DEFAULT", "ASK21", "NO-MIN", "NO-EXTRA"), 10);
    EXPECT_EQ(calc_price(40, "DEFAULT", "NO-ITEM", "", ""), 0);
    EXPECT_EQ(end_capture(), "? No price for item \"NO-MIN\"\n"
                             "? No price for item \"NO-EXTRA\"\n"
                             "? No price for item \"NO-ITEM\"\n");
}

} // namespace
