// One invoice of the accounting export, and the receivables report's totals.

#include "reports_fixture.h"

namespace {

class ExportTest : public ReportsTest {
  protected:
    void SetUp() override {
        ReportsTest::SetUp();
        db.curDate = i_convertDateToTime("6-7-2005");
    }
};

TEST_F(ExportTest, OneInvoiceInSplitOrderWithCreditsNegated) {
    customer *c = add("ADAMS", "AL", "FULL");
    charges *ch = static_cast<charges *>(errmalloc(sizeof(charges)));
    memset(static_cast<void *>(ch), 0, sizeof(charges));
    c->charges = ch;
    EXPECT_EQ(written("", [&] { w_quickbooksEntry(c, 0); }), "");
    ch->misc_credit = -1000;
    EXPECT_EQ(written("", [&] { w_quickbooksEntry(c, 0); }),
              "TRNS\tINVOICE\t06/07/2005\tAccounts Receivable\tADAMS, AL\t-10.00\t\tADAMS, AL\n"
              "SPL\tINVOICE\t06/07/2005\tCreditsMisc\tADAMS, AL\t10.00\tCreditsMisc\n"
              "ENDTRNS\n");
    ch->financeCharges = 5;
    ch->tow = 2500;
    ch->instruction = 1200;
    std::string text = written("", [&] { w_quickbooksEntry(c, 0); });
    EXPECT_TRUE(has(text, "\t27.05\t\tADAMS, AL\nSPL\tINVOICE\t06/07/2005\tInstruction\tADAMS, "
                          "AL\t-12.00\tInstruction\nSPL\tINVOICE\t06/07/2005\tTow\tADAMS, "
                          "AL\t-25.00\tTow\n"))
        << text;
    EXPECT_TRUE(has(text, "CreditsMisc\nSPL\tINVOICE\t06/07/2005\tFinance\tADAMS, "
                          "AL\t-0.05\tFinance\nENDTRNS\n"));
}

TEST_F(ExportTest, ReceivablesTotals) {
    add("ADAMS", "AL", "FULL");
    add("BAKER", "BO", "FULL");
    add("COLE", "CY", "FULL");
    add("DOE", "DI", "LONG_TERM");
    add("EVANS", "ED", "FULL");
    write_file(db.balancesfile, "$VERSION 1\nBAKER\tBO\t-5000\nCOLE\tCY\t-5000\n"
                                "DOE\tDI\t20000\nEVANS\tED\t10000\n");
    write_file(db.gashistfile, "$VERSION 2\n$MISC\n"
                               "5-1-2005\t1\t1\tBAKER,BO\tN\t3000\tDues\n"
                               "5-1-2005\t1\t2\tCOLE,CY\tN\t8000\tDues\n"
                               "5-1-2005\t1\t3\tDOE,DI\tN\t2000\tDues\n");
    write_file(db.payhistfile, "$VERSION 3\n$PAYMENTS\n5-9-2005\t10000\t1\tEVANS,ED\tpaid\n");
    EXPECT_EQ(written("NO\nNO\nNO\nALL\n", w_actBals),
              "!Customer          Balance Due     Current Charges\n"
              "BAKER,      BO         $(50.00)             $30.00\n"
              "COLE,       CY         $(50.00)             $80.00\n"
              "DOE,        DI         $200.00              $20.00\n"
              "\n\n"
              "Accounts with balance due:                 $200.00\n"
              "Accounts with CREDIT balance:             $(100.00)\n"
              "Net accounts receivable:                   $100.00\n"
              "\n"
              "Charges to be billed:                      $130.00\n"
              "Billed charges that reduce credits:         $80.00\n"
              "Net new billing:                            $50.00\n"
              "\n"
              "Long term receivables:                     $220.00\n"
              "\n"
              "Cash payments expected:                     $30.00\n"
              "Expected Net accounts receivable:          $230.00\n");
}

// Totals are 32-bit and wrap around: two balances of twenty million
// dollars overflow the club-wide sum, which must come out wrapped (and,
// under the sanitizers, without an undefined signed overflow).
TEST_F(ExportTest, ReceivablesTotalsWrapPastTheLimit) {
    add("ADAMS", "AL", "FULL");
    add("BAKER", "BO", "LONG_TERM");
    write_file(db.balancesfile, "$VERSION 1\nADAMS\tAL\t2000000000\nBAKER\tBO\t2000000000\n");
    std::string text = written("NO\nNO\nNO\nALL\n", w_actBals);
    // 4,000,000,000 cents less 2^32 is -294,967,296 cents; taking the long
    // term 2,000,000,000 from that wraps back to 2,000,000,000.
    EXPECT_TRUE(has(text, "Accounts with balance due:            $(2949672.96)\n"
                          "Accounts with CREDIT balance:                $0.00\n"
                          "Net accounts receivable:              $(2949672.96)\n"))
        << text;
    EXPECT_TRUE(has(text, "Long term receivables:                $20000000.00\n\n"
                          "Cash payments expected:               $20000000.00\n"
                          "Expected Net accounts receivable:     $(2949672.96)\n"))
        << text;
}

} // namespace
