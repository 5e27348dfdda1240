// Rewriting the history files (DBOUT) and saving the master files, both when
// the disk takes everything and when it refuses to.
#include <csignal>
#include <filesystem>
#include <map>
#include <string>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "billing/billing.h"
#include "customers_fixture.h"

namespace {

const char *const kCustomers = "$VERSION 6\n"
                               "LEE\tAL\n"
                               "CREDIT\tDEFAULT\n"
                               "-No Phones\n"
                               "-No Info\n"
                               "-No #\n"
                               "-No spouse name\n"
                               "-No Flags\n"
                               "-No eMail\n"
                               "1 Main St\n"
                               "\n"
                               "SMITH\tJOHN\n"
                               "CREDIT\tFULL\n"
                               "555-1212\t\n"
                               "-No Info\n"
                               "-No #\n"
                               "-No spouse name\n"
                               "-No Flags\n"
                               "john@example.com\n"
                               "2 Main St\n"
                               "\n";

const char *const kFlightsQu =
    "$VERSION 2\n"
    "6-1-2005\t1\tSMITH,JOHN\tN123\tJOHN\tI\tBOB\t\tTP\tPAWNEE\t2.5\t9:30\t10:05\n";
const char *const kFlights =
    "$VERSION 2\n"
    "!Date\t\tNumber\tAccount\n"
    "6-2-2005\t1\tLEE,AL\tN9\tAL\tC\t\tRIDER\tTP\tPAWNEE\t2\t11:00\t11:20\n"
    "6-2-2005\t2\t#77\tN9\tAL\tO\t\t\tTP\t\t3\t12:00\t12:30\n"
    "6-3-2005\t1\tSMITH,JOHN\tN123\tJOHN\tR\tBOB\t\tTP\tPAWNEE\t.5\t9:00\t9:05\n";
const char *const kGasQu = "$VERSION 2\n$MISC\n6-1-2005\t1\t1\tSMITH,JOHN\tY\t1500\tTie-down\n";
const char *const kGas = "$VERSION 2\n"
                         "$MISC\n"
                         "6-2-2005\t1\t2\tLEE AL\tN\t-250\tCredit for help\n"
                         "$GAS\n"
                         "6-3-2005\t2\t1\tSMITH,JOHN\t3075\t100\t12.3\tN123\tJOHN\n"
                         "6-3-2005\t2\t2\t#12\t500\tAVGAS\t2\tN9\t\n";
const char *const kPaymentsQu = "$VERSION 3\n$PAYMENTS\n6-1-2005\t1000\t55\tLEE,AL\tdues\n";
const char *const kPayments = "$VERSION 3\n"
                              "$PAYMENTS\n"
                              "!Date\tCents\tCheck\tAccount\t\tNote\n"
                              "6-4-2005\t2500\t101\tSMITH,JOHN\ttows\n";

class WriteBackTest : public CustomerDbTest {
  protected:
    void SetUp() override {
        CustomerDbTest::SetUp();
        name_files();
        write_file("VNKPRICE.DAT", "$VERSION 2\n\n$PRICE\tHOOKUP\t0\n\tDEFAULT\t10.000\n\n"
                                   "$GAS_GRADE\t100\n$TUG\tPAWNEE\n");
        write_file("VNKABBRV.DAT", "$VERSION 1\nJS\tSMITH JOHN\n");
        write_file("VNKCUST.DAT", kCustomers);
        write_file("VNKBAL.DAT", "$VERSION 1\nLEE\tAL\t-1200\n");
        write_file("VNKFLGQU.HIS", kFlightsQu);
        write_file("VNKFLGHT.HIS", kFlights);
        write_file("VNKGASQU.HIS", kGasQu);
        write_file("VNKGAS.HIS", kGas);
        write_file("VNKPMNTQ.HIS", kPaymentsQu);
        write_file("VNKPMNT.HIS", kPayments);
    }

    static void name_files() {
        replace_str(&db.abbrevfile, "VNKABBRV.DAT");
        replace_str(&db.customerfile, "VNKCUST.DAT");
        replace_str(&db.balancesfile, "VNKBAL.DAT");
        replace_str(&db.payhistfile, "VNKPMNT.HIS");
        replace_str(&db.payhistqufile, "VNKPMNTQ.HIS");
        replace_str(&db.pricefile, "VNKPRICE.DAT");
        replace_str(&db.daysheetfile, "VNKFLGHT.HIS");
        replace_str(&db.daysheetqufile, "VNKFLGQU.HIS");
        replace_str(&db.daytempfile, "VNKFLGHT.TMP");
        replace_str(&db.gashistfile, "VNKGAS.HIS");
        replace_str(&db.gashistqufile, "VNKGASQU.HIS");
        replace_str(&db.gastempfile, "VNKGAS.TMP");
        replace_str(&db.paytempfile, "VNKPMNT.TMP");
    }

    // Every file of the directory with its contents.
    static std::map<std::string, std::string> snapshot() {
        std::map<std::string, std::string> files;
        for (const auto &entry : std::filesystem::directory_iterator("."))
            files[entry.path().filename().string()] = read_file(entry.path().string());
        return files;
    }

    // Runs `work` in a child whose files may not grow past `limit` bytes;
    // returns what it printed. The child exits with `work`'s result.
    template <typename Work>
    static std::string run_with_file_limit(rlim_t limit, Work work, int &status) {
        int pipe_fds[2];
        EXPECT_EQ(pipe(pipe_fds), 0);
        fflush(stdout);
        pid_t pid = fork();
        if (pid == 0) {
            close(pipe_fds[0]);
            dup2(pipe_fds[1], STDOUT_FILENO);
            signal(SIGXFSZ, SIG_IGN);
            struct rlimit rl = {limit, limit};
            setrlimit(RLIMIT_FSIZE, &rl);
            int code = work() ? 0 : 1;
            fflush(stdout);
            _exit(code);
        }
        close(pipe_fds[1]);
        std::string output;
        char buffer[4096];
        ssize_t n;
        while ((n = read(pipe_fds[0], buffer, sizeof buffer)) > 0)
            output.append(buffer, (size_t)n);
        close(pipe_fds[0]);
        waitpid(pid, &status, 0);
        return output;
    }
};

const char *const kReading = "Reading prices file: \"VNKPRICE.DAT\"\n"
                             "Reading abbreviations file: \"VNKABBRV.DAT\"\n"
                             "Reading customer file: \"VNKCUST.DAT\"\n"
                             "Reading account balances file: \"VNKBAL.DAT\"\n"
                             "Reading day sheet file: \"VNKFLGQU.HIS\"\n"
                             "Reading day sheet file: \"VNKFLGHT.HIS\"\n"
                             "Reading gas history file: \"VNKGASQU.HIS\"\n"
                             "Reading gas history file: \"VNKGAS.HIS\"\n"
                             "Reading payments history file: \"VNKPMNTQ.HIS\"\n"
                             "Reading payments history file: \"VNKPMNT.HIS\"\n"
                             "If you write these changes and you have created output to QUICKEN "
                             "this month\n"
                             "the QUICKEN output will incorrectly be created again.\n"
                             "Are you sure you wish to write these changes [NO]: ";

TEST_F(WriteBackTest, MergesCompanionsIntoMainFilesAndKeepsCopies) {
    feed_input("YES\n");
    start_capture();
    do_write_database();
    std::string out = end_capture();
    EXPECT_EQ(out, std::string(kReading) + "\tThe old copy of VNKGAS.HIS is in VNKGAS.BAK\n"
                                           "\tThe old copy of VNKGASQU.HIS is in VNKGAS.BAK\n"
                                           "\tThe old copy of VNKPMNT.HIS is in VNKPMNT.BAK\n"
                                           "\tThe old copy of VNKPMNTQ.HIS is in VNKPMNTQ.BAK\n"
                                           "\tThe old copy of VNKFLGHT.HIS is in VNKFLGHT.BAK\n"
                                           "\tThe old copy of VNKFLGQU.HIS is in VNKFLGQU.BAK\n");

    const std::string gas = "$VERSION 2\n"
                            "$MISC\n"
                            "!Date\t\tSheet\tLine\tAccount\t\tTax\tCents\tCharge (credit) is for\n"
                            "6-2-2005\t1\t2\tLEE,AL\tN\t-250\tCredit for help\n"
                            "6-1-2005\t1\t1\tSMITH,JOHN\tY\t1500\tTie-down\n"
                            "$GAS\n"
                            "!Date\t\tSheet\tLine\tAccount\t\tCents\tGrade\tGallons\tPlane\tPilot\n"
                            "6-3-2005\t2\t2\t#12\t500\tGAS100\t2.0\tN9\t\n"
                            "6-3-2005\t2\t1\tSMITH,JOHN\t3075\t100\t12.3\tN123\tJOHN\n";
    const std::string payments = "$VERSION 3\n"
                                 "$PAYMENTS\n"
                                 "!Date\tCents\tCheck\tAccount\t\tNote\n"
                                 "6-1-2005\t1000\t55\tLEE,AL\tdues\n"
                                 "6-4-2005\t2500\t101\tSMITH,JOHN\ttows\n";
    const std::string flights =
        "$VERSION 2\n"
        "!Date\t\tNumber\tAccount\t\t\tPlane\tPilot\tType\tCFI\tPass\n"
        "6-2-2005\t2\t#77\tN9\tAL\tO\t\t\tTP\t\t3.0\t12:00\t12:30\t\n"
        "6-2-2005\t1\tLEE,AL\tN9\tAL\tC\t\tRIDER\tTP\tPAWNEE\t2.0\t11:00\t11:20\t\n"
        "6-1-2005\t1\tSMITH,JOHN\tN123\tJOHN\tI\tBOB\t\tTP\tPAWNEE\t2.5\t9:30\t10:05\t\n"
        "6-3-2005\t1\tSMITH,JOHN\tN123\tJOHN\tR\tBOB\t\tTP\tPAWNEE\t0.5\t9:00\t9:05\t\n";
    const std::string empty = "!Start of billing cycle\n";
    std::map<std::string, std::string> expected = {
        {"VNKPRICE.DAT", read_file("VNKPRICE.DAT")},
        {"VNKABBRV.DAT", read_file("VNKABBRV.DAT")},
        {"VNKCUST.DAT", kCustomers},
        {"VNKBAL.DAT", read_file("VNKBAL.DAT")},
        {"VNKGAS.HIS", gas},
        {"VNKGAS.BAK", kGas},
        {"VNKGASQU.HIS", empty},
        {"VNKGASQU.BAK", kGasQu},
        {"VNKPMNT.HIS", payments},
        {"VNKPMNT.BAK", kPayments},
        {"VNKPMNTQ.HIS", empty},
        {"VNKPMNTQ.BAK", kPaymentsQu},
        {"VNKFLGHT.HIS", flights},
        {"VNKFLGHT.BAK", kFlights},
        {"VNKFLGQU.HIS", empty},
        {"VNKFLGQU.OLD", kFlightsQu},
    };
    EXPECT_EQ(snapshot(), expected);

    // What was written reads back to the same records.
    db_reset();
    name_files();
    write_file("VNKGAS.HIS", gas);
    write_file("VNKPMNT.HIS", payments);
    write_file("VNKFLGHT.HIS", flights);
    feed_input("YES\n");
    start_capture();
    do_write_database();
    end_capture();
    EXPECT_EQ(read_file("VNKGAS.HIS"), gas);
    EXPECT_EQ(read_file("VNKPMNT.HIS"), payments);
    EXPECT_EQ(read_file("VNKFLGHT.HIS"), flights);
}

TEST_F(WriteBackTest, AnsweringNoTouchesNothing) {
    auto before = snapshot();
    feed_input("\n");
    start_capture();
    do_write_database();
    EXPECT_EQ(end_capture(), kReading);
    EXPECT_EQ(snapshot(), before);
}

TEST_F(WriteBackTest, MissingHistoryFilesAreCreatedWithoutCopyMessages) {
    std::filesystem::remove("VNKGAS.HIS");
    std::filesystem::remove("VNKGASQU.HIS");
    feed_input("YES\n");
    start_capture();
    do_write_database();
    std::string out = end_capture();
    EXPECT_NE(out.find("? Unable to read gas history file \"VNKGASQU.HIS\"\n"), std::string::npos);
    EXPECT_EQ(out.find("VNKGAS.HIS is in"), std::string::npos);
    EXPECT_NE(out.find("\tThe old copy of VNKGASQU.HIS is in VNKGAS.BAK\n"), std::string::npos);
    EXPECT_EQ(
        read_file("VNKGAS.HIS"),
        "$VERSION 2\n$MISC\n!Date\t\tSheet\tLine\tAccount\t\tTax\tCents\tCharge (credit) "
        "is for\n$GAS\n!Date\t\tSheet\tLine\tAccount\t\tCents\tGrade\tGallons\tPlane\tPilot\n");
    EXPECT_FALSE(file_exists("VNKGAS.BAK"));
    EXPECT_EQ(read_file("VNKGASQU.HIS"), "!Start of billing cycle\n");
}

// A full disk while the history files are rewritten: nothing is replaced,
// no companion is emptied, no temporary file is left behind.
TEST_F(WriteBackTest, FullDiskLeavesEveryHistoryFileAlone) {
    auto before = snapshot();
    feed_input("YES\n");
    int status = 0;
    std::string out = run_with_file_limit(
        16,
        [] {
            do_write_database();
            return true;
        },
        status);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_NE(out.find("? Unable to close gas and misc charges file \"VNKGAS.TMP\"\n"),
              std::string::npos)
        << out;
    EXPECT_NE(out.find("? Unable to close payments file \"VNKPMNT.TMP\"\n"), std::string::npos);
    EXPECT_NE(out.find("? Unable to close day sheet file \"VNKFLGHT.TMP\"\n"), std::string::npos);
    EXPECT_EQ(out.find("The old copy"), std::string::npos);
    EXPECT_EQ(snapshot(), before);
}

// A temporary file that cannot be created skips its history file and its
// companion; the others are still rewritten.
TEST_F(WriteBackTest, UnopenableTemporaryFileSkipsThatHistory) {
    replace_str(&db.gastempfile, "no/such/dir/VNKGAS.TMP");
    feed_input("YES\n");
    start_capture();
    do_write_database();
    std::string out = end_capture();
    EXPECT_NE(out.find("? Unable to open gas and misc charges file \"no/such/dir/VNKGAS.TMP\"\n"),
              std::string::npos)
        << out;
    EXPECT_EQ(out.find("is in VNKGAS.BAK"), std::string::npos) << out;
    EXPECT_NE(out.find("is in VNKPMNT.BAK"), std::string::npos) << out;
    EXPECT_EQ(read_file("VNKGAS.HIS"), kGas);
    EXPECT_EQ(read_file("VNKGASQU.HIS"), kGasQu);
    EXPECT_FALSE(file_exists("VNKGAS.BAK"));
    EXPECT_EQ(read_file("VNKPMNTQ.HIS"), "!Start of billing cycle\n");
    EXPECT_EQ(read_file("VNKFLGQU.HIS"), "!Start of billing cycle\n");
}

// A fresh period file that cannot be written completely leaves the old one.
TEST_F(WriteBackTest, FullDiskKeepsOldFileInsteadOfEmptyOne) {
    int status = 0;
    std::string out = run_with_file_limit(
        16, [] { return create_empty_file("VNKGASQU.HIS") != 0; }, status);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0) << out;
    EXPECT_NE(out.find("? Unable to close empty file file \"VNKGASQU.HIS\"\n"), std::string::npos)
        << out;
    EXPECT_EQ(read_file("VNKGASQU.HIS"), kGasQu);
    EXPECT_EQ(snapshot().size(), 10u); // no temporary file left behind
}

// The four master files under a full disk: each writer reports, the old
// file survives byte for byte and the change flag stays set.
TEST_F(WriteBackTest, FullDiskSaveKeepsOldMasterFiles) {
    start_capture();
    maybe_read();
    bool price_set = set_price(fc_item("HOOKUP"), "DEFAULT", 12500, 0);
    end_capture();
    ASSERT_TRUE(price_set);
    db.price_changed = 1;
    ASSERT_NE(fc_abbrev("AL", "LEE", "AL", true), nullptr);
    db.abbrev_changed = 1;
    customer *lee = fc_cust("LEE", "AL", false);
    ASSERT_NE(lee, nullptr);
    replace_str(&lee->info, "moved to Ohio");
    db.cust_changed = 1;
    lee->balance = 300;
    db.balances_changed = 1;

    auto before = snapshot();
    int status = 0;
    std::string out = run_with_file_limit(
        16,
        [] {
            do_save();
            return db.abbrev_changed && db.cust_changed && db.price_changed && db.balances_changed;
        },
        status);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0) << "a change flag was cleared:\n" << out;
    EXPECT_EQ(out, "? Unable to close abbreviations file \"VNKABBRV.DAT\"\n"
                   "? Unable to close customer file \"VNKCUST.DAT\"\n"
                   "? Unable to close prices file \"VNKPRICE.DAT\"\n"
                   "? Unable to close balances file \"VNKBAL.DAT\"\n");
    EXPECT_EQ(snapshot(), before);

    // The same save with room on the disk does replace all four.
    start_capture();
    do_save();
    end_capture();
    auto after = snapshot();
    for (const char *name : {"VNKABBRV.DAT", "VNKCUST.DAT", "VNKPRICE.DAT", "VNKBAL.DAT"})
        EXPECT_NE(after[name], before[name]) << name;
}

} // namespace
