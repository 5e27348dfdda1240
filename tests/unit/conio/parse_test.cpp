#include "testutil.h"

namespace {

using ParseTest = TempDirTest;

TEST_F(ParseTest, FindCommandByUniquePrefix) {
    const char *const table[] = {"NOTE", "NO", "LIST", "LISTING", nullptr};
    EXPECT_EQ(find_command("NO", table), 1); // exact match after a prefix match
    EXPECT_EQ(find_command("N", table), -1);
    EXPECT_EQ(find_command("NOT", table), 0);
    EXPECT_EQ(find_command("LISTI", table), 3);
    EXPECT_EQ(find_command("X", table), -2);
    EXPECT_EQ(find_command("note", table), -2);
    EXPECT_EQ(find_command("", table), -1);
    EXPECT_EQ(find_command(nullptr, table), -1);
    EXPECT_EQ(find_command("", yesno), -1);
    EXPECT_EQ(find_command("Y", yesno), 1);
}

struct DateCase {
    const char *text;
    bool ok;
    int month, day, year;
};

TEST_F(ParseTest, ParseDate) {
    const DateCase cases[] = {
        {"12-25-05", true, 12, 25, 2005},
        {"12/25/55", true, 12, 25, 1955},
        {"1.1.54", true, 1, 1, 2054},
        {"1-1-0", true, 1, 1, 2000},
        {"3-4-1999", true, 3, 4, 1999},
        {"3-4-155", true, 3, 4, 155},
        {"2-29-05", true, 2, 29, 2005},
        {"0-15-05", true, 0, 15, 2005},
        {"5 JUNE 2005", true, 6, 5, 2005},
        {"june 5, 2005", true, 6, 5, 2005},
        {"SEP 5 05", true, 9, 5, 2005},
        {"MARCH", true, 3, 0, -1},
        {"au", true, 8, 0, -1},
        {"12-25", false, 0, 0, 0},
        {"2-30-05", false, 0, 0, 0},
        {"4-31-05", false, 0, 0, 0},
        {"13-1-05", false, 0, 0, 0},
        {"12", false, 0, 0, 0},
        {"", false, 0, 0, 0},
        {"MA", false, 0, 0, 0},
        {"JU 5 2005", false, 0, 0, 0},
        {"12-25-X5", false, 0, 0, 0},
        {"JUNE FIVE 2005", false, 0, 0, 0},
        {"XMAS", false, 0, 0, 0},
    };
    for (const DateCase &c : cases) {
        int m, d, y;
        bool ok = parse_date(c.text, &m, &d, &y);
        EXPECT_EQ(ok, c.ok) << c.text;
        if (ok && c.ok) {
            EXPECT_EQ(m, c.month) << c.text;
            EXPECT_EQ(d, c.day) << c.text;
            EXPECT_EQ(y, c.year) << c.text;
        }
    }
}

TEST_F(ParseTest, DateConversionsAndComparison) {
    bool ok = false;
    long t = i_convertDateToTime("6-7-2005", &ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(t, 1118102400L);
    EXPECT_EQ(i_convertDateToTime("7-June-2005"), t);
    EXPECT_STREQ(i_convertTimeToString(t), "6-7-2005");
    EXPECT_STREQ(i_convertTimeToQstring(t), "06/07/2005");
    EXPECT_STREQ(i_convertTimeToString(t + 86399), "6-7-2005");
    EXPECT_EQ(i_convertDateToTime(nullptr, &ok), 0);
    EXPECT_FALSE(ok);

    EXPECT_EQ(date_compare("1-1-2006", "12-31-2005"), 1);
    EXPECT_EQ(date_compare("6-7-2005", "6-8-05"), -1);
    EXPECT_EQ(date_compare("7-June-2005", "6-7-2005"), 0);
    EXPECT_EQ(date_compare("6-7-2005", "bogus"), 0);
    EXPECT_EQ(date_compare(nullptr, "6-7-2005"), 0);
}

TEST_F(ParseTest, ParseTime) {
    struct {
        const char *text;
        bool ok;
        int hour, minute;
    } cases[] = {
        {"1430", true, 14, 30}, {"930", true, 9, 30},         {"45", true, 0, 45},
        {"14:", true, 0, 14},   {"10 : 05", true, 10, 5},     {"10 5", true, 10, 5},
        {"0:0", true, 0, 0},    {"-5", true, 0, 5},           {"24:00", false, 0, 0},
        {"12:60", false, 0, 0}, {"1475", false, 0, 0},        {"abc", false, 0, 0},
        {"", false, 0, 0},      {"99999999999", false, 0, 0},
    };
    for (const auto &c : cases) {
        int h = -1, m = -1;
        EXPECT_EQ(parse_time(c.text, &h, &m), c.ok) << c.text;
        if (c.ok) {
            EXPECT_EQ(h, c.hour) << c.text;
            EXPECT_EQ(m, c.minute) << c.text;
        }
    }
}

TEST_F(ParseTest, PhoneNumbers) {
    struct {
        const char *text;
        const char *normal; // null: not valid
    } cases[] = {
        {"(617) 555-1212 X 23", "(617)555-1212 X23"},
        {"(617)555- 1212 X5", "(617)555-1212 X5"},
        {"(617) 555 1212 X99999", "(617)555-1212 X99999"},
        {"617 555-1212 X7", "(617)555-1212 X7"},
        {"( 617 ) 555 - 1212", "(617)555-1212"},
        {"617 555-1212", "(617)555-1212"},
        {"6175551212", "(617)555-1212"},
        {"617 555 1212 X 9", "(617)555-1212 X9"},
        {"555-1212 X 7", "555-1212 X7"},
        {"555 1212 X7", "555-1212 X7"},
        {"555-1212", "555-1212"},
        {"555 1212", "555-1212"},
        {"(001)002-0003", "(001)002-0003"},
        {"(617)555-1212 X100000", nullptr},
        {"000-1212", nullptr},
        {"(617) 555-12345", nullptr},
        {"555-1212 x 7", nullptr},
        {"555-1212 EXT", nullptr},
        {"HOME", nullptr},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(is_valid_phone(c.text), c.normal != nullptr) << c.text;
        char *normal = normalize_phone(c.text);
        EXPECT_STREQ(normal, c.normal != nullptr ? c.normal : c.text) << c.text;
        errfree(normal);
    }
    // International numbers are valid and kept as typed, even when they
    // would fit a US pattern.
    for (const char *text : {"011 44 20 1234", "011 555 1212"}) {
        EXPECT_TRUE(is_valid_phone(text));
        char *normal = normalize_phone(text);
        EXPECT_STREQ(normal, text);
        errfree(normal);
    }
}

TEST_F(ParseTest, FileNames) {
    char base[201], ext[201];
    ASSERT_TRUE(parse_filename("VNKSTMNT.LIS", base, ext));
    EXPECT_STREQ(base, "VNKSTMNT");
    EXPECT_STREQ(ext, "LIS");
    ASSERT_TRUE(parse_filename(".TXT", base, ext));
    EXPECT_STREQ(base, "");
    EXPECT_STREQ(ext, "TXT");
    ASSERT_TRUE(parse_filename("X.Y.Z", base, ext));
    EXPECT_STREQ(base, "X");
    EXPECT_STREQ(ext, "Y");
    ASSERT_TRUE(parse_filename("OUT", base, ext));
    EXPECT_STREQ(ext, "");
    EXPECT_FALSE(parse_filename("", base, ext));
    EXPECT_FALSE(parse_filename("...", base, ext));
    std::string longname(300, 'n');
    ASSERT_TRUE(parse_filename(longname.c_str(), base, ext));
    EXPECT_EQ(strlen(base), 200u);
}

TEST_F(ParseTest, FieldScanning) {
    const char *line = "A\t\tC\tD";
    EXPECT_STREQ(i_getField("\t", line, 1, false), "A");
    EXPECT_STREQ(i_getField("\t", line, 2, false), "");
    EXPECT_STREQ(i_getField("\t", line, 3, false), "C");
    EXPECT_STREQ(i_getField("\t", line, 2, true), "C");
    EXPECT_STREQ(i_getField("\t", line, 3, true), "D");
    EXPECT_STREQ(i_getField("\t", line, 4, true), "");
    // Separators before the first field are never skipped.
    EXPECT_STREQ(i_getField(nullptr, "  word next", 1, true), "");
    EXPECT_STREQ(i_getField(nullptr, "  word next", 2, true), "word");
    EXPECT_STREQ(i_getField(",", "x,y", 9, false), "");
    std::string longfield(300, 'f');
    EXPECT_EQ(strlen(i_getField(nullptr, longfield.c_str(), 1, false)), 200u);

    struct {
        int n;
        bool runs;
        const char *after;
    } after[] = {{1, false, "\tC\tD"}, {1, true, "C\tD"}, {3, true, ""}, {0, false, line}};
    for (const auto &c : after) {
        char *rest = i_afterField("\t", line, c.n, c.runs);
        EXPECT_STREQ(rest, c.after) << c.n;
        errfree(rest);
    }
    char *rest = i_afterField(nullptr, "ADD  CUSTOMER  X", 1, true);
    EXPECT_STREQ(rest, "CUSTOMER  X");
    errfree(rest);
}

TEST_F(ParseTest, CharacterClasses) {
    EXPECT_TRUE(is_blank(nullptr));
    EXPECT_TRUE(is_blank(" \t\n"));
    EXPECT_FALSE(is_blank(" \r"));
    EXPECT_TRUE(is_number(""));
    EXPECT_TRUE(is_number(" 42 "));
    EXPECT_FALSE(is_number("-42"));
    EXPECT_FALSE(is_number("4 2"));
    EXPECT_FALSE(is_number("42x"));
    EXPECT_TRUE(is_word("a-b.c"));
    EXPECT_FALSE(is_word("a b"));
    EXPECT_FALSE(is_word("a\tb"));
    char text[] = "mIxed 1";
    EXPECT_EQ(uc_string(text), text);
    EXPECT_STREQ(text, "MIXED 1");
    EXPECT_EQ(uc_string(nullptr), nullptr);
}

} // namespace
