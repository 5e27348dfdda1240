// The field parsers, alone and behind their questions.
#include <tuple>

#include "testutil.h"

namespace {

using ParseTest = TempDirTest;

// Answers one question with `input` and returns what it printed.
template <typename F> std::string dialogue(const std::string &input, F question) {
    feed_input(input);
    return output_of(question);
}

TEST_F(ParseTest, FindCommandPrefersAnExactMatchToAPrefix) {
    const char *const table[] = {"NOTE", "NO", "LIST", "LISTING", nullptr};
    const std::pair<const char *, int> cases[] = {{"NO", 1},    {"N", -1},    {"NOT", 0},
                                                  {"LIST", 2},  {"LISTI", 3}, {"X", -2},
                                                  {"note", -2}, {"", -1}};
    for (auto [word, index] : cases)
        EXPECT_EQ(find_command(word, table), index) << word;
}

// The tilde, the blank answer and the refused answer of the word, line,
// number and menu questions.
TEST_F(ParseTest, WordsLinesNumbersAndMenus) {
    static const char *const table[] = {"ALPHA", "BETA", "BETTER", nullptr};
    const std::tuple<const char *, std::string (*)(), const char *, const char *> cases[] = {
        {"~\n", [] { return take(get_word("W", "X", true)); }, "", "W [X]: "},
        {"?\n~\n", [] { return take(get_word("W", "", true)); }, "~",
         "Enter a word (a string containing no spaces).\nW: "},
        {"?\nx\n", [] { return take(get_word("W", "D", true)); }, "X",
         "Enter a word (a string containing no spaces).\nEnter tilde ~ to leave the word "
         "blank.\nW [D]: "},
        {"?\n~\n", [] { return take(get_line("L", "X", false, false)); }, "~",
         "Enter a line of text.\nL [X]: "},
        {"~\n", [] { return take(get_line("L", "", false, true)); }, "", "L: "},
        {"?\n\n", [] { return take(get_line("L", "X", false, true)); }, "X",
         "Enter a line of text.\nEnter tilde ~ to leave the line blank.\nL [X]: "},
        {"\n", [] { return std::to_string(get_number("N", 7)); }, "7", "N [7]: "},
        {"5x\n-3\n", [] { return std::to_string(get_number("N", 7)); }, "-3",
         "? Improper format for a number: \"5X\"\n"},
        {"?\nq\nbe\n~\nbett\n", [] { return std::to_string(get_list("M", "", table, false)); }, "2",
         "ALPHA\nBETA\nBETTER\nM: ? Unrecognized \"Q\"\nM: ? Ambiguous - please type a longer "
         "string - \"BE\"\nM: ? Ambiguous - please type a longer string - \"\"\n"},
        {"~\n", [] { return std::to_string(get_list("M", "", table, true)); }, "-1", "M: "},
    };
    for (auto [input, ask, result, printed] : cases) {
        std::string answer;
        std::string out = dialogue(input, [&] { answer = ask(); });
        EXPECT_EQ(answer, result) << input;
        EXPECT_TRUE(has(out, printed)) << input << out;
    }
}

TEST_F(ParseTest, Dates) {
    const std::tuple<const char *, int, int, int> cases[] = {
        {"12-25-05", 12, 25, 2005},  {"12/25/55", 12, 25, 1955}, {"1.1.54", 1, 1, 2054},
        {"3-4-1999", 3, 4, 1999},    {"2-29-05", 2, 29, 2005},   {"0-15-05", 0, 15, 2005},
        {"5 JUNE 2005", 6, 5, 2005}, {"SEP 5 05", 9, 5, 2005},   {"au", 8, 0, -1}};
    int mm, dd, yy;
    for (auto [text, month, day, year] : cases) {
        ASSERT_TRUE(parse_date(text, &mm, &dd, &yy)) << text;
        EXPECT_EQ(std::vector<int>({mm, dd, yy}), std::vector<int>({month, day, year})) << text;
    }
    for (const char *bad : {"12-25", "2-30-05", "13-1-05", "MA", "JU 5 2005"})
        EXPECT_FALSE(parse_date(bad, &mm, &dd, &yy)) << bad;

    // A missing month, day or year comes from the default.
    const std::tuple<const char *, const char *, const char *> asked[] = {
        {"\n", "7-June-2005", "7-June-2005"},
        {"march\n", "7-June-2005", "7-March-2005"},
        {"0-15-05\n", "7-June-2005", "15-June-2005"},
        {"feb\n3-1-05\n", "1-31-2005", "1-March-2005"}, // no February 31
        {"0-5-05\n4-5-05\n", "", "5-April-2005"}};
    for (auto [input, def, result] : asked) {
        std::string d;
        dialogue(input, [&] { d = take(get_date("Date", def)); });
        EXPECT_EQ(d, result) << input;
    }
}

TEST_F(ParseTest, TimesTakeMinutesAloneAsTheNextSuchMinute) {
    const std::tuple<long, const char *, long> cases[] = {
        {630, "5\n", 665},    {630, "45\n", 645},  {630, "30\n", 630},
        {1430, "05\n", 1445}, {630, "\n", 630},    {630, "1430\n", 870},
        {630, "9:15\n", 555}, {630, "915\n", 555}, {630, "24:00\n12:60\n9:15\n", 555}};
    for (auto [old, input, result] : cases) {
        long t = 0;
        dialogue(input, [&] { t = get_time("Start", old); });
        EXPECT_EQ(t, result) << input;
    }
}

TEST_F(ParseTest, FixedPointKeepsBothSignQuirks) {
    const std::tuple<const char *, bool, long> cases[] = {
        {"12.5", false, 1250}, {"12.345", false, 1234}, {".5", false, 50},
        {"", false, 350},      {"-.25", false, 75},     {"-.25", true, -25},
        {"-0.25", false, 25},  {"-12.5", true, -1250}};
    for (auto [input, negative, result] : cases) {
        long n = 0;
        dialogue(input + std::string("\n"),
                 [&] { n = get_fixed_number("Rate", 2, "3.50", negative); });
        EXPECT_EQ(n, result) << input;
    }
    long n = 0;
    std::string out = dialogue("-12.5\n1.2x\n99999999999999999999\n1\n",
                               [&] { n = get_fixed_number("Rate", 2, "", false); });
    EXPECT_EQ(n, 100);
    EXPECT_TRUE(has(out, "? Negative number not allowed.\n")) << out;
    EXPECT_TRUE(has(out, "? Bad format for a number: \"1.2X\"\n")) << out;
    EXPECT_TRUE(has(out, "? Bad format for a number: \"99999999999999999999\"\n")) << out;
}

TEST_F(ParseTest, PhoneNumbers) {
    const std::tuple<const char *, bool, const char *> cases[] = {
        {"(617) 555-1212 X 23", true, "(617)555-1212 X23"},
        {"617 555-1212", true, "(617)555-1212"},
        {"(617) 555 1212", true, "(617)555-1212"},
        {"6175551212", true, "(617)555-1212"},
        {"555 1212 X7", true, "555-1212 X7"},
        {"011 44 20 1234", true, "011 44 20 1234"}, // international: no pattern fits
        {"011 555 1212", true, "(011)555-1212"},    // but this one fits one
        {"(617)555-1212 X100000", false, "(617)555-1212 X100000"},
        {"000-1212", false, "000-1212"},
        {"555-1212 x 7", false, "555-1212 x 7"}};
    for (auto [text, valid, normal] : cases) {
        EXPECT_EQ(is_valid_phone(text), valid) << text;
        EXPECT_EQ(take(normalize_phone(text)), normal);
    }
    // (The question that follows is the customer transcripts'.)
    std::string p;
    dialogue("home\ny\n", [&] { p = take(get_phone("Phone", "")); });
    EXPECT_EQ(p, "HOME");
}

TEST_F(ParseTest, FileNamesFillTheMissingPartFromTheDefault) {
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"VNKSTMNT.LIS", "MAY\n", "MAY.LIS"}, {"VNKSTMNT.LIS", ".TXT\n", "VNKSTMNT.TXT"},
        {"VNKSTMNT.LIS", "~\n", ""},          {"", "OUT\n", "OUT."},
        {"VNKSTMNT.LIS", "a.b.c\n", "a.b"},   {"VNKSTMNT.LIS", "..\nx\n", "x.LIS"}};
    for (auto [def, input, result] : cases) {
        std::string f;
        dialogue(input, [&] { f = take(get_filename("File", def)); });
        EXPECT_EQ(f, result) << input;
    }
}

TEST_F(ParseTest, FieldScanning) {
    const char *line = "A\t\tC\tD";
    const std::tuple<int, bool, const char *, const char *> cases[] = {
        {1, false, "A", "\tC\tD"}, {2, false, "", "C\tD"}, {1, true, "A", "C\tD"},
        {2, true, "C", "D"},       {3, true, "D", ""},     {4, true, "", ""}};
    for (auto [n, runs, field, after] : cases) {
        EXPECT_STREQ(i_getField("\t", line, n, runs), field) << n << runs;
        EXPECT_EQ(take(i_afterField("\t", line, n, runs)), after) << n << runs;
    }
    // Separators before the first field are never skipped; fields are cut.
    EXPECT_STREQ(i_getField(nullptr, "  word next", 2, true), "word");
    EXPECT_EQ(strlen(i_getField(nullptr, std::string(300, 'f').c_str(), 1, false)), 200u);
}

} // namespace
