// The export killed, or stopped by a failed file step, at every file step:
// after the next start either nothing happened (no IIF file, every record
// where it was) or the whole export did (the IIF file of an uninterrupted
// run and every exported record once in its "QU" file).
#include <filesystem>
#include <map>

#include "reports_fixture.h"

namespace fs = std::filesystem;

namespace {

class ExportCrashTest : public DbTest {
  protected:
    static void export_to_file() {
        db_reset();
        db_init();
        feed_input("NO\nNO\nNO\nNO\nALL\n");
        FILE *file = open_o_file("QB.IIF", "output");
        if (file == nullptr)
            return;
        w_quickbooks();
        close_o_file(file, "QB.IIF", "output");
    }
};

TEST_F(ExportCrashTest, EveryKillPointAndFailedStepExportsAllOrNothing) {
    lay_out_two_member_period("LEE,AL\tN9\tAL");
    const auto before = club_files();
    export_to_file();
    const long steps = file_steps_taken();
    const auto after = club_files();
    ASSERT_TRUE(has(after.at("QB.IIF"), "SMITH, JOHN"));
    ASSERT_TRUE(has(after.at("VNKFLGQU.HIS"), "6-3-2005\t4\tSMITH,JOHN"));
    ASSERT_FALSE(has(after.at("VNKFLGHT.HIS"), "SMITH,JOHN"));
    ASSERT_GT(steps, 10);

    sweep_file_steps(
        steps, [] { lay_out_two_member_period("LEE,AL\tN9\tAL"); }, export_to_file,
        [] {
            db_reset();
            db_init();
            output_of(finish_pending_rewrite);
        },
        [&](FileFault) {
            const auto now = club_files();
            EXPECT_TRUE(now == before || now == after);
        });
}

} // namespace
