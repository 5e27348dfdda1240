// Closing a period killed at any file step, or on a full disk, keeps every record in the data
// files, their ".OLD" copies or periods/; no file is half written.
#include <filesystem>
#include <map>
#include <string>

#include "billing/billing.h"
#include "db/db_fixture.h"
#include "testutil.h"

namespace fs = std::filesystem;

namespace {

const std::map<std::string, std::string> kPeriod = {
    {"VNKPRICE.DAT", "$VERSION 2\n$PRICE\tASK21\t1\n\tDEFAULT\t40.000\n$TUG\tPAWNEE\n"},
    {"VNKCUST.DAT",
     "$VERSION 6\nADAMS\tJOE\nCREDIT\tDEFAULT\n\n\n\n\nBAKER\tANN\nCREDIT\tDEFAULT\n\n\n\n"},
    {"VNKBAL.DAT", "$VERSION 1\nADAMS\tJOE\t1500\nBAKER\tANN\t-250\n"},
    {"VNKFLGHT.HIS",
     "$VERSION 2\n6-1-2005\t1\tADAMS,JOE\tASK21\tADAMS\tO\t\t\tTB\tPAWNEE\t2.0\t10:00\t11:00\n"},
    {"VNKFLGQU.HIS",
     "$VERSION 2\n5-1-2005\t1\tBAKER,ANN\tASK21\tBAKER\tO\t\t\tTB\tPAWNEE\t2.0\t10:00\t11:00\n"},
    {"VNKGAS.HIS", "$VERSION 2\n$MISC\n6-1-2005\t1\t1\tADAMS,JOE\tN\t4500\tDues\n"},
    {"VNKGASQU.HIS", "$VERSION 2\n$MISC\n5-1-2005\t1\t1\tBAKER,ANN\tN\t4500\tDues\n"},
    {"VNKPMNT.HIS", "$VERSION 3\n$PAYMENTS\n6-2-2005\t1000\t12\tADAMS,JOE\ton account\n"},
    {"VNKPMNTQ.HIS", "$VERSION 3\n$PAYMENTS\n5-2-2005\t2000\t13\tBAKER,ANN\tdues\n"},
};

class EndMonthSafety : public DbTest {
  protected:
    static void lay_out_period() {
        for (const auto &entry : fs::directory_iterator("."))
            fs::remove_all(entry.path());
        for (const auto &[name, text] : kPeriod)
            write_file(name, text);
    }

    // TIMES said to be done, every bill question left at its default.
    static void end_month() {
        fresh_start();
        feed_input("\nYES\nYES\n" + std::string(40, '\n'));
        do_emonth();
    }
};

TEST_F(EndMonthSafety, AKillOrAFailureAtAnyFileStepEndsAsBeforeOrAsAWholeClosing) {
    lay_out_period();
    for (const auto &[name, text] : kPeriod)
        fs::permissions(name, fs::perms::owner_read | fs::perms::owner_write);
    const auto before = club_files();
    end_month();
    long steps = file_steps_taken();
    const auto closed = club_files();
    EXPECT_EQ(read_file("VNKFLGHT.HIS"), "!Start of billing cycle\n");
    const std::string copy = fs::directory_iterator("periods")->path().string() + "/";
    for (const auto &[name, text] : kPeriod) {
        if (name == "VNKCUST.DAT" || name == "VNKPRICE.DAT")
            continue;
        EXPECT_EQ(closed.at(name.substr(0, name.find('.')) + ".OLD"), text);
        EXPECT_EQ(closed.at(copy + name), text);
        // A club that keeps its files private keeps the new ones private.
        for (const std::string &made : {name, copy + name})
            EXPECT_EQ(fs::status(made).permissions() & fs::perms::all,
                      fs::perms::owner_read | fs::perms::owner_write)
                << made;
    }
    ASSERT_GT(steps, 30);

    int finished_at_start = 0;
    sweep_file_steps(
        steps, lay_out_period, end_month,
        [&] {
            fresh_start(); // the next start, before it reads anything
            finished_at_start += has(output_of(finish_pending_rewrite), "Finished the interrupted");
        },
        [&](FileFault) {
            // Every record once, live or in the period copy and ".OLD" files of a whole closing.
            std::map<std::string, std::string> now = club_files();
            EXPECT_TRUE(now == closed || now == before);
        });
    EXPECT_GT(finished_at_start, 0);
}

// A full disk, or customers that cannot be read (the period would be billed to CASH), stop the
// closing before any file changes.
TEST_F(EndMonthSafety, AFullDiskOrUnreadableCustomersStopBeforeAnyFileChanges) {
    lay_out_period();
    const auto before = club_files();
    int code = 0;
    std::string said = run_on_full_disk([] { return end_month(), true; }, code);
    EXPECT_TRUE(has(said, "? Unable to copy \"VNKBAL.DAT\" into \"periods/") &&
                has(said, "the billing period was not ended."))
        << said;
    EXPECT_FALSE(has(said, "Renaming")) << said;
    EXPECT_EQ(club_files(), before);
    // No folder that looks like a kept period but is not one.
    EXPECT_TRUE(fs::is_empty("periods"));

    fs::remove("VNKCUST.DAT");
    fs::create_directory("VNKCUST.DAT");
    const auto unread = club_files();
    said = output_of(end_month);
    EXPECT_TRUE(has(said, "? \"VNKCUST.DAT\" could not be read; the billing period was not ended."))
        << said;
    EXPECT_FALSE(has(said, "Renaming")) << said;
    EXPECT_EQ(club_files(), unread);
}

} // namespace
