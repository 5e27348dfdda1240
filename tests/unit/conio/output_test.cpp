#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <sys/resource.h>
#include <unistd.h>

#include "conio/iosubs.h"
#include "conio/output_state.h"
#include "testutil.h"

namespace fs = std::filesystem;

namespace {

std::string read_stream(FILE *fp) {
    fflush(fp);
    rewind(fp);
    std::string text;
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, fp)) > 0)
        text.append(buf, n);
    return text;
}

bool has(const std::string &text, const std::string &part) {
    return text.find(part) != std::string::npos;
}

// Output goes into a scratch file that the tests read back.
class OutputTest : public TempDirTest {
  protected:
    void SetUp() override {
        TempDirTest::SetUp();
        sink = tmpfile();
        ASSERT_NE(sink, nullptr);
        set_o_file(sink);
    }
    void TearDown() override {
        TempDirTest::TearDown();
        fclose(sink);
        unsetenv("VARNOK_PRINTER");
    }
    std::string written() { return read_stream(sink); }
    void empty_sink() {
        written();
        rewind(sink);
        if (ftruncate(fileno(sink), 0) != 0)
            ADD_FAILURE() << "cannot empty the sink";
    }
    // Ends the line and returns everything written since the last call.
    std::string line() {
        o_newline(0);
        std::string text = written();
        empty_sink();
        return text;
    }
    std::string script(const std::string &name, const std::string &body) {
        fs::path path = dir_ / name;
        write_file(path, "#!/bin/sh\n" + body);
        fs::permissions(path, fs::perms::owner_all);
        return path;
    }
    size_t entries() {
        return static_cast<size_t>(std::distance(fs::directory_iterator(dir_), {}));
    }

    FILE *sink = nullptr;
};

TEST_F(OutputTest, FieldsLandInTheirColumns) {
    o_lstring("AB", 10, false);
    EXPECT_EQ(line(), "         AB\n");

    set_tabs_allowed(true);
    o_lstring("AB", 10, false);
    EXPECT_EQ(line(), "\t AB\n");
    o_lstring("X", 17, false);
    EXPECT_EQ(line(), "\t\tX\n");
    set_tabs_allowed(false);

    o_rstring("123", 10, false);
    EXPECT_EQ(line(), "       123\n");

    // A tab already on the line counts up to the next multiple of 8.
    o_char('\t', 0, false);
    o_lstring("X", 12, false);
    EXPECT_EQ(line(), "\t   X\n");

    // Columns 0 and 1 mean the current position.
    o_lstring("A", 0, true);
    o_lstring("B", 1, false);
    EXPECT_EQ(line(), "AB\n");
}

TEST_F(OutputTest, PassedColumnAppendsOrForcesOneBlank) {
    o_lstring("ABCDEFGHIJ", 0, false);
    o_lstring("X", 5, false);
    EXPECT_EQ(line(), "ABCDEFGHIJX\n");

    o_lstring("ABCDEFGHIJ", 0, false);
    o_lstring("X", 5, true);
    EXPECT_EQ(line(), "ABCDEFGHIJ X\n");

    o_lstring("ABCDEFGHIJ ", 0, false);
    o_lstring("X", 5, true);
    EXPECT_EQ(line(), "ABCDEFGHIJ X\n");

    // Text longer than the room to its right edge follows the previous field.
    o_lstring("ABC", 0, false);
    o_rstring("LONGER", 4, true);
    o_rnumber(7, 12, true, 10);
    EXPECT_EQ(line(), "ABC LONGER 7\n");
}

TEST_F(OutputTest, MoneyHangsTheCreditParenthesis) {
    o_rmoney(-1234, 20, false);
    EXPECT_EQ(line(), std::string(13, ' ') + "$(12.34)\n");
    o_rmoney(5, 20, false);
    EXPECT_EQ(line(), std::string(15, ' ') + "$0.05\n");

    o_lstring("X", 0, false);
    o_rmoney(-100000, 0, true);
    o_rmoney(0, 0, true);
    EXPECT_EQ(line(), "X $(1000.00) $0.00\n");
}

TEST_F(OutputTest, NumbersInAnyRadix) {
    o_lnumber(255, 0, false, 16);
    o_lnumber(35, 0, true, 36);
    o_lnumber(-10, 0, true, 2);
    o_lnumber(0, 0, true, 8);
    o_lnumber(LONG_MIN, 0, true, 10);
    EXPECT_EQ(line(), "FF Z -1010 0 -9223372036854775808\n");

    start_capture();
    o_lnumber(42, 0, false, 1);
    o_rnumber(-42, 6, true, 37);
    std::string messages = end_capture();
    EXPECT_EQ(line(), "42 -42\n");
    EXPECT_TRUE(has(messages, "? Bad radix 1.\n")) << messages;
    EXPECT_TRUE(has(messages, "? Bad radix 37.\n")) << messages;
}

TEST_F(OutputTest, FixedPointNumbers) {
    o_fixed_number(5, 0, false, 10, 2);
    o_fixed_number(-1234, 0, true, 10, 2);
    o_fixed_number(-5, 0, true, 10, 2);
    o_fixed_number(5, 0, true, 10, 0);
    o_fixed_number(0, 0, true, 10, 3);
    o_fixed_number(0x1234, 0, true, 16, 2);
    o_fixed_number(123456, 0, true, 10, 3);
    EXPECT_EQ(line(), "0.05 -12.34 -0.05 5. 0.000 12.34 123.456\n");

    o_lstring("AB", 0, false);
    o_fixed_number(1500, 5, false, 10, 3);
    o_fixed_number(1500, 8, true, 10, 3);
    EXPECT_EQ(line(), "AB  1.500 1.500\n");
}

TEST_F(OutputTest, TimesHeightsAndDates) {
    o_rtime_of_day(605, 10, false);
    o_amount_of_time(59, 0, true);
    o_rtow_height(25, 22, false);
    EXPECT_EQ(line(), "     10:05 0:59   2.5K\n");

    // Months roll into the next or previous year; the year is placed like
    // the day, so with force on it gets a blank of its own.
    o_ldate(7, 6, 2005, 0, false);
    o_ldate(1, 13, 2005, 0, true);
    o_ldate(31, 0, 2005, 0, true);
    EXPECT_EQ(line(), "7-June-2005 1-January- 2006 31-December- 2004\n");
}

TEST_F(OutputTest, LineEndsMoveDownThePage) {
    for (int i = 1; i < 10; ++i)
        o_newline(0);
    empty_sink();
    o_lstring("X", 0, false);
    o_newline(60);
    EXPECT_EQ(written(), std::string(50, '\n') + "X\n");
    empty_sink();

    // A line already passed adds no empty lines.
    o_lstring("Y", 0, false);
    o_newline(30);
    EXPECT_EQ(written(), "Y\n");
    empty_sink();

    // Newlines inside a line are counted: "a\nb" leaves the count at 3.
    set_o_file(sink); // count back to 1
    o_lstring("a\nb", 0, false);
    o_newline(0);
    o_lstring("c", 0, false);
    o_newline(5);
    EXPECT_EQ(written(), "a\nb\n\n\nc\n");
}

TEST_F(OutputTest, CarriageReturnsAndFormFeeds) {
    EXPECT_FALSE(set_insertReturn(true));
    o_lstring("A", 0, false);
    o_newline(0);
    o_lstring("B", 0, false);
    o_formfeed();
    // The page starts over at line 1.
    o_lstring("C", 0, false);
    o_newline(3);
    EXPECT_TRUE(set_insertReturn(false));
    o_formfeed();
    EXPECT_EQ(written(), "A\r\nB\r\n\f\n\nC\r\n\n\f");
}

TEST_F(OutputTest, LongTextGoesStraightThrough) {
    std::string first(150, 'a');
    o_lstring(first.c_str(), 0, false);
    o_lstring(std::string(49, 'b').c_str(), 0, false);
    EXPECT_EQ(written(), ""); // 199 characters are still pending
    o_char('c', 0, false);
    EXPECT_EQ(written(), first + std::string(49, 'b') + "c");

    // The pending line is empty again, so columns count from its start.
    o_lstring("X", 3, false);
    EXPECT_EQ(line(), first + std::string(49, 'b') + "c  X\n");

    // Newlines written directly still count as lines of the page: the count
    // is 2 after the line above and 4 after the block.
    std::string block = std::string(100, 'x') + "\n" + std::string(100, 'y') + "\n";
    o_lstring(block.c_str(), 0, false);
    o_lstring("Z", 0, false);
    o_newline(6);
    EXPECT_EQ(written(), block + "\n\nZ\n");
}

TEST_F(OutputTest, PendingLineAndDestinations) {
    FILE *other = tmpfile();
    o_lstring("partial", 0, false);
    EXPECT_EQ(set_o_file(other), sink);
    EXPECT_EQ(get_o_file(), other);
    EXPECT_EQ(read_stream(other), "partial");
    o_newline(0);
    set_o_file(sink);
    fclose(other);

    set_tabs_allowed(true);
    set_insertReturn(true);
    const char *path = "REPORT.LIS";
    FILE *fp = open_o_file(path, "output");
    ASSERT_NE(fp, nullptr);
    EXPECT_EQ(get_o_file(), fp);
    EXPECT_FALSE(set_tabs_allowed(false));
    EXPECT_FALSE(set_insertReturn(false));
    o_lstring("kept", 0, false);
    o_newline(0);
    o_lstring("lost", 0, false);
    EXPECT_EQ(close_o_file(fp, path, "output"), 0);
    EXPECT_EQ(get_o_file(), stdout);
    EXPECT_EQ(read_file(path), "kept\n");
    EXPECT_EQ(entries(), 1u);
}

TEST_F(OutputTest, FailedOpenDiscardsOutput) {
    const char *path = "missing/OUT.LIS";
    start_capture();
    o_lstring("before", 0, false);
    EXPECT_EQ(open_o_file(path, "output"), nullptr);
    EXPECT_EQ(get_o_file(), nullptr);
    o_lstring("gone", 0, false);
    o_newline(0);
    std::string messages = end_capture();
    EXPECT_TRUE(has(messages, "? Unable to open output file \"missing/OUT.LIS\"\n")) << messages;
    EXPECT_FALSE(has(messages, "gone"));

    set_o_file(sink);
    o_lstring("after", 0, true);
    EXPECT_EQ(line(), "after\n");
}

TEST_F(OutputTest, WrittenFileReplacesTheOldOneOnlyAtClose) {
    const char *path = "VNKSTMNT.LIS";
    write_file(path, "old\n");
    FILE *fp = open_o_file(path, "statements");
    ASSERT_NE(fp, nullptr);
    o_lstring("new", 0, false);
    o_newline(0);
    fflush(fp);
    EXPECT_EQ(read_file(path), "old\n");
    EXPECT_EQ(close_o_file(fp, path, "statements"), 0);
    EXPECT_EQ(read_file(path), "new\n");
    EXPECT_EQ(entries(), 1u);

    // Two files may be open at once; each lands under its own name.
    const char *second = "VNKTIMES.LIS";
    FILE *a = open_o_file(path, "statements");
    o_lstring("A", 0, false);
    o_newline(0);
    FILE *b = open_o_file(second, "times");
    o_lstring("B", 0, false);
    o_newline(0);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(close_o_file(a, path, "statements"), 0);
    EXPECT_EQ(close_o_file(b, second, "times"), 0);
    EXPECT_EQ(read_file(path), "A\n");
    EXPECT_EQ(read_file(second), "B\n");
    EXPECT_EQ(entries(), 2u);
}

TEST_F(OutputTest, FailedCloseKeepsTheOldFile) {
    const char *path = "VNKSTMNT.LIS";
    write_file(path, "old\n");
    FILE *fp = open_o_file(path, "statements");
    ASSERT_NE(fp, nullptr);
    std::string chunk(150, 'z');
    for (int i = 0; i < 100; ++i) {
        o_lstring(chunk.c_str(), 0, false);
        o_newline(0);
    }

    // A file size limit makes the final flush fail as a full disk would.
    struct rlimit saved {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
    struct rlimit small = saved;
    small.rlim_cur = 1000;
    auto old_handler = signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    start_capture();
    int rc = close_o_file(fp, path, "statements");
    setrlimit(RLIMIT_FSIZE, &saved);
    std::string messages = end_capture();
    signal(SIGXFSZ, old_handler);

    EXPECT_NE(rc, 0);
    EXPECT_TRUE(has(messages, "? Unable to close statements file \"VNKSTMNT.LIS\"\n")) << messages;
    EXPECT_EQ(read_file(path), "old\n");
    EXPECT_EQ(entries(), 1u);
    EXPECT_NE(get_o_file(), fp);
}

TEST_F(OutputTest, PrinterPipesToTheSpooler) {
    std::string spooler = script("spool", "cat > \"$1\"\n");
    setenv("VARNOK_PRINTER", (spooler + "  printed").c_str(), 1);
    FILE *fp = open_o_file("LPT1:", "printing");
    ASSERT_NE(fp, nullptr);
    set_insertReturn(true);
    o_lstring("Hello", 3, false);
    o_newline(0);
    o_formfeed();
    EXPECT_EQ(close_o_file(fp, "LPT1:", "for printer"), 0);
    EXPECT_EQ(get_o_file(), stdout);
    EXPECT_EQ(read_file("printed"), "  Hello\r\n\r\n\f");
}

TEST_F(OutputTest, PrinterFailuresAreReported) {
    setenv("VARNOK_PRINTER", "./no-such-spooler", 1);
    {
        start_capture();
        EXPECT_EQ(open_o_file("LPT1:", "printing"), nullptr);
        std::string messages = end_capture();
        EXPECT_TRUE(has(messages, "? Unable to open printing file \"LPT1:\"\n")) << messages;
    }

    // A spooler that gives up: its exit status makes the close fail.
    setenv("VARNOK_PRINTER", script("refuse", "cat >/dev/null\nexit 3\n").c_str(), 1);
    FILE *fp = open_o_file("LPT1:", "printing");
    ASSERT_NE(fp, nullptr);
    o_lstring("job", 0, false);
    o_newline(0);
    {
        start_capture();
        EXPECT_NE(close_o_file(fp, "LPT1:", "for printer"), 0);
        std::string messages = end_capture();
        EXPECT_TRUE(has(messages, "? Unable to close for printer file \"LPT1:\"\n")) << messages;
    }

    // A spooler that stops reading must not take the program down with it.
    set_o_file(sink);
    setenv("VARNOK_PRINTER", script("quit", "exit 0\n").c_str(), 1);
    fp = open_o_file("LPT1:", "printing");
    ASSERT_NE(fp, nullptr);
    std::string chunk(1000, 'p');
    for (int i = 0; i < 200; ++i)
        o_lstring(chunk.c_str(), 0, false);
    start_capture();
    EXPECT_NE(close_o_file(fp, "LPT1:", "for printer"), 0);
    end_capture();
}

} // namespace
