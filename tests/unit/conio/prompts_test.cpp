#include "testutil.h"

namespace {

using PromptTest = TempDirTest;

// Runs one question on the given console input; returns what was printed.
template <typename F> std::string dialogue(const std::string &input, F question) {
    feed_input(input);
    start_capture();
    question();
    return end_capture();
}

std::string take(char *text) {
    std::string s = text != nullptr ? text : "<null>";
    errfree(text);
    return s;
}

bool has(const std::string &text, const std::string &part) {
    return text.find(part) != std::string::npos;
}

TEST_F(PromptTest, WordsAndLines) {
    std::string w;
    std::string out = dialogue("?\n~\n", [&] { w = take(get_word("Abbrev", "OLD", true)); });
    EXPECT_EQ(w, "");
    EXPECT_TRUE(has(out, "Enter a word (a string containing no spaces).\n"
                         "Enter tilde ~ to leave the word blank.\n"));
    out = dialogue("?\n~\n", [&] { w = take(get_word("Abbrev", "", true)); });
    EXPECT_EQ(w, "~");
    EXPECT_FALSE(has(out, "tilde"));

    out = dialogue("?\n~\n", [&] { w = take(get_line("Info", "old info", false, true)); });
    EXPECT_EQ(w, "");
    EXPECT_TRUE(has(out, "Enter a line of text.\nEnter tilde ~ to leave the line blank.\n"));
    dialogue("~\n", [&] { w = take(get_line("Info", "old info", false, false)); });
    EXPECT_EQ(w, "~");
    dialogue("\n", [&] { w = take(get_line("Info", "Old Info", true, false)); });
    EXPECT_EQ(w, "OLD INFO");
}

TEST_F(PromptTest, KeywordMenus) {
    const char *const table[] = {"CUSTOMER", "CATEGORY", "PRICE", nullptr};
    int choice = 0;
    std::string out =
        dialogue("?\nc\nzz\n~\nca\n", [&] { choice = get_list("Remove what", "", table, false); });
    EXPECT_EQ(choice, 1);
    EXPECT_TRUE(has(out, "CUSTOMER\nCATEGORY\nPRICE\n"));
    EXPECT_TRUE(has(out, "? Ambiguous - please type a longer string - \"C\"\n"));
    EXPECT_TRUE(has(out, "? Unrecognized \"ZZ\"\n"));
    // Without allowTilde "~" is the empty word, ambiguous here.
    EXPECT_TRUE(has(out, "? Ambiguous - please type a longer string - \"\"\n"));

    dialogue("~\n", [&] { choice = get_list("Remove what", "PRICE", table, true); });
    EXPECT_EQ(choice, -1);
    dialogue("\n", [&] { choice = get_list("Remove what", "PRICE", table, true); });
    EXPECT_EQ(choice, 2);

    bool yes = true;
    dialogue("\n", [&] { yes = get_yesno("Sure", "N"); });
    EXPECT_FALSE(yes);
    dialogue("y\n", [&] { yes = get_yesno("Sure", "N"); });
    EXPECT_TRUE(yes);

    namelist c{nullptr, alloc_str("GOLD")}, b{&c, alloc_str("SILVER")}, a{&b, alloc_str("GREEN")};
    char *picked = nullptr;
    dialogue("s\n", [&] { picked = get_namelist("Category", "", &a, true); });
    EXPECT_EQ(picked, b.name);
    dialogue("~\n", [&] { picked = get_namelist("Category", "", &a, true); });
    EXPECT_EQ(picked, nullptr);
    errfree(a.name);
    errfree(b.name);
    errfree(c.name);
}

TEST_F(PromptTest, TypeAheadFeedsTheMenu) {
    const char *const table[] = {"CUSTOMER", "PRICE", nullptr};
    int choice = -5;
    std::string out = dialogue("add price\n", [&] {
        errfree(get_commandWord("VARNOK", "", true));
        choice = get_list("Add what", "", table, false);
    });
    EXPECT_EQ(choice, 1);
    EXPECT_EQ(out, "VARNOK: ");
}

TEST_F(PromptTest, Dates) {
    std::string d;
    std::string out =
        dialogue("?\n12-25\n12-25-05\n", [&] { d = take(get_date("Date", "6-7-2005")); });
    EXPECT_EQ(d, "25-December-2005");
    EXPECT_TRUE(has(out, "Date [6-7-2005]: "));
    EXPECT_TRUE(has(out, "Enter a date in the form mm-dd-yy or mm-dd-yyyy.\n"));
    EXPECT_TRUE(has(out, "? Improper format for a date: \"12-25\"\n"));

    struct {
        const char *answer, *result;
    } cases[] = {{"", "7-June-2005"},
                 {"march", "7-March-2005"},
                 {"0-15-05", "15-June-2005"},
                 {"1-2-3", "2-January-2003"},
                 {"5 june 2005", "5-June-2005"}};
    for (const auto &c : cases) {
        dialogue(std::string(c.answer) + "\n", [&] { d = take(get_date("Date", "7-June-2005")); });
        EXPECT_EQ(d, c.result) << c.answer;
    }

    out = dialogue("0-5-05\n4-5-05\n", [&] { d = take(get_date("Date", "")); });
    EXPECT_EQ(d, "5-April-2005");
    EXPECT_TRUE(has(out, "? Improper format for previous date: \"\"\n"));
    EXPECT_TRUE(has(out, "? Improper format for a date: \"0-5-05\"\n"));
    // February 31 made of the answer and the default is no date either.
    out = dialogue("feb\n3-1-05\n", [&] { d = take(get_date("Date", "1-31-2005")); });
    EXPECT_EQ(d, "1-March-2005");
}

TEST_F(PromptTest, Times) {
    long t = 0;
    struct {
        long old;
        const char *answer;
        long result;
    } cases[] = {{630, "5", 665},    {630, "45", 645},   {630, "", 630},
                 {630, "1430", 870}, {1430, "05", 1445}, {630, "9:15", 555}};
    for (const auto &c : cases) {
        dialogue(std::string(c.answer) + "\n", [&] { t = get_time("Start", c.old); });
        EXPECT_EQ(t, c.result) << c.answer;
    }
    std::string out = dialogue("?\n24:00\n9:15\n", [&] { t = get_time("Start", 630); });
    EXPECT_EQ(t, 555);
    EXPECT_TRUE(has(out, "Start [10:30]: "));
    EXPECT_TRUE(has(out, "A time in the format hh:mm (24 hour clock).\n"));
    EXPECT_TRUE(has(out, "? Improper format for a time: \"24:00\"\n"));
}

TEST_F(PromptTest, Numbers) {
    long n = 0;
    std::string out = dialogue("?\n5x\n-12\n", [&] { n = get_number("Count", 3); });
    EXPECT_EQ(n, -12);
    EXPECT_TRUE(has(out, "Count [3]: "));
    EXPECT_TRUE(has(out, "Enter a number.\n"));
    EXPECT_TRUE(has(out, "? Improper format for a number: \"5X\"\n"));
    dialogue("\n", [&] { n = get_number("Count", 3); });
    EXPECT_EQ(n, 3);

    struct {
        const char *answer;
        bool negative;
        long result;
    } cases[] = {{"12.5", false, 1250},  {"12.345", false, 1234}, {".5", false, 50},
                 {"12", false, 1200},    {"12.", false, 1200},    {"", false, 350},
                 {"-.25", false, 75},    {"-.25", true, -25},     {"-0.25", false, 25},
                 {"-12.5", true, -1250}, {"0.07", false, 7}};
    for (const auto &c : cases) {
        dialogue(std::string(c.answer) + "\n",
                 [&] { n = get_fixed_number("Rate", 2, "3.50", c.negative); });
        EXPECT_EQ(n, c.result) << c.answer << " negative " << c.negative;
    }
    out = dialogue("-12.5\n1.2x\n.\n99999999999999999999\n1\n",
                   [&] { n = get_fixed_number("Rate", 2, "", false); });
    EXPECT_EQ(n, 100);
    EXPECT_TRUE(has(out, "? Negative number not allowed.\n"));
    EXPECT_TRUE(has(out, "? Bad format for a number: \"1.2X\"\n"));
    EXPECT_TRUE(has(out, "? Bad format for a number: \".\"\n"));
    EXPECT_TRUE(has(out, "? Bad format for a number: \"99999999999999999999\"\n"));

    double f = 0;
    out = dialogue("-1\nabc\n1.5\n", [&] { f = get_float("Factor", 2.0, false); });
    EXPECT_DOUBLE_EQ(f, 1.5);
    EXPECT_TRUE(has(out, "Factor [2.000000]: "));
    EXPECT_TRUE(has(out, "? Negative number not allowed.\n"));
    EXPECT_TRUE(has(out, "? Bad format for a number: \"ABC\"\n"));
}

TEST_F(PromptTest, Phones) {
    std::string p;
    dialogue("(617) 555-1212 x 23\n", [&] { p = take(get_phone("Phone", "")); });
    EXPECT_EQ(p, "(617)555-1212 X23");
    dialogue("~\n", [&] { p = take(get_phone("Phone", "555-1212")); });
    EXPECT_EQ(p, "");
    dialogue("\n", [&] { p = take(get_phone("Phone", "")); });
    EXPECT_EQ(p, "");
    std::string out = dialogue("?\nhome\ny\n", [&] { p = take(get_phone("Phone", "")); });
    EXPECT_EQ(p, "HOME");
    EXPECT_TRUE(has(out, "Followed by an optional extention Xnnnnn\n"));
    EXPECT_TRUE(has(out, "Phone number \"HOME\" is not a US style phone number.\n"
                         "Use number anyway [N]: "));
    dialogue("home\n\n555 1212\n", [&] { p = take(get_phone("Phone", "")); });
    EXPECT_EQ(p, "555-1212");
}

TEST_F(PromptTest, FileNames) {
    struct {
        const char *def, *answer, *result;
    } cases[] = {{"VNKSTMNT.LIS", "may", "may.LIS"},
                 {"VNKSTMNT.LIS", ".TXT", "VNKSTMNT.TXT"},
                 {"VNKSTMNT.LIS", "", "VNKSTMNT.LIS"},
                 {"VNKSTMNT.LIS", "~", ""},
                 {"", "OUT", "OUT."},
                 {"", "", ""},
                 {"VNKSTMNT.LIS", "a.b.c", "a.b"}};
    std::string f;
    for (const auto &c : cases) {
        dialogue(std::string(c.answer) + "\n",
                 [&] { f = take(get_filename("Output file", c.def)); });
        EXPECT_EQ(f, c.result) << c.def << " / " << c.answer;
    }
    std::string out =
        dialogue("?\n..\nx\n", [&] { f = take(get_filename("Output file", "VNKSTMNT.LIS")); });
    EXPECT_EQ(f, "x.LIS");
    EXPECT_TRUE(has(out, "Output file [VNKSTMNT.LIS]: "));
    EXPECT_TRUE(has(out, "Enter the name of a file.\nEnter \"~\" if no name is desired.\n"));
    EXPECT_TRUE(has(out, "? Bad format for filename \"..\"\n"));
}

} // namespace
