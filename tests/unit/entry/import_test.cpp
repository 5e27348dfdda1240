// IMPORT writes the lines typing the same flights into ENTER writes, refuses with its line every
// row ENTER would not take, and reads quoting, semicolons, synonyms and both encodings.
#include <cstdio>

#include "db/db_fixture.h"
#include "entry/csv_rows.h"
#include "entry/entry.h"
#include "entry/verify.h"

using namespace std::string_literals;

namespace {

const char *const kStored =
    "$VERSION 2\n"
    "6-1-2005\t1\tSMITH,JOHN\tASK21\tSMITH\tO\t\t\tTB\tPAWNEE\t2.0\t9:00\t9:30\t\n";

class ImportTest : public DbTest {
  protected:
    void SetUp() override {
        DbTest::SetUp();
        entry_reset();
        write_masters("$PRICE\tASK21\t1\n\tDEFAULT\t42.000\n$PRICE\tDISCUS\t2\n\tDEFAULT\t48.000\n"
                      "$PRICE\tDEFAULT-TOWHEIGHT\t0\n\tDEFAULT\t2.000\n$TUG\tPAWNEE\n$TUG\tHUSKY\n",
                      customer_record("CASH\t", "CASH\tCASH") + customer_record("LEE\tAL") +
                          customer_record("SMITH\tJOHN", "CREDIT\tFULL"),
                      "JS\tSMITH JOHN\n");
        write_file("VNKFLGHT.HIS", kStored);
    }
    static std::string import(const std::string &csv, const char *remember) {
        write_file("F.CSV", csv);
        feed_input(std::string("F.CSV\n") + remember + "\n");
        return output_of([] { do_import(); });
    }
};

TEST_F(ImportTest, WritesTheLinesThatTypingTheSameFlightsWrites) {
    feed_input("6-5-2005\n"
               "\nJS\n1\nINSTRUCTIONAL\n\nKA\nTB\nPAWNEE\n\n10:00\n10:30\n\n"
               "\n#1234\nDISCUS\nC\nDAVIS\nR. HALL\nTB\n2\n3\n11:00\n11:45\n\n"
               "\nLEE, AL\nN123\nO\n\nO'NEIL; \"JR\"\nTB\nHUSKY\n2.5\n12:00\n20\n\n"
               "0\nYES\n");
    output_of([] { do_flights(true); });
    const std::string typed = read_file("VNKFLGHT.HIS");
    ASSERT_NE(typed, kStored);

    // The typed sheet is put back out of the history, and its temporary
    // copy goes too, or IMPORT would first offer to remember it.
    write_file("VNKFLGHT.HIS", kStored);
    std::remove("VNKFLGHT.TMP");
    fresh_start();
    entry_reset();
    // Semicolons, synonyms in any case, quoting, an empty date and number
    // taking ENTER's defaults, CR LF line ends.
    std::string out = import("date;FLIGHT;Customer;glider;Kind;pilot;Student;cfi;Tug pilot;TUG;"
                             "Release;Start;End\r\n"
                             "2005-06-05;1;js;1;instructional;;;ka;tb;pawnee;;10:00;10:30\r\n"
                             ";;#1234;discus;c;Davis;\"R. HALL\";;TB;2;3;11:00;11:45\r\n"
                             "6-5-2005;3;\"Lee, Al\";N123;O;;\"O'Neil; \"\"Jr\"\"\";;TB;HUSKY;"
                             "2.5;12:00;20\r\n",
                             "YES");
    EXPECT_EQ(read_file("VNKFLGHT.HIS"), typed) << out;
    EXPECT_TRUE(has(out, "3 rows read, 3 taken, 0 refused, 0 duplicates.\n") &&
                has(out, "F.CSV line 4: N123 is not in the prices file"))
        << out;
    EXPECT_EQ(entry.flight_number, 4) << "numbers run on into the next ENTER";
}

TEST_F(ImportTest, RefusesEachRowEnterWouldNotTakeWithItsLine) {
    std::string out = import(
        "date,number,account,aircraft,type,instructor,tow-pilot,tow-plane,tow-height,takeoff,"
        "landing\n"
        "6-5-2005,1,SMITH,ASK21,O,,TB,PAWNEE,2,10:00,10:30\n" // taken
        "6-5-2005,2,NOBODY,ASK21,O,,TB,PAWNEE,2,10:00,10:30\n"
        "13-45-2005,3,SMITH,ASK21,O,,TB,PAWNEE,2,10:00,10:30\n"
        "6-5-2005,4,SMITH,,O,,TB,PAWNEE,2,10:00,10:30\n"
        "6-5-2005,5,SMITH,ASK21,GLIDE,,TB,PAWNEE,2,10:00,10:30\n"
        "6-5-2005,6,SMITH,ASK21,O,,TB,PAWNEE,10.0,10:00,10:30\n"
        "6-5-2005,7,SMITH,ASK21,O,,TB,PAWNEE,2,0:00,20:00\n"
        "6-5-2005,8,SMITH,ASK21,O,,TB,PAWNEE,2,10:00,9:59\n"
        "6-5-2005,9,SMITH,ASK21,O,,TB,,2,10:00,10:30\n"
        "6-1-2005,1,JS,ASK21,O,,TB,PAWNEE,2,10:00,10:30\n"         // stored already
        "6-5-2005,1,John Smith,DISCUS,O,,TB,HUSKY,2,11:00,11:30\n" // taken above
        "6-5-2005,x,SMITH,ASK21,O,,TB,PAWNEE,2,10:00,10:30\n"
        "6-5-2005,12,SMITH,ASK21,I,K A,TB,PAWNEE,2,10:00,10:30\n" +
            std::string(201, 'A') + "\n6-5-2005,\0,SMITH\n"s +
            "6-5-2005,13,\"SMITH\"X,ASK21\n"
            "6-5-2005,14,SMITH,ASK21,O,,TB,PAWNEE,9.9,10:00,10:00\n", // taken
        "NO");
    for (const char *line :
         {"? Line 3: Can not find account or abbreviation for \"NOBODY\".\n",
          "? Line 4: Improper format for a date: \"13-45-2005\"\n",
          "? Line 5: aircraft \"\" must be one word\n", "? Line 6: unknown flight type \"GLIDE\"\n",
          "? Line 7: Tow height of 10.0 is unreasonable.\n",
          "? Line 8: Flight duration of 20: 0 is unreasonable.\n",
          "? Line 9: Flight duration of 0:-1 is unreasonable.\n",
          "? Line 10: Tug name must not be blank\n",
          "? Line 11: flight 1 of 6-1-2005 for JOHN SMITH may be a duplicate; not taken.\n",
          "? Line 12: flight 1 of 6-5-2005 for JOHN SMITH may be a duplicate; not taken.\n",
          "? Line 13: flight number \"X\" is not a number from 1 up\n",
          "? Line 14: instructor \"K A\" must be one word (initials)\n",
          "? Line 15: line longer than 200 characters\n",
          "? Line 16: binary data (not a text file?)\n", "? Line 17: quotes out of place\n",
          "17 rows read, 2 taken, 13 refused, 2 duplicates.\n",
          "F.CSV line 18: flight 14 of 6-5-2005 lasted zero minutes\n",
          "Remember this data in the permanent history file [YES]: "})
        EXPECT_TRUE(has(out, line)) << line << "\n--- in ---\n" << out;
    EXPECT_EQ(read_file("VNKFLGHT.HIS"), kStored) << "declined: the history is as it was";
    EXPECT_TRUE(has(read_file("VNKFLGHT.TMP"), "6-5-2005\t14\tSMITH,JOHN\tASK21\tSMITH\tO\t\t\tTB\t"
                                               "PAWNEE\t9.9\t10:00\t10:00\t\n"));
}

TEST_F(ImportTest, HeaderAndFileProblemsStopBeforeAnyRow) {
    const std::pair<const char *, const char *> cases[] = {
        {"date,account,plane,takeoff,landing,colour\n",
         "? Unknown column \"colour\" (IMPORT ? lists the names).\n"},
        {"date,account,plane,start,takeoff,landing\n",
         "? Two columns for TAKEOFF: \"start\" and \"takeoff\".\n"},
        {"date,account,plane,takeoff\n", "? The file has no LANDING column.\n"},
        {"\"date\"x,account\n", "? The first line of \"F.CSV\" must name the columns.\n"}};
    for (auto [csv, said] : cases)
        EXPECT_TRUE(import(csv, "").ends_with(std::string(": ") + said)) << csv;
    feed_input("NOFILE.CSV\n");
    EXPECT_TRUE(output_of(do_import).ends_with(": ? Unable to read CSV file \"NOFILE.CSV\"\n"));
    EXPECT_EQ(read_file("VNKFLGHT.HIS"), kStored);
}

TEST(CsvRows, ReadsBothEncodingsIntoLatin1AndQuotesAcrossLines) {
    auto rows = [](const std::string &text) { return read_csv_rows(text.data(), text.size()); };
    // UTF-8 becomes one byte a letter; a Latin-1 file stays as it is.
    auto utf8 = rows("Name\n\"M\xC3\xBCller, J\xC3\xB6rg\"\n");
    ASSERT_EQ(utf8.size(), 2u);
    EXPECT_EQ(utf8[1].fields, std::vector<std::string>{"M\xFCller, J\xF6rg"});
    auto latin1 = rows("a;b\nM\xFCller;x\n");
    ASSERT_EQ(latin1.size(), 2u);
    EXPECT_EQ(latin1[1].fields, (std::vector<std::string>{"M\xFCller", "x"}));
    auto wide = rows("a\n\xE2\x82\xAC\n");
    EXPECT_EQ(wide[1].refusal, "character that the data files cannot hold");
    // A quoted line end would split the history line: refused, with the
    // line the row starts on; the next row reads on.
    auto split = rows("a,b\n1,\"x\ny\"\n2,z\n");
    ASSERT_EQ(split.size(), 3u);
    EXPECT_EQ(split[1].refusal, "control character in a field (not a text file?)");
    EXPECT_EQ(std::pair(split[2].fields, split[2].line),
              std::pair(std::vector<std::string>{"2", "z"}, 4));
}

TEST(NearestName, SuggestsOnlyANameCloseEnough) {
    const std::vector<std::string> items{"ASK21", "DISCUS", "SGS2-33", "PAWNEE"};
    // The name itself is no suggestion.
    const std::pair<const char *, const char *> cases[] = {
        {"ASK-21", "ASK21"}, {"ask 21", "ASK21"}, {"SGS233", "SGS2-33"}, {"DISKUS", "DISCUS"},
        {"PAWNE", "PAWNEE"}, {"LS4", ""},         {"ASK21", ""},         {"", ""}};
    for (auto [typed, near] : cases)
        EXPECT_EQ(nearest_name(typed, items), near) << typed;
    for (const char *good : {"a@b.org", "first.last+bills@mail.example.co.uk"})
        EXPECT_TRUE(plausible_email(good)) << good;
    for (const char *bad : {"a@@b.org", "a b@c.org", "@b.org", "a@b", "a@.org", "a@b..org",
                            "a.@b.org", "a@b.org.", "<a@b.org>"})
        EXPECT_FALSE(plausible_email(bad)) << bad;
}

} // namespace
