// Closing a period must never lose one: stopped by a kill at every file
// step in turn, or by a full disk, every record of the period is still in
// the data files, their ".OLD" copies or periods/, and no file is half
// written.
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
const std::map<std::string, std::string> kOld = {
    {"VNKBAL.DAT", "VNKBAL.OLD"},     {"VNKFLGHT.HIS", "VNKFLGHT.OLD"},
    {"VNKFLGQU.HIS", "VNKFLGQU.OLD"}, {"VNKGAS.HIS", "VNKGAS.OLD"},
    {"VNKGASQU.HIS", "VNKGASQU.OLD"}, {"VNKPMNT.HIS", "VNKPMNT.OLD"},
    {"VNKPMNTQ.HIS", "VNKPMNTQ.OLD"},
};
const char kFresh[] = "!Start of billing cycle\n";

class EndMonthSafety : public DbTest {
  protected:
    void lay_out_period() {
        for (const auto &entry : fs::directory_iterator("."))
            fs::remove_all(entry.path());
        for (const auto &[name, text] : kPeriod)
            write_file(name, text);
    }

    // END-MONTH answered through, TIMES said to be done, every bill
    // question left at its default.
    static void end_month() {
        db_reset();
        db_init();
        feed_input("\nYES\nYES\n" + std::string(40, '\n'));
        do_emonth();
    }

    // Every place a file of the period may be found after a stop.
    static std::vector<std::string> copies_of(const std::string &name) {
        std::vector<std::string> found;
        for (const std::string &place : {name, kOld.at(name)})
            if (fs::exists(place))
                found.push_back(read_file(place));
        if (fs::exists("periods"))
            for (const auto &folder : fs::directory_iterator("periods"))
                if (fs::exists(folder.path() / name))
                    found.push_back(read_file(folder.path() / name));
        return found;
    }
};

TEST_F(EndMonthSafety, AKillAtAnyFileStepLosesNothing) {
    lay_out_period();
    ASSERT_EQ(exit_status_of([] { end_month(); }), 0);
    const std::string new_balances = read_file("VNKBAL.DAT");
    ASSERT_EQ(read_file("VNKFLGHT.HIS"), kFresh);
    ASSERT_EQ(read_file("VNKFLGHT.OLD"), kPeriod.at("VNKFLGHT.HIS"));

    int stops = 0;
    for (long step = 1; step < 500; step++) {
        lay_out_period();
        int status = exit_status_of([step] {
            file_fault_at(step, FileFault::EXIT);
            end_month();
        });
        if (status == 0)
            break;
        ASSERT_EQ(status, kFileFaultExitStatus) << "step " << step;
        stops++;
        for (const auto &[name, old_name] : kOld) {
            std::vector<std::string> found = copies_of(name);
            bool kept = false;
            for (const std::string &text : found)
                kept = kept || text == kPeriod.at(name);
            EXPECT_TRUE(kept) << name << " lost when stopped at step " << step;
            if (fs::exists(name) && name != "VNKBAL.DAT") {
                EXPECT_TRUE(read_file(name) == kPeriod.at(name) || read_file(name) == kFresh)
                    << name << " half written at step " << step;
            }
        }
        if (fs::exists("VNKBAL.DAT")) {
            std::string now = read_file("VNKBAL.DAT");
            EXPECT_TRUE(now == kPeriod.at("VNKBAL.DAT") || now == new_balances) << "step " << step;
        } else {
            EXPECT_EQ(read_file("VNKBAL.OLD"), kPeriod.at("VNKBAL.DAT")) << "step " << step;
        }
    }
    // Copies, renames, the balances and each fresh history file: each was
    // a place to stop.
    EXPECT_GT(stops, 20);
}

TEST_F(EndMonthSafety, AFullDiskStopsBeforeAnyFileChanges) {
    lay_out_period();
    int code = 0;
    std::string said = run_on_full_disk(
        [] {
            end_month();
            return true;
        },
        code);
    EXPECT_TRUE(has(said, "? Unable to copy \"VNKBAL.DAT\" into \"periods/")) << said;
    EXPECT_TRUE(has(said, "the billing period was not ended.")) << said;
    EXPECT_FALSE(has(said, "Renaming")) << said;
    for (const auto &[name, text] : kPeriod)
        EXPECT_EQ(read_file(name), text) << name;
    for (const auto &[name, old_name] : kOld)
        EXPECT_FALSE(fs::exists(old_name)) << old_name;
    // No folder that looks like a kept period but is not one.
    EXPECT_TRUE(fs::is_empty("periods"));
}

// New balances computed without the customers would bill the period to
// CASH and roll the members' balances forward without their charges.
TEST_F(EndMonthSafety, ACustomerFileThatCannotBeReadStopsTheClosing) {
    lay_out_period();
    fs::remove("VNKCUST.DAT");
    fs::create_directory("VNKCUST.DAT");
    std::string said = output_of([] { end_month(); });
    EXPECT_TRUE(has(said, "? \"VNKCUST.DAT\" could not be read; the billing period was not ended."))
        << said;
    EXPECT_FALSE(has(said, "Renaming")) << said;
    for (const auto &[name, text] : kPeriod) {
        if (name != "VNKCUST.DAT") {
            EXPECT_EQ(read_file(name), text) << name;
        }
    }
    for (const auto &[name, old_name] : kOld)
        EXPECT_FALSE(fs::exists(old_name)) << old_name;
}

} // namespace
