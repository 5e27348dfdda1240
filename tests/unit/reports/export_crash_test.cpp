// The export killed or failing at each file step: next start finds nothing done, or the whole
// export (its IIF file, every exported record once in its "QU" file).
#include <filesystem>
#include <map>

#include "reports_fixture.h"

namespace fs = std::filesystem;

namespace {

class ExportCrashTest : public DbTest {
  protected:
    static void export_to_file() {
        fresh_start();
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
            fresh_start();
            output_of(finish_pending_rewrite);
        },
        [&](FileFault) {
            const auto now = club_files();
            EXPECT_TRUE(now == before || now == after);
        });
}

} // namespace
