// The accounting export read back as the accounting package reads it, and
// the receivables report's totals.
#include <filesystem>
#include <vector>

#include <set>
#include <sstream>

#include "reports_fixture.h"

namespace {

std::vector<std::string> split(const std::string &line) {
    std::vector<std::string> fields;
    size_t start = 0;
    for (;;) {
        size_t tab = line.find('\t', start);
        fields.push_back(line.substr(start, tab - start));
        if (tab == std::string::npos)
            return fields;
        start = tab + 1;
    }
}

// "12.34" or "-0.05" in cents; anything else fails the test.
long cents(const std::string &text) {
    long whole = 0, part = 0;
    char sign = 0;
    int used = 0;
    const char *p = text.c_str();
    if (*p == '-')
        sign = *p++;
    EXPECT_EQ(sscanf(p, "%ld.%2ld%n", &whole, &part, &used), 2) << text;
    EXPECT_EQ((size_t)used, strlen(p)) << text;
    long value = whole * 100 + part;
    return sign ? -value : value;
}

struct Iif {
    int transactions = 0;
    long trns_total = 0;
    std::vector<std::string> names;
};

// Reads an IIF invoice file: the three headers, then TRNS, SPL... ENDTRNS
// groups, each of which must balance to the cent.
Iif parse_iif(const std::string &text) {
    Iif iif;
    std::istringstream in(text);
    std::string line;
    std::vector<std::string> headers;
    long open_amount = 0, splits = 0;
    bool in_trns = false;
    while (std::getline(in, line)) {
        std::vector<std::string> f = split(line);
        if (line[0] == '!') {
            headers.push_back(line);
        } else if (f[0] == "TRNS") {
            EXPECT_FALSE(in_trns);
            EXPECT_EQ(f.size(), 8u) << line;
            EXPECT_EQ(f[1], "INVOICE");
            EXPECT_EQ(f[2], "06/07/2005");
            EXPECT_EQ(f[3], "Accounts Receivable");
            EXPECT_EQ(f[7], f[4]);
            in_trns = true;
            open_amount = cents(f[5]);
            splits = 0;
            iif.names.push_back(f[4]);
        } else if (f[0] == "SPL") {
            EXPECT_TRUE(in_trns);
            EXPECT_EQ(f.size(), 7u) << line;
            EXPECT_EQ(f[6], f[3]);
            EXPECT_EQ(f[4], iif.names.back());
            splits += cents(f[5]);
        } else {
            EXPECT_EQ(line, "ENDTRNS");
            EXPECT_TRUE(in_trns);
            EXPECT_EQ(splits, -open_amount) << iif.names.back();
            iif.transactions++;
            iif.trns_total += open_amount;
            in_trns = false;
        }
    }
    EXPECT_FALSE(in_trns);
    EXPECT_EQ(headers, (std::vector<std::string>{
                           "!TRNS\tTRNSTYPE\tDATE\tACCNT\tNAME\tAMOUNT\tMEMO\tADDR1",
                           "!SPL\tTRNSTYPE\tDATE\tACCNT\tNAME\tAMOUNT\tMEMO", "!ENDTRNS"}));
    return iif;
}

class ExportTest : public ReportsTest {
  protected:
    void SetUp() override {
        ReportsTest::SetUp();
        db.curDate = i_convertDateToTime("6-7-2005");
    }

    static void use_demo_club() {
        db_reset();
        db_init();
        db.curDate = i_convertDateToTime("6-7-2005");
        for (const auto &file :
             std::filesystem::directory_iterator(std::string(VARNOK_SOURCE_DIR) + "/demo"))
            std::filesystem::copy_file(file.path(), file.path().filename(),
                                       std::filesystem::copy_options::overwrite_existing);
    }
};

// Export answers: previous data, finance charges, specific dates, then the
// customer selection.
const char kExportAll[] = "NO\nNO\nNO\nNO\nALL\n";

TEST_F(ExportTest, DemoClubExportBalancesAndIsNeverRepeated) {
    use_demo_club();
    std::string old_history = read_file("VNKGAS.HIS"), old_qu = read_file("VNKGASQU.HIS");
    std::string console;
    Iif iif = parse_iif(written(kExportAll, w_quickbooks, &console));
    long expected = 0;
    int customers = 0;
    for (const customer *c = db.cust_list; c; c = c->next, customers++)
        expected += getNewCharges(c);
    EXPECT_GT(iif.transactions, 5);
    EXPECT_EQ(iif.trns_total, expected);
    EXPECT_TRUE(has(console, std::to_string(customers) + " customers output.\n")) << console;
    EXPECT_TRUE(has(console, "History data updated to show what has been output to QUICKBOOKS\n"));
    // Every record moved once; the headings may repeat.
    auto records = [](const std::string &text) {
        std::multiset<std::string> lines;
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);)
            if (!line.empty() && line[0] != '!' && line[0] != '$')
                lines.insert(line);
        return lines;
    };
    EXPECT_EQ(records(read_file("VNKGASQU.HIS")), records(old_qu + old_history));
    for (const char *name : {"VNKGAS.HIS", "VNKPMNT.HIS", "VNKFLGHT.HIS"})
        EXPECT_EQ(read_file(name), "!Start of billing cycle\n") << name;

    // Nothing is exported twice; with the earlier data included it all is.
    Iif again = parse_iif(written(kExportAll, w_quickbooks, &console));
    EXPECT_EQ(again.transactions, 0) << console;
    EXPECT_TRUE(has(console, std::to_string(customers) + " customers output.\n"));
    Iif included = parse_iif(written("YES\nNO\nNO\nNO\nALL\n", w_quickbooks));
    EXPECT_EQ(included.trns_total, iif.trns_total);
}

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
