// The file-operation layer: every step of a rewrite, an append and a copy
// is made to fail and to end the process, and afterwards each file holds
// either its old or its new contents, never a mixture.
#include <atomic>
#include <cerrno>
#include <set>
#include <vector>

#include <sys/stat.h>

#include "conio/write_behind.h"
#include "testutil.h"

namespace {

using FileOpsTest = TempDirTest;

const std::string kOld = "!history line one\n!history line two\n";
const std::string kAdded = "6-7-2005\t1\tSMITH\t100\n";

void seed() {
    write_file("VNKGAS.HIS", kOld);
    write_file("VNKGAS.TMP", kAdded);
}

std::set<std::string> names_here() {
    std::set<std::string> names;
    for (const auto &e : std::filesystem::directory_iterator("."))
        names.insert(e.path().filename().string());
    return names;
}

// A failure before the history file's rename leaves it untouched and says
// so; after it (the clean-up) the append has happened. A kill leaves the
// old or the new history, and the next start tidies up.
TEST_F(FileOpsTest, AppendAtEveryFailedOrKilledStepLeavesOldOrNew) {
    seed();
    file_fault_at(0, FileFault::NONE); // counts the steps
    EXPECT_TRUE(append("VNKGAS.HIS", "VNKGAS.TMP"));
    long total = file_steps_taken();
    EXPECT_EQ(read_file("VNKGAS.HIS"), kOld + kAdded);
    EXPECT_EQ(read_file("APPEND.TMP"), kOld + kAdded);
    ASSERT_GE(total, 8); // two rewrites: create, write, sync, close, rename each

    std::set<std::string> seen;
    for (FileFault fault : {FileFault::FAIL, FileFault::EXIT})
        for (long n = 1; n <= total + 1; n++) {
            std::filesystem::remove("APPEND.TMP");
            seed();
            ChildRun child = run_in_child([=] {
                file_fault_at(n, fault);
                return append("VNKGAS.HIS", "VNKGAS.TMP");
            });
            SCOPED_TRACE((fault == FileFault::FAIL ? "failed step " : "killed at step ") +
                         std::to_string(n));
            std::string his = read_file("VNKGAS.HIS");
            if (fault == FileFault::FAIL) {
                EXPECT_EQ(his, child.status == 0 ? kOld + kAdded : kOld);
                EXPECT_EQ(child.status == 0, !has(child.out, "? Unable to")) << child.out;
            } else {
                EXPECT_EQ(child.status, n <= total ? kFileFaultExitStatus : 0);
                EXPECT_TRUE(his == kOld || his == kOld + kAdded) << his;
                seen.insert(his);
                remove_stale_temporaries(".");
            }
            EXPECT_EQ(read_file("VNKGAS.TMP"), kAdded);
            // The scratch file is either absent or complete.
            std::set<std::string> want = {"VNKGAS.HIS", "VNKGAS.TMP"};
            if (std::filesystem::exists("APPEND.TMP")) {
                EXPECT_EQ(read_file("APPEND.TMP"), kOld + kAdded);
                want.insert("APPEND.TMP");
            }
            EXPECT_EQ(names_here(), want) << "a temporary file was left behind";
        }
    EXPECT_EQ(seen.size(), 2u); // both outcomes were reached
}

TEST_F(FileOpsTest, AppendRefusesAnUnreadableHistoryAndKeepsItOnAFullDisk) {
    // A history the append cannot read to its end would be replaced by the
    // new lines alone; only a history that does not exist at all may be.
    // (A link to itself and a folder cannot be read even by root.)
    std::filesystem::create_symlink("VNKGAS.HIS", "VNKGAS.HIS");
    std::filesystem::create_directory("VNKPMNT.HIS");
    write_file("VNKGAS.TMP", kAdded);
    write_file("VNKPMNT.TMP", kAdded);
    for (std::string his : {"VNKGAS.HIS", "VNKPMNT.HIS"}) {
        std::string tmp = his.substr(0, his.find('.')) + ".TMP";
        bool ok = true;
        std::string out = output_of([&] { ok = append(his.c_str(), tmp.c_str()); });
        EXPECT_FALSE(ok) << his;
        EXPECT_TRUE(has(out, std::string("? Unable to open \"") + his + "\" for append.\n")) << out;
        EXPECT_FALSE(std::filesystem::is_regular_file(std::filesystem::symlink_status(his)))
            << his << " was replaced";
        EXPECT_EQ(read_file(tmp), kAdded);
    }
    EXPECT_FALSE(std::filesystem::exists("APPEND.TMP"));

    // A temporary file that is there but unreadable is not half appended.
    write_file("VNKFLGHT.HIS", kOld);
    std::filesystem::create_directory("VNKFLGHT.TMP");
    EXPECT_FALSE(append("VNKFLGHT.HIS", "VNKFLGHT.TMP"));
    EXPECT_EQ(read_file("VNKFLGHT.HIS"), kOld);

    // A history that does not exist yet becomes the temporary file.
    std::filesystem::remove("VNKFLGHT.TMP");
    std::filesystem::remove("VNKFLGHT.HIS");
    write_file("VNKFLGHT.TMP", kAdded);
    EXPECT_TRUE(has(output_of([] { EXPECT_TRUE(append("VNKFLGHT.HIS", "VNKFLGHT.TMP")); }),
                    "? Unable to open VNKFLGHT.HIS\n"));
    EXPECT_EQ(read_file("VNKFLGHT.HIS"), kAdded);

    // A full disk: the history stays, and the scratch file named is gone.
    std::filesystem::remove("APPEND.TMP"); // the append above kept it
    std::string big = std::string(100, 'x') + "\n";
    write_file("VNKMISC.HIS", big);
    write_file("VNKMISC.TMP", kAdded);
    int code = 0;
    std::string out = run_on_full_disk([] { return append("VNKMISC.HIS", "VNKMISC.TMP"); }, code);
    EXPECT_EQ(code, 1);
    EXPECT_TRUE(has(out, "? Unable to close file \"APPEND.TMP\"")) << out;
    EXPECT_EQ(read_file("VNKMISC.HIS"), big);
    EXPECT_EQ(read_file("VNKMISC.TMP"), kAdded);
    EXPECT_FALSE(std::filesystem::exists("APPEND.TMP"));
}

// A large rewrite is written and synced by a thread of its own, every byte
// in order. A failed write or sync of that thread fails the file: the old
// one stays and the temporary goes. (The kernel reports a lost write-back
// to one sync only, so an early sync's failure must not be forgotten.)
TEST_F(FileOpsTest, LargeRewritesAreWrittenBehindAndFailWithTheirThread) {
    static std::atomic<int> writes, syncs;
    static std::atomic<int> failing; // 1: a write fails, 2: a sync fails
    write_behind_for_tests(
        [](int fd, const void *data, size_t length) -> ssize_t {
            writes++;
            if (failing == 1 && writes == 3) {
                errno = ENOSPC;
                return -1;
            }
            return write(fd, data, length);
        },
        [](int fd) {
            syncs++;
            if (failing == 2) {
                errno = EIO;
                return -1;
            }
            return fdatasync(fd);
        },
        off_t{64} << 10);
    auto rewrite = [](char fill) {
        writes = 0;
        syncs = 0;
        SafeFile sf;
        FILE *fp = safe_open(sf, "big.dat");
        for (int i = 0; fp != nullptr && i < 500000; i++)
            fprintf(fp, "%c%07d\n", fill, i);
        return safe_commit(sf);
    };
    std::string expected;
    for (int i = 0; i < 500000; i++)
        expected += 'a' + std::to_string(10000000 + i).substr(1) + "\n";
    write_file("big.dat", "old\n");
    // The sync before the rename must find every byte written.
    static off_t size_at_sync;
    file_step_observer([](FileStep what, const char *name) {
        struct stat st;
        if (what == FileStep::SYNC && stat(name, &st) == 0)
            size_at_sync = st.st_size;
    });
    EXPECT_TRUE(rewrite('a'));
    file_step_observer(nullptr);
    EXPECT_GE(writes, 4);
    EXPECT_GE(syncs, 1);
    EXPECT_EQ(size_at_sync, static_cast<off_t>(expected.size()));
    EXPECT_TRUE(read_file("big.dat") == expected) << "the rewrite lost or moved bytes";

    for (int how : {1, 2}) {
        failing = how;
        errno = 0;
        EXPECT_FALSE(rewrite('b')) << how;
        EXPECT_EQ(errno, how == 1 ? ENOSPC : EIO);
        EXPECT_TRUE(read_file("big.dat") == expected) << "the old file was replaced";
        EXPECT_EQ(names_here(), std::set<std::string>{"big.dat"});
    }
}

TEST_F(FileOpsTest, CopiesAndAppendsReplaceTheirTargetWhole) {
    write_file("from.dat", "fresh\n");
    write_file("to.dat", "old\n");
    for (long n = 1; n <= 4; n++) { // create, write, sync, close
        file_fault_at(n, FileFault::FAIL);
        EXPECT_FALSE(safe_copy("from.dat", "to.dat")) << n;
        file_fault_at(n, FileFault::FAIL);
        EXPECT_FALSE(append_to_file("to.dat", "more\n", 5)) << n;
    }
    file_fault_at(0, FileFault::NONE);
    EXPECT_EQ(read_file("to.dat"), "old\n");
    EXPECT_EQ(names_here().size(), 2u);
    EXPECT_TRUE(has(output_of([] { EXPECT_FALSE(copyfile_by_name("none.dat", "to.dat")); }),
                    "? Unable to open \"to.dat\" for copy.\n"));
    EXPECT_TRUE(copyfile_by_name("from.dat", "to.dat"));
    EXPECT_TRUE(append_to_file("to.dat", "more\n", 5));
    EXPECT_EQ(read_file("to.dat"), "fresh\nmore\n");

    // A failed rename or unlink is reported to the caller; a file already
    // gone counts as unlinked.
    EXPECT_FALSE(safe_rename("none.dat", "x.dat"));
    file_fault_at(1, FileFault::FAIL);
    EXPECT_FALSE(safe_rename("to.dat", "x.dat"));
    file_fault_at(1, FileFault::FAIL);
    EXPECT_FALSE(safe_unlink("to.dat"));
    EXPECT_TRUE(std::filesystem::exists("to.dat"));
    EXPECT_TRUE(safe_unlink("none.dat"));

    // Appending streams count every write: a failed one marks the stream.
    file_fault_at(2, FileFault::FAIL);
    FILE *log = open_appending("log.txt");
    ASSERT_NE(log, nullptr);
    fputs("first\n", log);
    EXPECT_NE(fflush(log), 0);
    fclose(log);
    file_fault_at(0, FileFault::NONE);
}

// A rewrite keeps the file's own mode and a new file takes the customer
// file's, so members' data made private stays private; with neither there,
// the umask decides.
TEST_F(FileOpsTest, FilesKeepTheirModeOrTakeTheCustomerFilesMode) {
    using std::filesystem::perms;
    auto mode_made = [](const char *name) {
        SafeFile sf;
        EXPECT_NE(safe_open(sf, name), nullptr);
        EXPECT_TRUE(safe_commit(sf));
        return std::filesystem::status(name).permissions() & perms::all;
    };
    write_file("own.dat", "x\n");
    chmod("own.dat", 0640);
    write_file("VNKCUST.DAT", "x\n");
    chmod("VNKCUST.DAT", 0600);
    new_files_like("VNKCUST.DAT");
    EXPECT_EQ(mode_made("own.dat"), perms(0640));
    EXPECT_EQ(mode_made("new.dat"), perms(0600));
    // Only a regular file lends its mode, and only a reference that is there.
    ASSERT_EQ(mkfifo("fifo.dat", 0600), 0);
    new_files_like("gone.dat");
    mode_t mask = umask(022);
    EXPECT_EQ(mode_made("fifo.dat"), perms(0644));
    umask(mask);
    new_files_like(nullptr);
}

TEST_F(FileOpsTest, OnlyTemporariesOfDeadRunsAreRemoved) {
    // A process that has ended gives a pid that no longer runs.
    pid_t dead = fork();
    if (dead == 0)
        _exit(0);
    waitpid(dead, nullptr, 0);
    std::string d = std::to_string(dead), me = std::to_string(getpid());
    std::vector<std::string> stale = {"VNKCUST.DAT.tmp" + d + "-0", "APPEND.TMP.tmp" + d + "-12"};
    // The last one names pid 1, which always runs.
    std::vector<std::string> kept = {
        "VNKCUST.DAT.tmp" + me + "-0", "VNKGAS.TMP",      "APPEND.TMP", "X.tmp" + d,
        "X.tmp" + d + "-1a",           ".tmp" + d + "-0", "X.tmp-5-0",  "X.tmp1-0"};
    for (const auto &names : {stale, kept})
        for (const auto &n : names)
            write_file(n, "x");
    EXPECT_EQ(remove_stale_temporaries("."), 2);
    EXPECT_EQ(names_here(), std::set<std::string>(kept.begin(), kept.end()));
}

} // namespace
