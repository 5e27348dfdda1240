// The move of exported history into the "QU" files, tried with a failure
// and with a crash at every file step it takes.
#include <map>

#include "reports_fixture.h"

namespace {

const std::string kHistory = "$VERSION 3\n$PAYMENTS\nP1\nP2\nP3\n";
const std::string kQu = "$VERSION 3\n$PAYMENTS\nQ1\n";

class QuMoveTest : public TempDirTest {
  protected:
    void SetUp() override {
        TempDirTest::SetUp();
        write_file("H.HIS", kHistory);
        write_file("Q.HIS", kQu);
    }

    // How often each record line appears in the two files together.
    static std::map<std::string, int> records() {
        std::map<std::string, int> seen;
        for (const char *name : {"H.HIS", "Q.HIS"}) {
            std::istringstream in(read_file(name));
            std::string line;
            while (std::getline(in, line))
                if (line.size() == 2)
                    seen[line]++;
        }
        return seen;
    }

    // Runs the move in a child with the given fault at the given step;
    // returns the child's exit status.
    static int run_with_fault(long step, FileFault fault) {
        fflush(stdout);
        pid_t pid = fork();
        if (pid == 0) {
            freopen("/dev/null", "w", stdout);
            file_fault_at(step, fault);
            bool moved = move_history_to_qu("H.HIS", "Q.HIS");
            _exit(moved ? 0 : 1);
        }
        int status = 0;
        waitpid(pid, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
};

const std::map<std::string, int> kOnce = {{"P1", 1}, {"P2", 1}, {"P3", 1}, {"Q1", 1}};

TEST_F(QuMoveTest, MovesAllAndStartsTheHistoryAfresh) {
    file_fault_at(0, FileFault::NONE);
    std::string console = output_of([] { EXPECT_TRUE(move_history_to_qu("H.HIS", "Q.HIS")); });
    long steps = file_steps_taken();
    EXPECT_EQ(console, "");
    EXPECT_EQ(read_file("Q.HIS"), kQu + kHistory);
    EXPECT_EQ(read_file("H.HIS"), "!Start of billing cycle\n");
    EXPECT_EQ(entries(), 2u); // no temporaries or pending file left
    EXPECT_GT(steps, 6);

    // A missing "QU" file becomes a copy of the history.
    write_file("H.HIS", kHistory);
    unlink("Q.HIS");
    EXPECT_TRUE(move_history_to_qu("H.HIS", "Q.HIS"));
    EXPECT_EQ(read_file("Q.HIS"), kHistory);
}

TEST_F(QuMoveTest, AFailureAtAnyStepLosesAndDoublesNothing) {
    file_fault_at(0, FileFault::NONE);
    move_history_to_qu("H.HIS", "Q.HIS");
    long steps = file_steps_taken();
    for (long step = 1; step <= steps; step++) {
        SCOPED_TRACE("failing step " + std::to_string(step));
        write_file("H.HIS", kHistory);
        write_file("Q.HIS", kQu);
        int code = run_with_fault(step, FileFault::FAIL);
        // A move reported as failed before its pending file left both files
        // as they were; one that failed later completes at the next read.
        if (code == 1 && read_file("H.HIS") == kHistory && read_file("Q.HIS") == kQu) {
            EXPECT_EQ(records(), kOnce);
            output_of(finish_qu_move);
            EXPECT_EQ(read_file("H.HIS"), kHistory);
            continue;
        }
        output_of(finish_qu_move);
        EXPECT_EQ(records(), kOnce);
        EXPECT_EQ(read_file("Q.HIS"), kQu + kHistory);
    }
}

TEST_F(QuMoveTest, ACrashAtAnyStepLeavesEachRecordInOneFile) {
    file_fault_at(0, FileFault::NONE);
    move_history_to_qu("H.HIS", "Q.HIS");
    long steps = file_steps_taken();
    int rolled_forward = 0;
    for (long step = 1; step <= steps; step++) {
        SCOPED_TRACE("crash at step " + std::to_string(step));
        write_file("H.HIS", kHistory);
        write_file("Q.HIS", kQu);
        EXPECT_EQ(run_with_fault(step, FileFault::EXIT), kFileFaultExitStatus);
        // What the next run sees once it has rolled forward before reading.
        std::string console = output_of(finish_qu_move);
        rolled_forward += has(console, "Finished moving H.HIS into Q.HIS");
        EXPECT_EQ(records(), kOnce);
        std::string qu = read_file("Q.HIS");
        EXPECT_TRUE(qu == kQu || qu == kQu + kHistory) << qu;
        EXPECT_EQ(read_file("H.HIS") == kHistory, qu == kQu);
        remove_stale_temporaries(".");
        EXPECT_EQ(entries(), 2u);
    }
    EXPECT_GT(rolled_forward, 0); // some crashes fell between the renames
}

} // namespace
