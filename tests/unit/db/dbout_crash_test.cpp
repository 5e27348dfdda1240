// DBOUT killed or failing at each file step: the next start finds each record once, as after a
// whole run.
#include <filesystem>

#include "db_fixture.h"

namespace {

class DboutCrashTest : public DbTest {
  protected:
    static inline int given_up_count = 0;

    static void lay_out_club() { lay_out_two_member_period("LEE,AL\tN9\tAL"); }

    static void dbout() {
        fresh_start();
        feed_input("YES\n");
        do_write_database();
    }

    // The records after the next start, with what the loading said if it points at trouble. A
    // rewrite given up leaves the records as before it, which the comparison checks.
    static std::string records_after_restart() {
        std::string load;
        std::string text = DbTest::records_after_restart(load);
        size_t given_up = load.find("? The interrupted rewrite of ");
        if (given_up != std::string::npos) {
            size_t end = load.find(" are as they were before it.\n", given_up);
            load.erase(given_up, end == std::string::npos ? end : end + 29 - given_up);
            given_up_count++;
        }
        for (const char *trouble : {"? ", "Suspicious"})
            if (has(load, trouble))
                text += "load said: " + load;
        return text;
    }
};

TEST_F(DboutCrashTest, EveryKilledOrFailedStepLeavesEachRecordOnceAfterTheNextStart) {
    lay_out_club();
    const std::string expected = records_after_restart();
    file_fault_at(0, FileFault::NONE);
    output_of(dbout);
    const long steps = file_steps_taken();
    const std::string finished_gas = read_file("VNKGAS.HIS");
    EXPECT_EQ(records_after_restart(), expected); // the rewrite moves records, it loses none
    EXPECT_FALSE(has(expected, "load said")) << expected;
    ASSERT_GT(steps, 40);

    // Each kill point twice: as left, and with the temporaries rewritten by entry dialogues first,
    // which the rewrite must not take for its own new files. Then each step failing.
    int stopped = 0;
    for (int pass = 0; pass < 3; pass++) {
        const bool entry_ran = pass == 1, killed = pass < 2;
        given_up_count = 0;
        for (long n = 1; n <= steps; n++) {
            lay_out_club();
            ChildRun child = run_in_child(
                [=] {
                    fresh_start();
                    file_fault_at(n, killed ? FileFault::EXIT : FileFault::FAIL);
                    do_write_database();
                    return true;
                },
                "YES\n");
            ASSERT_EQ(child.status, killed ? kFileFaultExitStatus : 0) << "step " << n;
            if (entry_ran) {
                write_file("VNKGAS.TMP", "$VERSION 2\n$GAS\n");
                write_file("VNKPMNT.TMP", "$VERSION 3\n$PAYMENTS\n");
                write_file("VNKFLGHT.TMP", "$VERSION 2\n");
            }
            SCOPED_TRACE((killed ? "killed before file step " : "failed file step ") +
                         std::to_string(n) + (entry_ran ? ", then entry ran" : "") + "\n" +
                         child.out);
            stopped += !killed && has(child.out, "? ");
            size_t lost = child.out.find("? Could not write");
            EXPECT_TRUE(lost == std::string::npos || !has(child.out.substr(lost), "The old copy"));
            EXPECT_EQ(records_after_restart(), expected);
            EXPECT_EQ(leftovers(false), "");
        }
        // Killed after the pending file, it finds its new files replaced only when entry ran.
        EXPECT_TRUE(!killed || (given_up_count > 0) == entry_ran) << pass;
    }
    // Every step but the clean-up of the pending file can fail visibly.
    EXPECT_GE(stopped, steps - 3);
    RecordProperty("kill_points", (int)steps);
    RecordProperty("failed_steps_reported", stopped);

    // A failed rename of the old main file leaves the family as it was.
    lay_out_club();
    std::filesystem::create_directory("VNKGAS.BAK"); // a backup cannot replace it
    std::string out = output_of(dbout);
    EXPECT_TRUE(has(out, "? Could not write GAS charges database") && !has(out, "The old copy"))
        << out;
    EXPECT_NE(read_file("VNKGAS.HIS"), finished_gas);
    EXPECT_TRUE(has(read_file("VNKGASQU.HIS"), "SMITH,JOHN"));
}

TEST_F(DboutCrashTest, RefusesToRewriteFromAFileThatCouldNotBeRead) {
    // Without the customers every flight would be billed to CASH; without a file, its records lost.
    for (const char *broken : {"VNKCUST.DAT", "VNKFLGHT.HIS", "VNKGASQU.HIS"}) {
        lay_out_club();
        std::filesystem::remove(broken);
        if (std::string(broken) != "VNKCUST.DAT")
            std::filesystem::create_directory(broken); // opens, but cannot be read
        const auto before = club_files();
        std::string out = output_of([] {
            fresh_start();
            feed_input("");
            do_write_database();
        });
        EXPECT_TRUE(has(out, std::string("? \"") + broken +
                                 "\" could not be read; the history files were not rewritten.\n"))
            << out;
        EXPECT_FALSE(has(out, "Are you sure")) << out;
        EXPECT_EQ(club_files(), before) << broken;
    }

    // A missing file holds nothing to lose; one with a bad line is kept as read, numbered.
    lay_out_club();
    std::filesystem::remove("VNKPMNTQ.HIS");
    write_file("VNKGAS.HIS.BAD1", "an earlier copy\n");
    write_file("VNKGAS.HIS", read_file("VNKGAS.HIS") + "6-3-2005\t2\t2\tSMITH,JOHN\tlots\n");
    std::string as_read = read_file("VNKGAS.HIS");
    std::string out = output_of(dbout);
    EXPECT_TRUE(has(out, "? 1 bad line(s) of VNKGAS.HIS were read with defaults; the file as "
                         "read is in VNKGAS.HIS.BAD2\n"))
        << out;
    EXPECT_EQ(read_file("VNKGAS.HIS.BAD1") + read_file("VNKGAS.HIS.BAD2"),
              "an earlier copy\n" + as_read);
    EXPECT_TRUE(has(out, "The old copy of VNKFLGQU.HIS") &&
                has(read_file("VNKPMNT.HIS"), "SMITH,JOHN"))
        << out;
    // The rewritten file is clean: a second rewrite keeps no copy.
    EXPECT_FALSE(has(output_of([] {
                         feed_input("YES\n");
                         do_write_database();
                     }),
                     ".BAD"));
}

} // namespace
