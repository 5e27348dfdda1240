// --new-club with a failure at each of its file steps in turn: the folder
// holds the whole club or none of it, so that trying again is not refused.
#include "shell/shell.h"
#include "testutil.h"

namespace fs = std::filesystem;

class NewClubTest : public TempDirTest {};

static size_t files_in(const std::string &dir) {
    return fs::exists(dir) ? static_cast<size_t>(std::distance(fs::directory_iterator(dir), {}))
                           : 0;
}

TEST_F(NewClubTest, AFailedStepLeavesNoHalfClub) {
    file_fault_at(0, FileFault::NONE);
    int status = -1;
    std::string told = output_of([&] { status = new_club("whole"); });
    ASSERT_EQ(status, 0);
    EXPECT_TRUE(has(told, "  3. ENTER GLIDER-FLIGHTS"));
    long steps = file_steps_taken();
    ASSERT_EQ(files_in("whole"), 12u);
    EXPECT_EQ(read_file("whole/VNKFLGQU.HIS"), "!Start of billing cycle\n");

    for (long n = 1; n <= steps; n++) {
        std::string dir = "club" + std::to_string(n);
        SCOPED_TRACE("failed file step " + std::to_string(n));
        file_fault_at(n, FileFault::FAIL);
        status = new_club(dir.c_str());
        file_fault_at(0, FileFault::NONE);
        EXPECT_EQ(status, 1);
        // An empty folder is no club: the next try is not refused.
        EXPECT_EQ(files_in(dir), 0u);
    }
}
