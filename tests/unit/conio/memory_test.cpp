// Counted allocation, whole-file reads and safely replaced files.
#include <string>
#include <utility>
#include <vector>

#include "testutil.h"

namespace {

using MemoryTest = TempDirTest;

// True when allocating `size` bytes printed the "probably a bug" warning.
bool warns(size_t size) {
    return has(output_of([&] { errfree(errmalloc(size)); }),
               "? Allocating " + std::to_string(size) + " bytes, probably a bug.\n");
}

// Blocks allocated and freed so far, as SPACE reports them.
std::pair<long, long> block_counts() {
    std::string report = output_of([] { o_space(); });
    long out = -1, in = -1;
    sscanf(report.c_str(), "Blocks allocated %ld\nBlocks freed %ld", &out, &in);
    return {out, in};
}

TEST_F(MemoryTest, LargeBlocksWarnAllocFileRaisesTheLimitAndTheTimestamp) {
    EXPECT_FALSE(warns(500));
    EXPECT_TRUE(warns(501));

    // A file read may allocate up to 10000 bytes; the limit drops back to
    // 500 only after a successful read.
    std::string content = "first\n" + std::string(900, 'L') + "\nlast without newline";
    write_file("big.dat", content);
    std::string text;
    auto [out0, in0] = block_counts();
    EXPECT_EQ(output_of([&] { text = take(alloc_file("big.dat", "heading", true)); }),
              "Reading heading file \"big.dat\"\n");
    EXPECT_EQ(text, content);
    auto [out1, in1] = block_counts(); // every piece read is given back
    EXPECT_EQ(out1 - out0, in1 - in0);
    EXPECT_TRUE(warns(501));

    std::string out =
        output_of([] { EXPECT_EQ(alloc_file("missing.dat", "test", true), nullptr); });
    EXPECT_TRUE(has(out, "? Unable to read test file \"missing.dat\"\n")) << out;
    EXPECT_FALSE(warns(10000));
    EXPECT_TRUE(warns(10001));
    EXPECT_EQ(set_max_malloc(500), 10000);

    write_file("empty.dat", "");
    EXPECT_EQ(take(alloc_file("empty.dat", "test", false)), "");
    struct tm when;
    const char *end = strptime(timestamp(), "%a %d-%b-%Y %H:%M:%S", &when);
    EXPECT_TRUE(end != nullptr && *end == '\0') << timestamp();
}

// Blocks carved from chunks are counted one by one like malloc's, never
// overlap, and may be freed in any order mixed with malloc's blocks; a
// chunk emptied and handed back is not touched again (the sanitizer build
// would see it), and later blocks carry on in fresh or reused chunks.
TEST_F(MemoryTest, BatchBlocksAreCountedAndFreedOneByOne) {
    auto [out0, in0] = block_counts();
    std::vector<char *> blocks;
    const int count = 200000; // over one chunk
    for (int i = 0; i < count; i++) {
        std::string text = std::to_string(i);
        blocks.push_back(i % 3 ? alloc_str_batch(text.c_str(), text.size())
                               : static_cast<char *>(errmalloc_batch(24)));
        if (i % 3 == 0)
            snprintf(blocks.back(), 24, "%d", i);
    }
    char *plain = alloc_str("plain");
    auto [out1, in1] = block_counts();
    EXPECT_EQ(out1 - out0, count + 1);
    EXPECT_EQ(in1, in0);
    for (int i = 0; i < count; i++)
        ASSERT_EQ(std::string(blocks[i]), std::to_string(i));

    // Every other block first, then the rest from the end: chunks empty out
    // in the middle of the run.
    for (int i = 0; i < count; i += 2)
        errfree(blocks[i]);
    errfree(plain);
    for (int i = count - 1; i >= 0; i -= 2)
        errfree(blocks[i]);
    auto [out2, in2] = block_counts();
    EXPECT_EQ(out2, out1);
    EXPECT_EQ(in2 - in1, count + 1);

    // Eighty chunks at once, more than the table first has slots: it grows
    // and keeps them all.
    std::vector<void *> big;
    for (int i = 0; i < 80 * 2200; i++)
        big.push_back(errmalloc_batch(496));
    for (void *block : big)
        errfree(block);
    EXPECT_EQ(block_counts().second - in2, 80 * 2200);

    EXPECT_EQ(take(alloc_str_batch("again", 5)), "again");
    EXPECT_EQ(errfree(nullptr), nullptr);
}

TEST_F(MemoryTest, SafeFileReplacesTheOldFileOnlyOnASuccessfulCommit) {
    write_file("data.dat", "old\n");
    SafeFile sf;
    ASSERT_NE(safe_open(sf, "data.dat"), nullptr);
    fputs("new\n", sf.fp);
    EXPECT_EQ(read_file("data.dat"), "old\n");
    EXPECT_TRUE(safe_commit(sf));
    EXPECT_EQ(read_file("data.dat"), "new\n");

    ASSERT_NE(safe_open(sf, "data.dat"), nullptr);
    fputs("dropped\n", sf.fp);
    safe_abort(sf);
    EXPECT_EQ(read_file("data.dat"), "new\n");

    // The rename fails: the final name is a directory. (A failed flush is
    // checked through the writers, on a full disk.)
    std::filesystem::create_directory("target");
    ASSERT_NE(safe_open(sf, "target"), nullptr);
    EXPECT_FALSE(safe_commit(sf));
    EXPECT_EQ(sf.fp, nullptr);
    EXPECT_TRUE(std::filesystem::is_directory("target"));
    EXPECT_EQ(entries(), 2u);
}

} // namespace
