#include <string>
#include <vector>

#include "customers_fixture.h"

namespace {

using SmallFilesTest = CustomerDbTest;

std::vector<std::string> abbrev_lines() {
    std::vector<std::string> lines;
    for (const abbrev *a = db.abbrevs; a; a = a->next)
        lines.push_back(std::string(a->name) + "=" + a->lastname + "/" + a->firstname);
    return lines;
}

struct PaymentView {
    std::string who;
    long amount, check;
    std::string note;
    bool operator==(const PaymentView &) const = default;
};

std::vector<PaymentView> payments_of(const customer *c) {
    std::vector<PaymentView> out;
    for (const payment *p = c->payments; p; p = p->next)
        out.push_back({std::string(c->lastname) + "," + c->firstname, (long)p->amount,
                       (long)p->check, p->note});
    return out;
}

// ---- Abbreviations ------------------------------------------------------------

TEST_F(SmallFilesTest, AbbreviationsReadingOrderAndMessages) {
    write_file("VNKABBRV.DAT", "$VERSION 1\n"
                               "jd\tdoe\n"
                               "JD\tSMITH JOHN\n"
                               "! old entry\n"
                               "!\n"
                               "\n"
                               "AB\tBAKER ANN\n"
                               "XYZ\n"
                               "$VERSION 2\n");
    start_capture();
    do_r_abbrev();
    std::string out = end_capture();
    EXPECT_EQ(out, "Reading abbreviations file: \"VNKABBRV.DAT\"\n"
                   "? Illegal format line 8: XYZ\n"
                   "? Bad version number on line 9.\n");
    // The first JD wins; a comment of two words is an abbreviation.
    EXPECT_EQ(abbrev_lines(), (std::vector<std::string>{"!=OLD/ENTRY", "AB=BAKER/ANN", "JD=DOE/"}));
    EXPECT_FALSE(db.abbrev_changed);
}

TEST_F(SmallFilesTest, AbbreviationsWriteAndFailures) {
    start_capture();
    EXPECT_TRUE(do_w_abbrev());
    EXPECT_EQ(end_capture(), "Abbreviations are up to date.\n");
    EXPECT_FALSE(file_exists("VNKABBRV.DAT"));

    fc_abbrev("JD", "DOE", "", true);
    fc_abbrev("AB", "BAKER", "ANN", true);
    db.abbrev_changed = 1;
    start_capture();
    EXPECT_TRUE(do_w_abbrev());
    EXPECT_EQ(end_capture(), "Abbreviations file \"VNKABBRV.DAT\" written\n");
    EXPECT_EQ(read_file("VNKABBRV.DAT"), "$VERSION 1\nAB\tBAKER ANN\nJD\tDOE \n");
    EXPECT_FALSE(db.abbrev_changed);

    replace_str(&db.abbrevfile, "no-such-dir/VNKABBRV.DAT");
    db.abbrev_changed = 1;
    start_capture();
    EXPECT_FALSE(do_w_abbrev());
    EXPECT_EQ(end_capture(), "? Unable to open abbreviations file \"no-such-dir/VNKABBRV.DAT\"\n");
    EXPECT_TRUE(db.abbrev_changed);
}

// ---- Balances -----------------------------------------------------------------

TEST_F(SmallFilesTest, BalancesSumDuplicatesAndCreateUnknownCustomers) {
    fc_cust("SMITH", "ANN", true);
    write_file("VNKBAL.DAT", "$VERSION 1\n"
                             "! balances\n"
                             "SMITH\tANN\t1000\n"
                             "smith\tann\t-250\n"
                             "DOE\tJOHN\t77\n"
                             "\tNOBODY\t5\n"
                             "SMITH\tANN\tlots\n"
                             "$VERSION 3\n");
    start_capture();
    do_r_balances();
    std::string out = end_capture();
    EXPECT_EQ(out, "Reading account balances file: \"VNKBAL.DAT\"\n"
                   "? SMITH, ANN already has a balance of 1000 cents,\n"
                   "\tadding new balance of -250 on line 4\n"
                   "? Customer DOE, JOHN does not exist, creating customer.\n"
                   "? Bad format, missing last name on line: 6\n"
                   "    \tNOBODY\t5\n"
                   "? Can not find account balance on line 7:\n"
                   "\t? SMITH, ANN already has a balance of 750 cents,\n"
                   "\tadding new balance of 0 on line 7\n"
                   "? Bad version number on line 8.\n");
    EXPECT_EQ(fc_cust("SMITH", "ANN", false)->balance, 750);
    ASSERT_NE(fc_cust("DOE", "JOHN", false), nullptr);
    EXPECT_EQ(fc_cust("DOE", "JOHN", false)->balance, 77);
    EXPECT_TRUE(db.balances_read);
    EXPECT_FALSE(db.balances_changed);

    // Already read: a second call does nothing at all.
    start_capture();
    do_r_balances();
    EXPECT_EQ(end_capture(), "");
    EXPECT_EQ(fc_cust("SMITH", "ANN", false)->balance, 750);
}

TEST_F(SmallFilesTest, BalancesWriterSkipsCashAndZero) {
    fc_cust("SMITH", "ANN", true)->balance = -1234;
    fc_cust("CASH", "", true)->balance = 500;
    customer *walkin = fc_cust("WALKER", "W", true);
    walkin->balance = 900;
    walkin->cash = 1;
    fc_cust("ZERO", "Z", true);
    fc_cust("ADAMS", "AL", true)->balance = 42;

    start_capture();
    EXPECT_TRUE(do_w_balances());
    EXPECT_EQ(end_capture(), "Balances file is up to date.\n");
    EXPECT_FALSE(file_exists("VNKBAL.DAT"));

    db.balances_changed = 1;
    start_capture();
    EXPECT_TRUE(do_w_balances());
    EXPECT_EQ(end_capture(), "Account balances file \"VNKBAL.DAT\" written.\n");
    // The CASH account was made with the cash flag clear, so only the
    // flagged walk-in customer is left out.
    EXPECT_EQ(read_file("VNKBAL.DAT"), "$VERSION 1\n"
                                       "ADAMS\tAL\t42\n"
                                       "CASH\t\t500\n"
                                       "SMITH\tANN\t-1234\n");
    EXPECT_FALSE(db.balances_changed);

    replace_str(&db.balancesfile, "missing/VNKBAL.DAT");
    db.balances_changed = 1;
    start_capture();
    EXPECT_FALSE(do_w_balances());
    EXPECT_EQ(end_capture(), "? Unable to open account balances file \"missing/VNKBAL.DAT\"\n");
    EXPECT_TRUE(db.balances_changed);
}

// ---- Payments -----------------------------------------------------------------

TEST_F(SmallFilesTest, PaymentsVersion3) {
    customer *ann = fc_cust("SMITH", "ANN", true);
    write_file("VNKPMNT.HIS", "$VERSION 3\n"
                              "$PAYMENTS\n"
                              "!Date\tCents\tCheck\tAccount\t\tNote\n"
                              "6-1-2005\t2500\t101\tSMITH,ANN\tdues\n"
                              "6-2-2005\t1000\t0\t#1021\t\n"
                              "6-3-2005\t300\t7\tdoe,john\tnew\n"
                              "6-4-2005\tx\tnone\tSMITH,ANN\n"
                              "$OTHER\n"
                              "6-5-2005\t1\t1\tSMITH,ANN\tlost\n");
    start_capture();
    readPaymentsFile("VNKPMNT.HIS");
    std::string out = end_capture();
    EXPECT_EQ(out, "Reading payments history file: \"VNKPMNT.HIS\"\n"
                   "? Customer DOE, JOHN does not exist, creating customer.\n"
                   "? Can not find payment amount on line 7:\n"
                   "\t? Can not find payment check number on line 7:\n"
                   "\t6-4-2005\tx\tnone\tSMITH,ANN"
                   "? Unrecognized line 8:\n\t$OTHER\n"
                   "? Unrecognized line 9:\n\t6-5-2005\t1\t1\tSMITH,ANN\tlost\n");
    EXPECT_EQ(payments_of(ann), (std::vector<PaymentView>{{"SMITH,ANN", 2500, 101, "dues"},
                                                          {"SMITH,ANN", 0, 0, ""}}));
    ASSERT_NE(fc_cust("CASH", "", false), nullptr);
    EXPECT_EQ(payments_of(fc_cust("CASH", "", false)),
              (std::vector<PaymentView>{{"CASH,", 1000, 0, ""}}));
    EXPECT_EQ(payments_of(fc_cust("DOE", "JOHN", false)),
              (std::vector<PaymentView>{{"DOE,JOHN", 300, 7, "new"}}));
    EXPECT_EQ(ann->payments->date, (int32_t)i_convertDateToTime("6-1-2005"));
    EXPECT_EQ(ann->payments->customer, ann);
}

TEST_F(SmallFilesTest, PaymentsVersion3WithoutPaymentsLineAndVersion1) {
    fc_cust("SMITH", "ANN", true);
    write_file("VNKPMNT.HIS", "$VERSION 3\n"
                              "6-1-2005\t2500\t101\tSMITH,ANN\tdues\n"
                              "6-2-2005\t2500\t101\tSMITH,ANN\tdues\n");
    start_capture();
    readPaymentsFile("VNKPMNT.HIS");
    EXPECT_EQ(end_capture(), "Reading payments history file: \"VNKPMNT.HIS\"\n"
                             "? Unrecognized line 2:\n\t6-1-2005\t2500\t101\tSMITH,ANN\tdues\n"
                             "? Unrecognized line 3:\n\t6-2-2005\t2500\t101\tSMITH,ANN\tdues\n");
    EXPECT_EQ(fc_cust("SMITH", "ANN", false)->payments, nullptr);

    // No "$" line at all: version 1, separate name columns, lines on at once.
    write_file("OLD.HIS", "6-1-2005\t2500\t101\tsmith\tann\tdues\n"
                          "6-1-2005\t10\t1\t\tann\tnone\n"
                          "6-1-2005\t20\t2\tNEW\t\tfirst\n"
                          "$VERSION\n"
                          "$VERSION 2\n");
    start_capture();
    readPaymentsFile("OLD.HIS");
    EXPECT_EQ(end_capture(), "Reading payments history file: \"OLD.HIS\"\n"
                             "? Bad format, missing last name on line: 2\n"
                             "    6-1-2005\t10\t1\t\tann\tnone\n"
                             "? Customer NEW,  does not exist, creating customer.\n"
                             "? Missing version number on line 4.\n"
                             "? Bad version number on line 5.\n");
    EXPECT_EQ(payments_of(fc_cust("SMITH", "ANN", false)),
              (std::vector<PaymentView>{{"SMITH,ANN", 2500, 101, "dues"}}));
    EXPECT_EQ(payments_of(fc_cust("NEW", "", false)),
              (std::vector<PaymentView>{{"NEW,", 20, 2, "first"}}));
}

TEST_F(SmallFilesTest, PaymentLoaderReadsCompanionFileOnlyForQuicken) {
    customer *ann = fc_cust("SMITH", "ANN", true);
    write_file("VNKPMNTQ.HIS", "$VERSION 3\n$PAYMENTS\n6-1-2005\t100\t1\tSMITH,ANN\texported\n");
    write_file("VNKPMNT.HIS", "$VERSION 3\n$PAYMENTS\n6-2-2005\t200\t2\tSMITH,ANN\tcurrent\n");
    std::vector<PaymentView> current{{"SMITH,ANN", 200, 2, "current"}};

    start_capture();
    do_r_payments(false);
    do_r_payments(false); // loaded already
    do_r_payments(true);
    EXPECT_EQ(end_capture(), "Reading payments history file: \"VNKPMNT.HIS\"\n"
                             "Reading payments history file: \"VNKPMNTQ.HIS\"\n"
                             "Reading payments history file: \"VNKPMNT.HIS\"\n");
    EXPECT_EQ(payments_of(ann),
              (std::vector<PaymentView>{{"SMITH,ANN", 100, 1, "exported"}, current[0]}));
    start_capture();
    do_r_payments(false);
    end_capture();
    EXPECT_EQ(payments_of(ann), current);
    EXPECT_TRUE(db.payments_read);
}

} // namespace
