// The values a statement is computed as: each flight type's priced lines
// and the rounding edges of each price rule, with the cents written out.
#include <string>
#include <utility>

#include "billing/statement.h"
#include "billing_fixture.h"

namespace {

// Writes each line the computation hands over as "label:cents", so that
// a whole statement compares as one string.
struct Collector : StatementSink {
    std::string text;
    void put(const std::string &s) { text += (text.empty() ? "" : " ") + s; }
    void tow_line(const flight *f, int32_t cents) override {
        put("Tow" + std::to_string(f->towheight) + ":" + std::to_string(cents));
    }
    void charge_line(const char *label, int32_t cents) override {
        put(label + std::to_string(cents));
    }
    void section(StatementSection s) override { put("#" + std::to_string(static_cast<int>(s))); }
    void fuel(const gas *g) override { put("fuel" + std::to_string(g->charge)); }
    void misc_line(const misc *m) override { put("misc" + std::to_string(m->charge)); }
    void payment_line(const payment *p) override { put("paid" + std::to_string(p->amount)); }
    void finance(int32_t unpaid, int32_t fee) override {
        put("finance" + std::to_string(unpaid) + "/" + std::to_string(fee));
    }
};

// Every tax at zero; the cases set the one they test.
const std::pair<const char *, int32_t> kPrices[] = {
    {"ASK21", 100000},          {"HOOKUP", 10005},           {"THOUSAND", 5000},
    {"MINIMUM-TIME", 484},      {"GROUND-TIME", 100},        {"INSTRUCTION", 30000},
    {"PVT-INSTRUCTION", 20000}, {"ROPE-BREAK", 5005},        {"PATTERN-TOW", 15004},
    {"TOW-SALESTAX", 0},        {"FLT-SALESTAX", 0},         {"INS-SALESTAX", 0},
    {"ROPE-BREAK-SALESTAX", 0}, {"PATTERN-TOW-SALESTAX", 0}, {"MISC-SALESTAX", 0}};

class StatementValuesTest : public BillingTest {
  protected:
    void SetUp() override {
        BillingTest::SetUp();
        for (auto [item, mills] : kPrices)
            price(item, mills);
    }
    std::string bill(customer *c, bool finance = false) {
        Collector lines;
        output_of([&] { bill_customer(c, nullptr, DateRange{}, finance, true, &lines); });
        return lines.text;
    }
};

// Sections as the collector names them: fuel, misc end, payments.
constexpr const char *tail = " #0 #3 #4";

TEST_F(StatementValuesTest, EachFlightTypeAndRoundingEdge) {
    struct {
        const char *price_item; // changed for this case alone, when set
        int32_t mills;
        int type;
        const char *plane;
        int height, minutes;
        const char *lines;
        int32_t tax;
    } cases[] = {
        // The tow rounds its half cent up: (10005 + 5000 * 3 / 10 + 5) / 10.
        {nullptr, 0, 0, "DISCUS", 3, 30, "Tow3:1151", 0},
        {nullptr, 0, 1, "ASK21", 20, 30, "Tow20:2001 Rental:5000", 0},
        {"HOOKUP", 10004, 0, "DISCUS", 3, 30, "Tow3:1150", 0},
        // 29 minutes is 483 thousandths, one under the minimum time.
        {nullptr, 0, 0, "ASK21", 0, 29, "Rental:4840", 0},
        {nullptr, 0, 0, "ASK21", 0, 30, "Rental:5000", 0},
        // Instruction adds the ground time to the time, raised or not.
        {nullptr, 0, 2, "ASK21", 0, 60, "Instruction:3300 Rental:10000", 0},
        {nullptr, 0, 2, "KA6", 0, 29, "Instruction:1168", 0},
        {"PVT-INSTRUCTION", 0, 2, "KA6", 0, 29, "", 0},
        {nullptr, 0, 3, "ASK21", 2, 5, "Rope break:501", 0},
        {nullptr, 0, 4, "KA6", 8, 10, "Pattern tow:1500", 0},
        {"THOUSAND", 0, 0, "DISCUS", 0, 1, "", 0},
        // The tax rounds its half mill up: 500 cents at 1 mill is 1 cent.
        {"HOOKUP", 4995, 0, "DISCUS", 1, 1, "Tow1:500", 0},
        {"TOW-SALESTAX", 1, 0, "DISCUS", 1, 1, "Tow1:500", 1},
        {"HOOKUP", 4994, 0, "DISCUS", 1, 1, "Tow1:499", 0},
        {"FLT-SALESTAX", 25, 0, "ASK21", 0, 29, "Rental:4840", 121},
        {"FLT-SALESTAX", 25, 0, "ASK21", 0, 30, "Rental:5000", 125},
    };
    int n = 0;
    for (const auto &c : cases) {
        if (c.price_item != nullptr)
            price(c.price_item, c.mills);
        customer *p = pilot("P" + std::to_string(n++));
        fly(p, c.plane, c.type, c.height, c.minutes);
        std::string lines = std::string(c.lines) + tail;
        EXPECT_EQ(bill(p), lines.substr(c.lines[0] == '\0')) << n;
        EXPECT_EQ(p->charges->salestax, c.tax) << n;
    }
}

TEST_F(StatementValuesTest, StatementOrderSummaryAndFinance) {
    // Unpriced, finance is no charge and no complaint.
    EXPECT_EQ(output_of([] { EXPECT_EQ(finance_price(14001, "DEFAULT"), 0); }), "");
    price("FINANCE-CHARGE", 15);
    price("MISC-SALESTAX", 1);
    customer *p = pilot("ORDER");
    p->balance = 20000;
    fly(p, "ASK21", 0, 0, 30);
    gas *g = zeroed<gas>();
    g->customer = p;
    g->grade = "100";
    g->gallons = 100;
    g->charge = 2999;
    add_gas(g, p);
    for (int32_t cents : {-999, 500})
        misc_item(p, "DUES", cents, true);
    payment *pay = zeroed<payment>();
    pay->customer = p;
    pay->amount = 5000;
    add_payment(pay, p);
    EXPECT_EQ(bill(p, true), "Rental:5000 #0 fuel2999 #1 misc500 #2 misc-999 #3 #4 paid5000 "
                             "finance14001/210");
    // Tax: 500 cents taxed 1, the 999 credit's -0.999 rounds to 0. Last, the aircraft's total.
    const charges *ch = p->charges;
    EXPECT_EQ((std::vector<int32_t>{ch->prev_balance, ch->financeCharges, ch->salestax,
                                    newCharges(ch), fc_charge("ASK21", true)->rental}),
              (std::vector<int32_t>{20000, 210, 1 + 0, 5000 + 2999 + 500 + 210 + 1, 5000}));
    EXPECT_EQ(bill(p, false).find("finance"), std::string::npos);
}

} // namespace
