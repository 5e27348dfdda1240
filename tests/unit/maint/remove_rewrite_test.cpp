// Removing a flight rewrites the history files at once: a failed step or a crash leaves each one
// old or new, never a fragment. A removal refuses to start from a file that could not be read.
#include <filesystem>
#include <map>
#include <string>

#include "db/db_fixture.h"
#include "maint/remove.h"

namespace {

const char *const kHistories[] = {"VNKFLGHT.HIS", "VNKFLGQU.HIS", "VNKGAS.HIS",
                                  "VNKGASQU.HIS", "VNKPMNT.HIS",  "VNKPMNTQ.HIS"};

// Removes Smith's first flight and writes the files back.
const char kRemoveInput[] = "YES\nSMITH\n1\n~\nYES\n";

// The file step at which the new day sheet history is renamed into place.
long flights_rename_step = 0;

void note_flights_rename(FileStep step, const char *name) {
    if (step == FileStep::RENAME && std::string(name) == "VNKFLGHT.TMP")
        flights_rename_step = file_steps_taken() + 1;
}

class RemoveRewriteTest : public DbTest {
  protected:
    // Histories as a rewrite writes them: every file but the day sheet history must stay as is.
    static void lay_out_club() {
        lay_out_two_member_period("SMITH,JOHN\tN9\tJ");
        output_of([] {
            fresh_start();
            feed_input("YES\n");
            do_write_database();
        });
        for (const auto &e : std::filesystem::directory_iterator(".")) {
            std::string ext = e.path().extension().string();
            if (ext == ".BAK" || ext == ".OLD")
                std::filesystem::remove(e.path());
        }
    }

    static std::map<std::string, std::string> histories() {
        std::map<std::string, std::string> files;
        for (const char *name : kHistories)
            files[name] = read_file(name);
        return files;
    }

    static void remove_first_flight() {
        fresh_start();
        feed_input(kRemoveInput);
        rmv_flights();
    }

    // Every record as the next start loads it, companions included.
    static std::string flights_after_restart() {
        std::string load;
        std::string text = records_after_restart(load);
        return has(load, "? ") ? text + "load said: " + load : text;
    }
};

TEST_F(RemoveRewriteTest, EveryFailedOrKilledStepLeavesOldOrNewFilesNeverAFragment) {
    lay_out_club();
    const auto before = histories();
    const std::string flights_before = flights_after_restart();
    file_fault_at(0, FileFault::NONE);
    file_step_observer(note_flights_rename);
    std::string clean = output_of(remove_first_flight);
    file_step_observer(nullptr);
    const long steps = file_steps_taken(), clean_rename_step = flights_rename_step;
    auto after = histories();
    const std::string flights_after = flights_after_restart();
    ASSERT_TRUE(has(clean, "The old copy of VNKFLGHT.HIS is in VNKFLGHT.BAK")) << clean;
    ASSERT_GT(clean_rename_step, 0);
    EXPECT_FALSE(has(after.at("VNKFLGHT.HIS"), "6-3-2005\t4\tSMITH,JOHN"));
    EXPECT_FALSE(has(flights_after, "load said")) << flights_after;
    // Only the day sheet history changes.
    after["VNKFLGHT.HIS"] = before.at("VNKFLGHT.HIS");
    ASSERT_EQ(after, before);
    after = histories();

    for (FileFault fault : {FileFault::FAIL, FileFault::EXIT}) {
        const bool failed = fault == FileFault::FAIL;
        for (long n = 1; n <= steps; n++) {
            lay_out_club();
            ChildRun child = run_in_child(
                [=] {
                    fresh_start();
                    file_fault_at(n, fault);
                    file_step_observer(note_flights_rename);
                    flights_rename_step = 0;
                    rmv_flights();
                    printf("\nrenamed at %ld\n", flights_rename_step);
                    return true;
                },
                kRemoveInput);
            ASSERT_EQ(child.status, failed ? 0 : kFileFaultExitStatus);
            size_t at = child.out.rfind("renamed at ");
            long renamed_at = at == std::string::npos ? 0 : atol(child.out.c_str() + at + 11);
            bool renamed = failed ? renamed_at != 0 && renamed_at != n : n > clean_rename_step;
            SCOPED_TRACE(std::string(failed ? "failed" : "killed at") + " file step " +
                         std::to_string(n) + "\n" + child.out);
            // Until the new day sheet history is renamed into place, every file is as before.
            EXPECT_EQ(histories(), renamed ? after : before);
            EXPECT_TRUE(!failed || leftovers(true).empty()) << leftovers(true);

            // The next start finishes or forgets the rewrite as a whole.
            std::string flights = flights_after_restart();
            EXPECT_TRUE(!failed || flights == (renamed ? flights_after : flights_before))
                << flights;
            EXPECT_TRUE(flights == flights_before || flights == flights_after) << flights;
            EXPECT_EQ(histories(), flights == flights_after ? after : before);
            EXPECT_EQ(leftovers(false), "");
        }
    }
}

TEST_F(RemoveRewriteTest, RefusesToRemoveWhenAFileCouldNotBeRead) {
    // A file that opens but cannot be read: neither a transaction nor a customer may go.
    for (const char *broken : {"VNKPMNT.HIS", "VNKFLGQU.HIS", "VNKCUST.DAT"}) {
        lay_out_club();
        std::filesystem::remove(broken);
        if (std::string(broken) != "VNKCUST.DAT")
            std::filesystem::create_directory(broken);
        const auto before = histories();
        std::string out = output_of([] {
            remove_first_flight();
            feed_input("LEE\nYES\n");
            rmv_cust();
        });
        // Refused twice: the flight, then the customer.
        std::string refusal =
            std::string("? \"") + broken + "\" could not be read; nothing was removed.\n";
        ASSERT_NE(out.find(refusal, out.find(refusal) + 1), std::string::npos) << out;
        EXPECT_FALSE(has(out, "Remove flight from customer") || has(out, "Customer to remove"))
            << out;
        EXPECT_EQ(histories(), before) << broken;
    }

    // Unreadable balances would all look settled.
    lay_out_club();
    std::filesystem::remove("VNKBAL.DAT");
    std::filesystem::create_directory("VNKBAL.DAT");
    std::string out = output_of([] {
        fresh_start();
        feed_input("LEE\nYES\n");
        rmv_cust();
    });
    EXPECT_TRUE(has(out, "? \"VNKBAL.DAT\" could not be read; nothing was removed.\n")) << out;
    EXPECT_NE(fc_cust("LEE", "AL", false), nullptr);
}

} // namespace
