// The charge arithmetic at its edges and the ordered totals it builds.
#include <climits>
#include <string>
#include <vector>

#include "billing_fixture.h"

namespace {

class ChargesTest : public BillingTest {
  protected:
    void SetUp() override {
        BillingTest::SetUp();
        pilot_ = pilot("PILOT");
    }
    charges *bill(bool finance = false) {
        warnings = output_of([&] {
            charge_account(pilot_, nullptr, nullptr, nullptr, nullptr, nullptr, true, false,
                           finance);
        });
        return pilot_->charges;
    }
    customer *pilot_ = nullptr;
    std::string warnings;
};

std::vector<std::string> names(const misc_breakdown *list) {
    std::vector<std::string> out;
    for (; list != nullptr; list = list->next)
        out.push_back(list->item_name + std::string("=") + std::to_string(list->charge) + "/" +
                      std::to_string(list->count));
    return out;
}

TEST_F(ChargesTest, TaxAndRateRoundingTruncateTowardZero) {
    // 1.499 cents is 1, half a cent rounds up.
    const int32_t taxes[][3] = {
        {50, 999, 50}, {50, -999, -49}, {50, 9, 0}, {1, 1499, 1}, {1, 1500, 2}};
    for (auto [cents, mills, tax] : taxes)
        EXPECT_EQ(tax_on(cents, mills), tax) << cents << " " << mills;
    for (auto [rate, cents] : {std::pair{42004, 4200}, {42005, 4201}, {-42006, -4200}})
        EXPECT_EQ(rate_to_cents(rate), cents) << rate;
    // The product wraps as 32-bit arithmetic did; it never traps.
    EXPECT_EQ(tax_on(INT32_MAX, 2), (static_cast<int32_t>(-2) + 500) / 1000);
}

TEST_F(ChargesTest, TowDividesTheHeightProductAloneAndFillsTheTowPlane) {
    price("HOOKUP", 10000);
    price("THOUSAND", 5000);
    price("TOW-SALESTAX", 0);
    towplane *tug = fc_tug("PAWNEE", true);
    fly(pilot_, "DISCUS", 0, 20, 30)->towplane = tug;
    fly(pilot_, "DISCUS", 0, 3, 30); // 5000 * 3 / 10 = 1500, not 5000 * (3 / 10)
    charges *ch = bill(), *total = fc_charge("DISCUS", true);
    // No price for DISCUS: a private glider, no rental.
    EXPECT_EQ((std::vector<int>{ch->tow, ch->tow_count, ch->tow_height, ch->flight_min,
                                ch->rental_count, tug->charges, tug->numberTows, tug->towheight,
                                total->tow, total->tow_height}),
              (std::vector<int>{2000 + 1150, 2, 23, 60, 0, 2000, 1, 20, 3150, 23}));
}

TEST_F(ChargesTest, ATowWithoutAPricePerThousandFeetIsReported) {
    price("HOOKUP", 10000);
    price("TOW-SALESTAX", 0);
    fly(pilot_, "DISCUS", 0, 20, 30);
    EXPECT_EQ(bill()->tow, 1000);
    EXPECT_EQ(warnings, "? No price for item \"THOUSAND\"\n");
}

TEST_F(ChargesTest, RopeBreakAndPatternTowCountWithoutCharging) {
    price("ASK21", 42000);
    price("ROPE-BREAK", 5004);
    price("ROPE-BREAK-SALESTAX", 100);
    price("PATTERN-TOW", 15000);
    price("PATTERN-TOW-SALESTAX", 0);
    fly(pilot_, "ASK21", 3, 2, 5);
    fly(pilot_, "KA6", 4, 8, 10);
    charges *ch = bill();
    // Rentals count only the club glider.
    EXPECT_EQ(
        (std::vector<int>{ch->rope_break_charge, ch->rope_break_count, ch->pattern_tow_charge,
                          ch->salestax, ch->tow, ch->tow_count, ch->tow_height, ch->inst_count,
                          ch->inst_min, ch->instruction, ch->rental, ch->rental_count,
                          ch->rental_min, ch->flight_min, newCharges(ch)}),
        (std::vector<int>{500, 1, 1500, 50, 0, 2, 10, 2, 15, 0, 0, 1, 5, 0, 500 + 1500 + 50}));
}

TEST_F(ChargesTest, MiscBreakdownDescendsAndZeroAmountsCountNowhere) {
    price("MISC-SALESTAX", 50);
    misc_item(pilot_, "DUES", 4500, false);
    misc_item(pilot_, "TIEDOWN", 2000, true);
    misc_item(pilot_, "DUES", 4500, false);
    misc_item(pilot_, "REFUND", -999, true);
    misc_item(pilot_, "NOTHING", 0, true);
    charges *ch = bill();
    EXPECT_EQ(names(ch->misc_breakdown),
              (std::vector<std::string>{"TIEDOWN=2000/1", "REFUND=-999/1", "DUES=9000/2"}));
    // A taxable credit lowers the tax.
    EXPECT_EQ((std::vector<int>{ch->misc_charge, ch->misc_charge_count, ch->misc_credit,
                                ch->misc_credit_count, ch->salestax, newCharges(ch),
                                getNewCharges(pilot_)}),
              (std::vector<int>{11000, 3, -999, 1, 100 - 49, 11000 + 51, 11051 - 999}));
}

TEST_F(ChargesTest, TotalsKeepTheirOrdersWhenMerged) {
    for (const char *name : {"JUNIOR", "ASK21", "FULL", "DEFAULT"})
        fc_charge(name, false);
    std::vector<std::string> order;
    for (charges *ch = billing.all_charges; ch != nullptr; ch = ch->next)
        order.push_back(ch->name);
    EXPECT_EQ(order, (std::vector<std::string>{"ASK21", "DEFAULT", "FULL", "JUNIOR"}));
    EXPECT_EQ(fc_charge("FULL", true), fc_charge("FULL", false));

    // The indexed total and a customer's own list order names alike.
    charges *total = fc_charge("FULL", false);
    misc_item(pilot_, "B", 100, false);
    misc_item(pilot_, "D", 100, false);
    charges *first = bill();
    add_charges(total, first);
    misc_item(pilot_, "C", -50, false);
    misc_item(pilot_, "A", 10, false);
    add_charges(total, bill());
    EXPECT_EQ(names(total->misc_breakdown),
              (std::vector<std::string>{"D=200/2", "C=-50/1", "B=200/2", "A=10/1"}));
    EXPECT_EQ(names(pilot_->charges->misc_breakdown),
              (std::vector<std::string>{"D=100/1", "C=-50/1", "B=100/1", "A=10/1"}));
}

TEST_F(ChargesTest, FinanceChargeOnlyOnUnpaidOldBalance) {
    price("FINANCE-THRESHOLD", 10000); // $10.00
    price("FINANCE-CHARGE", 15);       // 1.5 %
    price("MIN-FINANCE-CHARGE", 1000); // $1.00
    const int32_t cases[][3] = {
        {5000, 0, 100},       // 75 cents raised to the minimum
        {20000, 0, 300},      // above the minimum
        {999, 0, 0},          // below the threshold
        {20000, -15000, 100}, // a credit counts as paid
    };
    for (auto [balance, credit, expected] : cases) {
        pilot_->balance = balance;
        free_customer_misc(pilot_);
        if (credit != 0)
            misc_item(pilot_, "CREDIT", credit, false);
        price("FINANCE-THRESHOLD", balance == 5000 ? 1000 : 10000);
        EXPECT_EQ(bill(true)->financeCharges, expected) << balance;
    }
    // A fee of 0 is not raised to the minimum.
    price("FINANCE-CHARGE", 0);
    pilot_->balance = 50000;
    EXPECT_EQ(bill(true)->financeCharges, 0);
    EXPECT_EQ(getCurrentBalance(pilot_), 50000 - 15000);
}

} // namespace
