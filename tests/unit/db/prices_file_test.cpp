#include <csignal>
#include <sys/resource.h>
#include <sys/wait.h>

#include "dbcore_fixture.h"

namespace {

class PricesFileTest : public DbCoreTest {
  protected:
    // Reads `text` as the prices file and returns what was printed.
    std::string read_prices(const std::string &text) {
        write_file("VNKPRICE.DAT", text);
        start_capture();
        do_r_price();
        return end_capture();
    }
};

TEST_F(PricesFileTest, ValueRule) {
    // The sign comes from the whole part alone, so -0.500 reads as +500.
    const std::pair<const char *, int32_t> good[] = {
        {"12.5", 12500}, {"0.03", 30}, {"-3.250", -3250}, {"7", 7000},        {"-0.500", 500},
        {".5", 500},     {"5.", 5000}, {"1.23456", 1234}, {"-12.007", -12007}};
    const char *const bad[] = {"1.2.3", "ABC", "1.X", "-.5", "1,5"};
    std::string file = "$PRICE\tX\t0\n";
    std::string expected = "Reading prices file: \"VNKPRICE.DAT\"\n";
    int line = 1;
    for (const auto &[value, cost] : good)
        file += "\tC" + std::to_string(++line) + "\t" + value + "\n";
    for (const char *value : bad) {
        std::string text = "\tC" + std::to_string(++line) + "\t" + value + "\n";
        file += text;
        expected += "? Bad format price on line: " + std::to_string(line) + "\n    " + text + "\n";
    }
    EXPECT_EQ(read_prices(file), expected);
    line = 1;
    for (const auto &[value, cost] : good)
        EXPECT_EQ(lookup_rate("X", ("C" + std::to_string(++line)).c_str(), false), cost) << value;
    EXPECT_EQ(lookup_rate("X", ("C" + std::to_string(++line)).c_str(), false), 0);
}

TEST_F(PricesFileTest, ReaderReportsEveryBadLine) {
    std::string out = read_prices("$VERSION 2\n"                                // 1
                                  "! heading comment\n"                         // 2
                                  "$PRICE\tASK21\t1\n"                          // 3
                                  "\tDEFAULT\t12.5\n"                           // 4
                                  "\tJunior\t7\n"                               // 5
                                  "\tDEFAULT\t12.050\n"                         // 6
                                  "$TUG\tpawnee\n"                              // 7
                                  "\tDEFAULT\t1.0\n"                            // 8
                                  "$PRICE GLIDER\n"                             // 9
                                  "$PRICE\tTOW\t0\n"                            // 10
                                  "  DEFAULT  abc\n"                            // 11
                                  "  DEFAULT\n"                                 // 12
                                  "$PRICE\tWINCH\t10\n"                         // 13
                                  "\n"                                          // 14
                                  "$GAS_GRADE\t100\n"                           // 15
                                  "\tDEFAULT\t2.5\n"                            // 16
                                  "$EMAIL_SUBJECT Monthly statement\n"          // 17
                                  "$EMAIL_SUBJECT\tYour Monthly  Statement\n"   // 18
                                  "$EMAIL_SERVER\tsmtp.example.org\n"           // 19
                                  "$ALWAYS_BILL_FLAG\tinstructor\n"             // 20
                                  "$ALWAYS_BILL_FLAG\tINSTRUCTOR\n"             // 21
                                  "$ALWAYS_BILL_FLAG\ttowpilot\n"               // 22
                                  "$PRINT_BILLS_FOR_CASH_CUSTOMERS\tmaybe\n"    // 23
                                  "$PRINT_BILLS_FOR_CASH_CUSTOMERS NO\n"        // 24
                                  "$FLAG1\tShareholder\n"                       // 25
                                  "$BOGUS\n"                                    // 26
                                  "$VERSION 3\n"                                // 27
                                  "  $PRICE  KEY9 9 ! not a price: a comment\n" // 28
                                  "  $PRICE  ROPE  9\n"                         // 29
                                  "    DEFAULT    -1.5 trailing\n");            // 30
    EXPECT_EQ(out, "Reading prices file: \"VNKPRICE.DAT\"\n"
                   "? Changing price. Old price: 12.500 New price: 12.50\n"
                   "    On line 6\n"
                   "? Illegal format line 8: \tDEFAULT\t1.0\n"
                   "? Illegal format line 9: $PRICE GLIDER\n"
                   "? Bad format price on line: 11\n      DEFAULT  ABC\n\n"
                   "? Bad format price on line: 12\n      DEFAULT\n\n"
                   "? Illegal format line 16: \tDEFAULT\t2.5\n"
                   "? Error VNKPRICE.DAT 17: incorrect format EMAIL_SUBJECT line\n"
                   "? There can only be one $ALWAYS_BILL_FLAG at a time\n"
                   "    second one found on line: 22\n"
                   "    $ALWAYS_BILL_FLAG\tTOWPILOT\n\n"
                   "?  $PRINT_BILLS_FOR_CASH_CUSTOMERS must have a value of YES or NO.\n"
                   "    MAYBE found on line: 23\n"
                   "    $PRINT_BILLS_FOR_CASH_CUSTOMERS\tMAYBE\n\n"
                   "? Illegal format line 26: $BOGUS\n"
                   "? Bad version number on line 27.\n");

    EXPECT_EQ(lookup_rate("ASK21", "DEFAULT", false), 12050);
    EXPECT_EQ(lookup_rate("ASK21", "JUNIOR", false), 7000);
    EXPECT_EQ(lookup_rate("ROPE", "DEFAULT", false), -1500);
    EXPECT_EQ(fc_item("WINCH")->fastkey, 10);
    EXPECT_EQ(fc_item("TOW")->fastkey, 0);
    EXPECT_EQ(db.price_index.count("KEY9"), 0u);
    EXPECT_STREQ(db.nnumbers[0], "ASK21");
    EXPECT_NE(db.nnumbers[0], fc_item("ASK21")->name); // an owned copy
    EXPECT_STREQ(db.nnumbers[8], "ROPE");
    for (int k = 1; k < 8; ++k)
        EXPECT_EQ(db.nnumbers[k], nullptr) << k;

    EXPECT_STREQ(db.tugList[0].tugname, "PAWNEE");
    EXPECT_EQ(names_of(db.gas_grades), (std::vector<std::string>{"100"}));
    EXPECT_STREQ(db.emailSubject, "Your Monthly  Statement");
    EXPECT_STREQ(db.emailServer, "SMTP.EXAMPLE.ORG");
    EXPECT_STREQ(db.always_bill_flag, "TOWPILOT");
    EXPECT_EQ(names_of(db.flag_names), (std::vector<std::string>{"INSTRUCTOR", "TOWPILOT"}));
    EXPECT_EQ(db.print_cash_bills, 0);
    EXPECT_STREQ(db.sharetext, "SHAREHOLDER");
    EXPECT_STREQ(db.boardtext, "FLAG2");
    EXPECT_EQ(db.price_changed, 0);
}

TEST_F(PricesFileTest, VersionOneGainsGradesAndIsRewritten) {
    std::string out = read_prices("$VERSION 1\n$GAS_GRADE\tAVGAS\n$GAS_GRADE 80\n");
    EXPECT_EQ(out, "Reading prices file: \"VNKPRICE.DAT\"\n");
    EXPECT_EQ(names_of(db.gas_grades), (std::vector<std::string>{"100", "80", "JETA", "AVGAS"}));
    EXPECT_EQ(db.price_changed, 1);
}

TEST_F(PricesFileTest, RereadClearsAlwaysBillFlagAndMissingFileKeepsLists) {
    read_prices("$ALWAYS_BILL_FLAG\tBOARD\n$PRICE\tASK21\t0\n\tDEFAULT\t1\n");
    ASSERT_STREQ(db.always_bill_flag, "BOARD");
    // The old flag must not count as "already set" on the next read.
    std::string out = read_prices("$ALWAYS_BILL_FLAG\tTOW\n");
    EXPECT_EQ(out, "Reading prices file: \"VNKPRICE.DAT\"\n");
    EXPECT_STREQ(db.always_bill_flag, "TOW");

    replace_str(&db.pricefile, "NOSUCH.DAT");
    start_capture();
    do_r_price();
    EXPECT_EQ(end_capture(), "? Unable to read prices file \"NOSUCH.DAT\"\n");
    EXPECT_EQ(lookup_rate("ASK21", nullptr, false), 1000);
}

TEST_F(PricesFileTest, WriterLayout) {
    price *ask = fc_item("ASK21");
    ask->fastkey = 1;
    set_price(ask, "DEFAULT", 12500, 0);
    set_price(ask, "JUNIOR", 7000, 0);
    set_price(fc_item("ROPE"), "DEFAULT", -1500, 0);
    set_price(fc_item("ZERO"), "DEFAULT", -500, 0);
    fc_gas_grade("100", true);
    fc_gas_grade("JETA", true);
    db.emailSender = alloc_str("CLUB@EXAMPLE.ORG");
    db.emailSendOnly = alloc_str("  \t");
    db.emailSubject = alloc_str("Your bill");
    db.always_bill_flag = fc_namelist_entry(&db.flag_names, "INSTRUCTOR", true, true)->name;
    db.print_cash_bills = 0;
    fc_tug("PAWNEE", true);
    fc_tug("HUSKY", true);
    db.price_changed = 1;

    start_capture();
    EXPECT_TRUE(do_w_prices());
    EXPECT_EQ(end_capture(), "Prices file \"VNKPRICE.DAT\" written\n");
    EXPECT_EQ(db.price_changed, 0);
    const std::string written = "$VERSION 2\n\n"
                                "$PRICE\tASK21\t1\n"
                                "\tJUNIOR\t7.000\n"
                                "\tDEFAULT\t12.500\n"
                                "\n"
                                "$PRICE\tROPE\t0\n"
                                "\tDEFAULT\t-1.500\n"
                                "\n"
                                "$PRICE\tZERO\t0\n"
                                "\tDEFAULT\t-0.500\n"
                                "\n"
                                "$GAS_GRADE\t100\n"
                                "$GAS_GRADE\tJETA\n"
                                "$EMAIL_SENDER\tCLUB@EXAMPLE.ORG\n"
                                "$EMAIL_SUBJECT\tYour bill\n"
                                "$ALWAYS_BILL_FLAG\tINSTRUCTOR\n"
                                "$PRINT_BILLS_FOR_CASH_CUSTOMERS\tNO\n"
                                "$FLAG1\tFLAG1\n"
                                "$FLAG2\tFLAG2\n"
                                "$TUG\tPAWNEE\n"
                                "$TUG\tHUSKY\n";
    EXPECT_EQ(read_file("VNKPRICE.DAT"), written);

    start_capture();
    EXPECT_TRUE(do_w_prices());
    EXPECT_EQ(end_capture(), "Prices are up to date.\n");

    // One read-and-write cycle reverses the cost lines and loses the sign
    // of -0.500.
    free_mprices();
    read_prices(written);
    db.price_changed = 1;
    start_capture();
    EXPECT_TRUE(do_w_prices());
    end_capture();
    std::string again = read_file("VNKPRICE.DAT");
    EXPECT_NE(again.find("$PRICE\tASK21\t1\n\tDEFAULT\t12.500\n\tJUNIOR\t7.000\n\n"),
              std::string::npos)
        << again;
    EXPECT_NE(again.find("\tDEFAULT\t-1.500\n"), std::string::npos);
    EXPECT_NE(again.find("$PRICE\tZERO\t0\n\tDEFAULT\t0.500\n"), std::string::npos);
    EXPECT_NE(again.find("$PRINT_BILLS_FOR_CASH_CUSTOMERS\tNO\n"), std::string::npos);
    EXPECT_NE(again.find("$EMAIL_SUBJECT\tYour bill\n"), std::string::npos);
}

TEST_F(PricesFileTest, OpenFailureKeepsChangedFlag) {
    replace_str(&db.pricefile, "nodir/VNKPRICE.DAT");
    db.price_changed = 1;
    start_capture();
    EXPECT_FALSE(do_w_prices());
    EXPECT_EQ(end_capture(), "? Unable to open prices file \"nodir/VNKPRICE.DAT\"\n");
    EXPECT_EQ(db.price_changed, 1);
}

TEST_F(PricesFileTest, FailedWriteLeavesOldFileIntact) {
    const std::string old = "$VERSION 2\n\n$PRICE\tOLD\t0\n\tDEFAULT\t1.000\n\n";
    write_file("VNKPRICE.DAT", old);
    for (int i = 0; i < 200; ++i)
        set_price(fc_item(("ITEM" + std::to_string(i)).c_str()), "DEFAULT", i, 0);
    db.price_changed = 1;

    fflush(stdout);
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // The file size limit makes the writes fail part way, as a full disk would.
        signal(SIGXFSZ, SIG_IGN);
        struct rlimit limit = {64, 64};
        setrlimit(RLIMIT_FSIZE, &limit);
        if (!freopen("out.txt", "w", stdout))
            _exit(3);
        bool ok = do_w_prices();
        fflush(stdout);
        _exit(!ok && db.price_changed == 1 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(read_file("out.txt"), "? Unable to close prices file \"VNKPRICE.DAT\"\n");
    EXPECT_EQ(read_file("VNKPRICE.DAT"), old);
    int entries = 0; // no temporary left beside it
    for (const auto &entry : std::filesystem::directory_iterator("."))
        entries += entry.is_regular_file();
    EXPECT_EQ(entries, 2);
}

} // namespace
