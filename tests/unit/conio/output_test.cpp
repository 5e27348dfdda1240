#include "testutil.h"

namespace {

// Output goes into a scratch file that the tests read back.
class OutputTest : public TempDirTest {
  protected:
    void SetUp() override {
        TempDirTest::SetUp();
        sink = tmpfile();
        set_o_file(sink);
    }
    void TearDown() override {
        TempDirTest::TearDown();
        fclose(sink);
        unsetenv("VARNOK_PRINTER");
    }
    // Everything written since the last call.
    std::string taken(FILE *fp = nullptr) {
        fp = fp != nullptr ? fp : sink;
        fflush(fp);
        std::string text = read_file("/proc/self/fd/" + std::to_string(fileno(fp)));
        rewind(fp);
        EXPECT_EQ(ftruncate(fileno(fp), 0), 0);
        return text;
    }
    std::string line() {
        o_newline(0);
        return taken();
    }
    FILE *sink = nullptr;
};

TEST_F(OutputTest, FieldsLandInTheirColumns) {
    o_lstring("AB", 10, false);
    EXPECT_EQ(line(), "         AB\n");
    set_tabs_allowed(true);
    o_lstring("AB", 10, false);
    o_lstring("X", 17, false);
    EXPECT_EQ(line(), "\t AB\tX\n");
    set_tabs_allowed(false);
    // A tab already on the line counts up to the next multiple of 8.
    o_char('\t', 0, false);
    o_lstring("X", 12, false);
    EXPECT_EQ(line(), "\t   X\n");
    // Columns 0 and 1 mean the current position.
    o_lstring("A", 0, true);
    o_lstring("B", 1, false);
    EXPECT_EQ(line(), "AB\n");

    // A passed column appends, or with force leaves exactly one blank.
    o_lstring("ABCDEFGHIJ", 0, false);
    o_lstring("X", 5, false);
    o_lstring("Y", 5, true);
    o_lstring(" ", 0, false);
    o_lstring("Z", 5, true);
    EXPECT_EQ(line(), "ABCDEFGHIJX Y Z\n");
    // Text wider than the room to its right edge follows the last field.
    o_lstring("ABC", 0, false);
    o_rstring("LONGER", 4, true);
    o_rnumber(7, 12, true, 10);
    EXPECT_EQ(line(), "ABC LONGER 7\n");
}

TEST_F(OutputTest, MoneyFixedPointAndOtherFields) {
    // The credit's ")" hangs one column past the right edge.
    o_rmoney(-1234, 20, false);
    EXPECT_EQ(line(), std::string(13, ' ') + "$(12.34)\n");
    o_lstring("X", 0, false);
    o_rmoney(-100000, 0, true);
    o_rmoney(0, 0, true);
    EXPECT_EQ(line(), "X $(1000.00) $0.00\n");

    o_fixed_number(5, 0, false, 10, 2);
    o_fixed_number(-1234, 0, true, 10, 2);
    o_fixed_number(-5, 0, true, 10, 2);
    o_fixed_number(5, 0, true, 10, 0);
    o_fixed_number(0, 0, true, 10, 3);
    o_fixed_number(0x1234, 0, true, 16, 2);
    o_fixed_number(1500, 35, false, 10, 3);
    EXPECT_EQ(line(), "0.05 -12.34 -0.05 5. 0.000 12.34  1.500\n");

    // Months roll into the next or previous year; the year is placed like
    // the day, so with force on it gets a blank of its own.
    o_ldate(7, 6, 2005, 0, false);
    o_ldate(1, 13, 2005, 0, true);
    o_ldate(31, 0, 2005, 0, true);
    EXPECT_EQ(line(), "7-June-2005 1-January- 2006 31-December- 2004\n");
}

TEST_F(OutputTest, NewlineWithALineNumberPadsDownThePage) {
    for (int i = 1; i < 10; ++i)
        o_newline(0);
    taken();
    o_lstring("X", 0, false);
    o_newline(60);
    EXPECT_EQ(taken(), std::string(50, '\n') + "X\n");

    // A line already passed adds no empty lines.
    o_lstring("Y", 0, false);
    o_newline(30);
    EXPECT_EQ(taken(), "Y\n");

    // Newlines inside a line are counted: "a\nb" leaves the count at 3.
    set_o_file(sink); // count back to 1
    o_lstring("a\nb", 0, false);
    o_newline(0);
    o_lstring("c", 0, false);
    o_newline(5);
    EXPECT_EQ(taken(), "a\nb\n\n\nc\n");
}

TEST_F(OutputTest, TwoHundredPendingCharactersAreFlushed) {
    o_lstring(std::string(150, 'a').c_str(), 0, false);
    o_lstring(std::string(49, 'a').c_str(), 0, false);
    EXPECT_EQ(taken(), ""); // 199 characters are still pending
    o_char('c', 0, false);
    EXPECT_EQ(taken(), std::string(199, 'a') + "c");

    // The pending line is empty again, so columns count from its start.
    o_lstring("X", 3, false);
    EXPECT_EQ(line(), "  X\n");

    // Newlines written straight through still count as lines of the page:
    // the count is 2 after the line above and 4 after the block.
    std::string block = std::string(100, 'x') + "\n" + std::string(100, 'y') + "\n";
    o_lstring(block.c_str(), 0, false);
    o_lstring("Z", 0, false);
    o_newline(6);
    EXPECT_EQ(taken(), block + "\n\nZ\n");
}

TEST_F(OutputTest, PendingLineFollowsSetOFileAndDiesWithCloseAndAFailedCloseKeepsTheOldFile) {
    FILE *other = tmpfile();
    o_lstring("partial", 0, false);
    EXPECT_EQ(set_o_file(other), sink);
    EXPECT_EQ(taken(other), "partial");
    // A failed open keeps the pending line for the next destination.
    o_lstring("held", 0, false);
    output_of([] { EXPECT_EQ(open_o_file("no-dir/X.LIS", "output"), nullptr); });
    EXPECT_EQ(get_o_file(), nullptr);
    set_o_file(sink);
    fclose(other);
    EXPECT_EQ(taken(), "held");

    // Closing drops the unfinished line.
    write_file("REPORT.LIS", "old\n");
    FILE *fp = open_o_file("REPORT.LIS", "output");
    ASSERT_NE(fp, nullptr);
    EXPECT_EQ(get_o_file(), fp);
    o_lstring("kept", 0, false);
    o_newline(0);
    o_lstring("lost", 0, false);
    fflush(fp);
    EXPECT_EQ(read_file("REPORT.LIS"), "old\n"); // replaced only at close
    EXPECT_EQ(close_o_file(fp, "REPORT.LIS", "output"), 0);
    EXPECT_EQ(get_o_file(), stdout);
    EXPECT_EQ(read_file("REPORT.LIS"), "kept\n");

    // A close that fails (on a full disk) keeps the old file.
    fp = open_o_file("REPORT.LIS", "statements");
    o_lstring(std::string(15000, 'z').c_str(), 0, false);
    o_newline(0);
    int code = -1;
    std::string messages =
        run_on_full_disk([&] { return close_o_file(fp, "REPORT.LIS", "statements") != 0; }, code);
    EXPECT_EQ(code, 0);
    EXPECT_TRUE(has(messages, "? Unable to close statements file \"REPORT.LIS\"\n")) << messages;
    EXPECT_EQ(read_file("REPORT.LIS"), "kept\n");
    EXPECT_EQ(entries(), 1u);
}

TEST_F(OutputTest, PrinterStandInAndItsFailures) {
    write_file("spool.sh", "cat > \"$1\"\n");
    setenv("VARNOK_PRINTER", "sh spool.sh  printed", 1);
    FILE *fp = open_o_file("LPT1:", "printing");
    ASSERT_NE(fp, nullptr);
    set_insertReturn(true);
    o_lstring("Hello", 3, false);
    o_newline(0);
    o_formfeed();
    EXPECT_EQ(close_o_file(fp, "LPT1:", "for printer"), 0);
    EXPECT_EQ(get_o_file(), stdout);
    EXPECT_EQ(read_file("printed"), "  Hello\r\n\r\n\f");

    // (A missing spooler is the print transcripts'.) A spooler's failure status
    // fails the close, and one that stops reading must not take the program
    // down with SIGPIPE.
    for (const char *body : {"cat >/dev/null\nexit 3\n", "exit 0\n"}) {
        SCOPED_TRACE(body);
        write_file("spool.sh", body);
        fp = open_o_file("LPT1:", "printing");
        ASSERT_NE(fp, nullptr);
        o_lstring(std::string(200000, 'p').c_str(), 0, false);
        std::string out =
            output_of([&] { EXPECT_NE(close_o_file(fp, "LPT1:", "for printer"), 0); });
        EXPECT_TRUE(has(out, "? Unable to close for printer file \"LPT1:\"\n"));
    }
}

} // namespace
