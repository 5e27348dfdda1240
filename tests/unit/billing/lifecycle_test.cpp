#include <ctime>
#include <filesystem>
#include <string>

#include "billing/billing.h"
#include "db/db.h"
#include "shell/shell.h"
#include "testutil.h"

namespace {

class LifecycleTest : public TempDirTest {
  protected:
    void SetUp() override {
        TempDirTest::SetUp();
        db_reset();
        do_init();
    }
    void TearDown() override {
        do_init();
        db_reset();
        TempDirTest::TearDown();
    }
};

TEST_F(LifecycleTest, InvoiceNumbers) {
    int32_t n = 99;
    EXPECT_EQ(set_invoice_number(&n, "#1234"), 0);
    EXPECT_EQ(n, 1234);
    EXPECT_EQ(set_invoice_number(&n, " 42 "), 0);
    EXPECT_EQ(n, 42);
    // A name is no receipt number: zero, and no failure either.
    EXPECT_EQ(set_invoice_number(&n, "SMITH"), 0);
    EXPECT_EQ(n, 0);
    n = 5;
    EXPECT_EQ(set_invoice_number(&n, "#12x"), 0);
    EXPECT_EQ(n, 0);
    n = 5;
    EXPECT_EQ(set_invoice_number(&n, nullptr), 0);
    EXPECT_EQ(n, 0);
    // "#" alone passes the number test but holds no number.
    n = 5;
    EXPECT_EQ(set_invoice_number(&n, "#"), -1);
    EXPECT_EQ(n, 0);
}

TEST_F(LifecycleTest, InitSetsTodayDefaultsAndClearsState) {
    shell.expert_mode = 1;
    shell.exit_flag = 1;
    replace_str(&db.pricefile, "OTHER.DAT");
    db.nnumbers[3] = alloc_str("ASK21");
    db.balances_read = 1;
    db.month_ended = 1;
    billing.bills_computed = 1;
    billing.bills_started = alloc_str("1-June-2005");
    snprintf(db.sharetext, sizeof db.sharetext, "%s", "MEMBER");
    fc_tug("PAWNEE", true);
    customer *c = fc_cust("SMITH", "JOHN", true);
    ASSERT_NE(c, nullptr);
    do_init();

    EXPECT_EQ(shell.expert_mode, 0);
    EXPECT_EQ(shell.exit_flag, 0);
    EXPECT_EQ(get_o_file(), stdout);
    time_t now = time(nullptr);
    struct tm midnight;
    localtime_r(&now, &midnight);
    midnight.tm_hour = midnight.tm_min = midnight.tm_sec = 0;
    midnight.tm_isdst = 0;
    EXPECT_EQ(billing.curDate, (long)mktime(&midnight));

    EXPECT_STREQ(db.abbrevfile, "VNKABBRV.DAT");
    EXPECT_STREQ(db.pricefile, "VNKPRICE.DAT");
    EXPECT_STREQ(db.customerfile, "VNKCUST.DAT");
    EXPECT_STREQ(db.balancesfile, "VNKBAL.DAT");
    EXPECT_STREQ(db.gastempfile, "VNKGAS.TMP");
    EXPECT_STREQ(db.gashistfile, "VNKGAS.HIS");
    EXPECT_STREQ(db.gashistqufile, "VNKGASQU.HIS");
    EXPECT_STREQ(db.paytempfile, "VNKPMNT.TMP");
    EXPECT_STREQ(db.payhistfile, "VNKPMNT.HIS");
    EXPECT_STREQ(db.payhistqufile, "VNKPMNTQ.HIS");
    EXPECT_STREQ(db.statementfile, "VNKSTMNT.LIS");
    EXPECT_STREQ(db.timesfile, "VNKTIMES.LIS");
    EXPECT_STREQ(db.daysheetfile, "VNKFLGHT.HIS");
    EXPECT_STREQ(db.daysheetqufile, "VNKFLGQU.HIS");
    EXPECT_STREQ(db.daytempfile, "VNKFLGHT.TMP");
    EXPECT_STREQ(db.headfile, "VNKHEAD.DAT");
    EXPECT_STREQ(db.trailfile, "VNKTRAIL.DAT");
    EXPECT_STREQ(db.emailTempFile, "VNKEMAIL.TMP");

    EXPECT_EQ(db.nnumbers[3], nullptr);
    EXPECT_EQ(db.cust_list, nullptr);
    EXPECT_EQ(db.last_cust, nullptr);
    EXPECT_EQ(db.category_names, nullptr);
    EXPECT_EQ(db.balances_read, 0);
    EXPECT_EQ(db.month_ended, 0);
    EXPECT_EQ(billing.bills_computed, 0);
    EXPECT_EQ(billing.bills_started, nullptr);
    EXPECT_STREQ(db.sharetext, "FLAG1");
    EXPECT_STREQ(db.boardtext, "FLAG2");
    EXPECT_STREQ(db.tugList[0].tugname, "");
}

// Answers for the eighteen questions of FILENAMES.
std::string answers(const std::string &first, const std::string &last) {
    std::string text = first + "\n";
    for (int i = 2; i <= 17; i++)
        text += "\n";
    return text + last + "\n";
}

TEST_F(LifecycleTest, FilenamesAskEveryNameAndResetRestoresThem) {
    replace_str(&db.headfile, "CURRENT.DAT");
    feed_input(answers("MYABBR", "MAIL.TMP"));
    start_capture();
    do_filenames();
    EXPECT_EQ(end_capture(),
              "Abbreviations for customer names [VNKABBRV.DAT]: Abbreviations: MYABBR.DAT\n"
              "Prices and reference info [VNKPRICE.DAT]: Prices: VNKPRICE.DAT\n"
              "List of accounts [VNKCUST.DAT]: Accounts: VNKCUST.DAT\n"
              "List of account balances [VNKBAL.DAT]: Account balances: VNKBAL.DAT\n"
              "Gas history file (output to QUICKEN) [VNKGASQU.HIS]: Gas history (output to "
              "QUICKEN): VNKGASQU.HIS\n"
              "Gas history file [VNKGAS.HIS]: Gas history: VNKGAS.HIS\n"
              "Gas temporary file [VNKGAS.TMP]: Gas temporary: VNKGAS.TMP\n"
              "Payments history file [VNKPMNT.HIS]: Payments history: VNKPMNT.HIS\n"
              "Payments temporary file [VNKPMNT.TMP]: Payments temporary: VNKPMNT.TMP\n"
              "Payments history file (output to QUICKEN) [VNKPMNTQ.HIS]: Payments history "
              "(output to QUICKEN): VNKPMNTQ.HIS\n"
              "Day sheet data file [VNKFLGHT.HIS]: Day sheet file: VNKFLGHT.HIS\n"
              "Day sheet temporary file [VNKFLGHT.TMP]: Day sheet file: VNKFLGHT.TMP\n"
              "Day sheet data file (output to QUICKEN) [VNKFLGQU.HIS]: Day sheet file (output "
              "to QUICKEN): VNKFLGQU.HIS\n"
              "Statements file [VNKSTMNT.LIS]: Statements file: VNKSTMNT.LIS\n"
              "Times summary file [VNKTIMES.LIS]: Time summary file: VNKTIMES.LIS\n"
              "Trailing text on bill file [VNKTRAIL.DAT]: Trailing text on bill file: "
              "VNKTRAIL.DAT\n"
              "Heading text on bill file [VNKHEAD.DAT]: Heading text on bill file: "
              "VNKHEAD.DAT\n"
              "Email Temporary File [VNKEMAIL.TMP]: Temporary file for email: VNKEMAIL.TMP\n");
    EXPECT_STREQ(db.abbrevfile, "MYABBR.DAT");
    // The last answer lands in the prices file name.
    EXPECT_STREQ(db.pricefile, "MAIL.TMP");
    EXPECT_STREQ(db.emailTempFile, "VNKEMAIL.TMP");
    // The defaults offered are the built-in names, not the current ones.
    EXPECT_STREQ(db.headfile, "VNKHEAD.DAT");

    do_init();
    EXPECT_STREQ(db.abbrevfile, "VNKABBRV.DAT");
    EXPECT_STREQ(db.pricefile, "VNKPRICE.DAT");
}

TEST_F(LifecycleTest, OutdatedFlagLabels) {
    write_file("VNKPRICE.DAT", "$VERSION 2\n$FLAG1\tSHARE\n");
    std::string long_label(250, 'X');
    feed_input("YES\n" + long_label + "\n\nNO\n");
    start_capture();
    do_flagnames();
    std::string out = end_capture();
    EXPECT_EQ(out, "Reading prices file: \"VNKPRICE.DAT\"\n"
                   "A customer can now have any number of flags with any name.\n"
                   "Add flags to the individual customer with CHANGE CUSTOMER.\n"
                   "Do you wish to change the outdated names [NO]: "
                   "Two flags are provided for each customer. These flags can\n"
                   "have any name desired. This allows the names to be set.\n"
                   "Flag number one [SHARE]: Flag number two [FLAG2]: ");
    EXPECT_EQ(std::string(db.sharetext), std::string(200, 'X'));
    EXPECT_STREQ(db.boardtext, "FLAG2");
    EXPECT_TRUE(db.price_changed);

    db.price_changed = 0;
    start_capture();
    do_flagnames();
    end_capture();
    EXPECT_FALSE(db.price_changed);
}

// The demo club loads completely and without a single complaint.
TEST_F(LifecycleTest, DemoClubReadsCleanly) {
    std::filesystem::path demo = std::filesystem::path(VARNOK_SOURCE_DIR) / "demo";
    for (const auto &entry : std::filesystem::directory_iterator(demo))
        std::filesystem::copy_file(entry.path(), entry.path().filename());
    start_capture();
    do_r_all();
    std::string out = end_capture();
    EXPECT_EQ(out.find('?'), std::string::npos) << out;
    EXPECT_NE(out.find("Reading payments history file: \"VNKPMNT.HIS\""), std::string::npos);
    long customers = 0, flights = 0, sales = 0, miscs = 0, payments = 0;
    for (const customer *c = db.cust_list; c; c = c->next) {
        customers++;
        for (const flight *f = c->flights; f; f = f->next)
            flights++;
        for (const gas *g = c->gas; g; g = g->next)
            sales++;
        for (const misc *m = c->misc; m; m = m->next)
            miscs++;
        for (const payment *p = c->payments; p; p = p->next)
            payments++;
    }
    EXPECT_EQ(customers, 30);
    EXPECT_EQ(flights, 150);
    EXPECT_GT(sales, 20);
    EXPECT_GT(miscs, 20);
    EXPECT_GT(payments, 15);
    EXPECT_STREQ(db.nnumbers[0], "ASK21");
    EXPECT_STREQ(db.tugList[1].tugname, "HUSKY");
}

TEST_F(LifecycleTest, EmptyPeriodFile) {
    write_file("VNKGASQU.HIS", "old contents\n");
    EXPECT_EQ(create_empty_file("VNKGASQU.HIS"), 0);
    EXPECT_EQ(read_file("VNKGASQU.HIS"), "!Start of billing cycle\n");
    start_capture();
    EXPECT_NE(create_empty_file("no/such/dir/X.HIS"), 0);
    std::string out = end_capture();
    EXPECT_NE(out.find("? Unable to open empty file \"no/such/dir/X.HIS\"\n"), std::string::npos);
    EXPECT_EQ(get_o_file(), stdout);
}

} // namespace
