// One invoice of the accounting export, and the receivables report's wrapped totals.
#include "reports_fixture.h"

namespace {

using ExportTest = ReportsTest;

TEST_F(ExportTest, OneInvoiceInSplitOrderWithCreditsNegated) {
    db.curDate = i_convertDateToTime("6-7-2005");
    customer *c = add("ADAMS", "AL", "FULL");
    charges *ch = c->charges = zeroed<charges>();
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
