#include <climits>
#include <cstdint>
#include <sys/stat.h>

#include "testutil.h"

namespace {

using MemoryTest = TempDirTest;

struct Counters {
    long out, in, net;
};

// Reads the counters back from the allocation report, checking its layout:
// each number ends in column 25.
Counters report() {
    start_capture();
    o_space();
    std::string text = end_capture();
    Counters c{};
    EXPECT_EQ(sscanf(text.c_str(), "Blocks allocated %ld\nBlocks freed %ld\nNet blocks out %ld\n",
                     &c.out, &c.in, &c.net),
              3)
        << text;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line))
        EXPECT_EQ(line.size(), 25u) << line;
    return c;
}

TEST_F(MemoryTest, WarnsAboveTheLimitButStillAllocates) {
    start_capture();
    void *quiet = errmalloc(500);
    std::string after500 = end_capture();
    EXPECT_EQ(after500, "");

    start_capture();
    char *loud = (char *)errmalloc(501);
    std::string after501 = end_capture();
    EXPECT_NE(after501.find("? Allocating 501 bytes, probably a bug.\n"), std::string::npos);
    ASSERT_NE(loud, nullptr);
    memset(loud, 'x', 501);
    errfree(loud);
    errfree(quiet);
}

#if !defined(__SANITIZE_ADDRESS__)
TEST_F(MemoryTest, OutOfMemoryReportsAndEndsNormally) {
    // The report goes to stdout; route it where the death test can see it.
    EXPECT_EXIT(
        {
            dup2(2, 1);
            set_max_malloc(INT_MAX);
            errmalloc(SIZE_MAX / 2);
        },
        testing::ExitedWithCode(0),
        "\\? Out of memory \\([0-9]+ bytes [0-9]+ bytes ever\\)\\.\nUnable to continue\\.\n"
        ".*Blocks allocated +[0-9]+\nBlocks freed +[0-9]+\nNet blocks out +[0-9]+\n");
}
#endif

TEST_F(MemoryTest, CountsBlocksAndIgnoresNull) {
    Counters before = report();
    EXPECT_EQ(errfree(nullptr), nullptr);
    Counters same = report();
    EXPECT_EQ(same.out, before.out);
    EXPECT_EQ(same.in, before.in);

    char *s = alloc_str(nullptr);
    EXPECT_STREQ(s, "");
    EXPECT_EQ(errfree(s), nullptr);
    Counters after = report();
    EXPECT_EQ(after.out, before.out + 1);
    EXPECT_EQ(after.in, before.in + 1);
    EXPECT_EQ(after.net, after.out - after.in);
}

TEST_F(MemoryTest, ReplaceStrHandlesItsOwnText) {
    char *slot = alloc_str("old");
    replace_str(&slot, "new");
    EXPECT_STREQ(slot, "new");
    replace_str(&slot, slot);
    EXPECT_STREQ(slot, "new");
    errfree(slot);
}

TEST_F(MemoryTest, AllocFileReadsWholeFiles) {
    write_file("empty.dat", "");
    char *empty = alloc_file("empty.dat", "test", false);
    ASSERT_NE(empty, nullptr);
    EXPECT_STREQ(empty, "");
    errfree(empty);

    std::string content = "first\n" + std::string(450, 'L') + "\nlast without newline";
    write_file("big.dat", content);
    start_capture();
    char *text = alloc_file("big.dat", "heading", true);
    std::string out = end_capture();
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(std::string(text), content);
    // The 10000 limit held while reading, so no warning for 457 bytes.
    EXPECT_EQ(out, "Reading heading file \"big.dat\"\n");
    errfree(text);

    // The limit is back at 500 after a successful read.
    start_capture();
    errfree(errmalloc(501));
    EXPECT_NE(end_capture().find("probably a bug"), std::string::npos);
}

TEST_F(MemoryTest, FailedAllocFileLeavesTheRaisedLimit) {
    start_capture();
    EXPECT_EQ(alloc_file("missing.dat", "test", true), nullptr);
    std::string out = end_capture();
    EXPECT_NE(out.find("? Unable to read test file \"missing.dat\"\n"), std::string::npos);
    EXPECT_EQ(out.find("Reading"), std::string::npos);

    start_capture();
    errfree(errmalloc(10000));
    EXPECT_EQ(end_capture(), "");
    start_capture();
    errfree(errmalloc(10001));
    EXPECT_NE(end_capture().find("? Allocating 10001 bytes"), std::string::npos);
    EXPECT_EQ(set_max_malloc(500), 10000);
}

TEST_F(MemoryTest, CopyAndAppend) {
    std::string long_line(450, 'z');
    write_file("src.txt", "b1\n" + long_line + "\n");
    write_file("dest.txt", "a1\n");
    append("dest.txt", "src.txt");
    EXPECT_EQ(read_file("dest.txt"), "a1\nb1\n" + long_line + "\n");
    EXPECT_TRUE(file_exists("APPEND.TMP"));

    start_capture();
    append("new.txt", "src.txt");
    std::string out = end_capture();
    EXPECT_EQ(read_file("new.txt"), read_file("src.txt"));
    EXPECT_NE(out.find("? Unable to open new.txt\n"), std::string::npos);

    start_capture();
    EXPECT_FALSE(copyfile("nothing.txt", stdout));
    EXPECT_TRUE(copyfile("src.txt", nullptr));
    EXPECT_NE(end_capture().find("? Unable to open nothing.txt"), std::string::npos);

    copyfile_by_name("src.txt", "copy.txt");
    EXPECT_EQ(read_file("copy.txt"), read_file("src.txt"));
    append_to_file("copy.txt", "tail\0x", 5);
    EXPECT_EQ(read_file("copy.txt"), read_file("src.txt") + std::string("tail\0", 5));
}

TEST_F(MemoryTest, TimestampFormat) {
    // "%a %d-%b-%Y %H:%M:%S": A is a letter, 9 a digit.
    const std::string shape = "Aaa 99-Aaa-9999 99:99:99";
    std::string stamp = timestamp();
    ASSERT_EQ(stamp.size(), shape.size()) << stamp;
    for (size_t i = 0; i < shape.size(); i++) {
        char c = stamp[i];
        bool fits = shape[i] == 'A'   ? isupper((unsigned char)c)
                    : shape[i] == 'a' ? islower((unsigned char)c)
                    : shape[i] == '9' ? isdigit((unsigned char)c)
                                      : c == shape[i];
        EXPECT_TRUE(fits) << stamp << " at " << i;
    }
}

std::string listing() {
    std::string names;
    for (auto &entry : std::filesystem::directory_iterator("."))
        names += entry.path().filename().string() + " ";
    return names;
}

TEST_F(MemoryTest, SafeFileReplacesOnlyOnCommit) {
    write_file("data.dat", "old\n");
    chmod("data.dat", 0640);
    SafeFile sf;
    FILE *fp = safe_open(sf, "data.dat");
    ASSERT_NE(fp, nullptr);
    fputs("new\n", fp);
    EXPECT_EQ(read_file("data.dat"), "old\n");
    EXPECT_TRUE(safe_commit(sf));
    EXPECT_EQ(read_file("data.dat"), "new\n");
    EXPECT_EQ(listing(), "data.dat ");
    struct stat st;
    ASSERT_EQ(stat("data.dat", &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0640u);

    fp = safe_open(sf, "data.dat");
    ASSERT_NE(fp, nullptr);
    fputs("dropped\n", fp);
    safe_abort(sf);
    EXPECT_EQ(read_file("data.dat"), "new\n");
    EXPECT_EQ(listing(), "data.dat ");

    EXPECT_EQ(safe_open(sf, "no-such-dir/data.dat"), nullptr);
    EXPECT_FALSE(safe_commit(sf));
}

TEST_F(MemoryTest, SafeFileFailuresKeepTheOldFile) {
    // rename fails: the final name is a directory.
    std::filesystem::create_directory("target");
    write_file("target/inside", "kept");
    SafeFile sf;
    ASSERT_NE(safe_open(sf, "target"), nullptr);
    fputs("x\n", sf.fp);
    EXPECT_FALSE(safe_commit(sf));
    EXPECT_EQ(read_file("target/inside"), "kept");
    EXPECT_EQ(sf.fp, nullptr);

    // The flush fails: the descriptor is gone before the data is written.
    write_file("data.dat", "old\n");
    FILE *fp = safe_open(sf, "data.dat");
    ASSERT_NE(fp, nullptr);
    fputs("new contents\n", fp);
    close(fileno(fp));
    EXPECT_FALSE(safe_commit(sf));
    EXPECT_EQ(read_file("data.dat"), "old\n");
    EXPECT_EQ(listing().find(".tmp"), std::string::npos) << listing();
}

} // namespace
