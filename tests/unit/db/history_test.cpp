#include <string>
#include <vector>

#include "customers_fixture.h"

namespace {

class HistoryTest : public CustomerDbTest {
  protected:
    void SetUp() override {
        CustomerDbTest::SetUp();
        db.daysheetfile = alloc_str("VNKFLGHT.HIS");
        db.daysheetqufile = alloc_str("VNKFLGQU.HIS");
        db.gashistfile = alloc_str("VNKGAS.HIS");
        db.gashistqufile = alloc_str("VNKGASQU.HIS");
        smith = fc_cust("SMITH", "JOHN", true);
        lee = fc_cust("LEE", "AL", true);
    }

    static int32_t day(const char *text) { return (int32_t)i_convertDateToTime(text); }

    static std::vector<const flight *> flights_of(const customer *c) {
        std::vector<const flight *> out;
        for (const flight *f = c->flights; f; f = f->next)
            out.push_back(f);
        return out;
    }

    customer *smith = nullptr;
    customer *lee = nullptr;
};

TEST_F(HistoryTest, DaySheetFieldsAndEveryMessage) {
    write_file("VNKFLGHT.HIS",
               "$VERSION 2\n"
               "!Date\t\tNumber\tAccount\t\t\tPlane\tPilot\tType\tCFI\tPass\n"
               "6-1-2005\t1\tSMITH,JOHN\tN123\tJOHN\tI\tBOB\t\tTP\tPAWNEE\t2.5\t9:30\t10:05\n"
               "\x1a this line is not counted\n"
               "6-1-2005\t2\t#1021\tN456\tANN\tCOMMERCIAL-RIDE\t\tRIDER\tTP\t\t0.95\t11:00\t11:20\n"
               "\n"
               "6-1-2005\t1\tsmith,john\tN123\tJOHN\tr\t\t\tTP\tPAWNEE\tabc\t930\t10:00\n"
               "6-2-2005\tx\tNOBODY,HERE\tN1\tP\t \t\t\t\tPAWNEE\t2\t1:00\tlate\n");
    start_capture();
    readFlights("VNKFLGHT.HIS");
    EXPECT_EQ(end_capture(),
              "Reading day sheet file: \"VNKFLGHT.HIS\"\n"
              "? Unrecognized type of flight \"r\" on line 6\n"
              "? Bad tow height \"abc\" on line 6.\n"
              "? Bad start time \"930\" on line 6."
              "? Error VNKFLGHT.HIS 6: Suspicious duplicate flight on 6-1-2005 number 1 for "
              "SMITH, JOHN\n"
              "? Looking for flight number on line 7. Got \"x\"\n"
              "? No customer to match \"NOBODY,HERE\" on line 7.\n"
              "    CASH account assumed.\n"
              "? Missing type of flight on line 7\n"
              "? Bad end time \"late\" on line 7.");

    auto mine = flights_of(smith);
    ASSERT_EQ(mine.size(), 2u);
    const flight *f = mine[0];
    EXPECT_EQ(f->date, day("6-1-2005"));
    EXPECT_EQ(f->number, 1);
    EXPECT_EQ(f->invoice, 0);
    EXPECT_STREQ(f->plane, "N123");
    EXPECT_STREQ(f->pilot, "JOHN");
    EXPECT_EQ(f->type, 2);
    EXPECT_STREQ(f->cfi, "BOB");
    EXPECT_STREQ(f->passenger, "");
    EXPECT_STREQ(f->towpilot, "TP");
    ASSERT_NE(f->towplane, nullptr);
    EXPECT_STREQ(f->towplane->tugname, "PAWNEE");
    EXPECT_EQ(f->towheight, 25);
    EXPECT_EQ(f->start, 570);
    EXPECT_EQ(f->end, 605);
    // The duplicate is kept; its bad fields got their stand-in values.
    EXPECT_EQ(mine[1]->type, 0);
    EXPECT_EQ(mine[1]->towheight, 25);
    EXPECT_EQ(mine[1]->start, 0);
    EXPECT_EQ(mine[1]->end, 0);

    customer *cash = fc_cust("CASH", "", false);
    ASSERT_NE(cash, nullptr);
    auto walkins = flights_of(cash);
    ASSERT_EQ(walkins.size(), 2u);
    EXPECT_EQ(walkins[0]->invoice, 1021);
    EXPECT_EQ(walkins[0]->type, 1);
    EXPECT_EQ(walkins[0]->towheight, 9); // single precision: 0.95 lands below 1.0
    // An empty tow plane name stands for the first free row of the table.
    EXPECT_EQ(walkins[0]->towplane, &db.tugList[1]);
    EXPECT_STREQ(db.tugList[1].tugname, "");
    EXPECT_EQ(walkins[1]->number, -1);
    EXPECT_EQ(walkins[1]->invoice, 0);
    EXPECT_EQ(walkins[1]->towheight, 20);
    EXPECT_EQ(walkins[1]->start, 0);
}

TEST_F(HistoryTest, DaySheetVersionsOneAndNewer) {
    write_file("V1.HIS", "6-1-2005\t3\tLEE,AL\tN9\tAL\tO\t\t\tTP\t3\t12:00\t12:45\n");
    write_file("V3.HIS",
               "$VERSION 3\n6-1-2005\t4\tLEE,AL\tN9\tAL\tP\t\t\tTP\tHUSKY\t1.5\t1:00\t1:10\n");
    start_capture();
    readFlights("V1.HIS");
    readFlights("V3.HIS");
    readFlights("MISSING.HIS");
    EXPECT_EQ(end_capture(), "Reading day sheet file: \"V1.HIS\"\n"
                             "Reading day sheet file: \"V3.HIS\"\n"
                             "? Expected version number 2 found 3.\n"
                             "? Unable to read daysheet file \"MISSING.HIS\"\n");
    auto mine = flights_of(lee);
    ASSERT_EQ(mine.size(), 2u);
    EXPECT_EQ(mine[0]->towplane, nullptr);
    EXPECT_EQ(mine[0]->towheight, 30);
    EXPECT_EQ(mine[0]->end, 765);
    ASSERT_NE(mine[1]->towplane, nullptr);
    EXPECT_STREQ(mine[1]->towplane->tugname, "HUSKY");
    EXPECT_EQ(mine[1]->type, 4);
    EXPECT_EQ(mine[1]->towheight, 15);
}

TEST_F(HistoryTest, DuplicatesAcrossCompanionButNotAcrossDatesOrCustomers) {
    std::string main = "$VERSION 2\n";
    std::string companion = "$VERSION 2\n";
    // Many flights of one customer, numbered per day, none duplicated.
    for (int d = 1; d <= 30; d++)
        for (int n = 1; n <= 40; n++)
            (d <= 10 ? companion : main) +=
                std::to_string(6) + "-" + std::to_string(d) + "-2005\t" + std::to_string(n) +
                "\tSMITH,JOHN\tN1\tJ\tO\t\t\tT\tPAWNEE\t2\t9:00\t9:30\n";
    main += "6-3-2005\t5\tSMITH,JOHN\tN1\tJ\tO\t\t\tT\tPAWNEE\t2\t9:00\t9:30\n"; // in companion
    main += "6-3-2005\t5\tLEE,AL\tN1\tJ\tO\t\t\tT\tPAWNEE\t2\t9:00\t9:30\n";     // other customer
    write_file("VNKFLGHT.HIS", main);
    write_file("VNKFLGQU.HIS", companion);
    start_capture();
    do_r_flights(true);
    EXPECT_EQ(end_capture(), "Reading day sheet file: \"VNKFLGQU.HIS\"\n"
                             "Reading day sheet file: \"VNKFLGHT.HIS\"\n"
                             "? Error VNKFLGHT.HIS 802: Suspicious duplicate flight on 6-3-2005 "
                             "number 5 for SMITH, JOHN\n");
    auto mine = flights_of(smith);
    ASSERT_EQ(mine.size(), 1201u);
    // Companion first, then the main file, each in file order.
    EXPECT_EQ(mine[0]->date, day("6-1-2005"));
    EXPECT_EQ(mine[400]->date, day("6-11-2005"));
    EXPECT_EQ(mine[1200]->number, 5);
    EXPECT_EQ(flights_of(lee).size(), 1u);
}

TEST_F(HistoryTest, LoadersFollowTheQuickenSwitch) {
    write_file("VNKFLGQU.HIS", "$VERSION 2\n6-1-2005\t1\tLEE,AL\tN9\tAL\tO\t\t\tTP\t\t2\t9:00\t9:10\n");
    write_file("VNKFLGHT.HIS", "$VERSION 2\n6-2-2005\t1\tLEE,AL\tN9\tAL\tO\t\t\tTP\t\t2\t9:00\t9:10\n");
    write_file("VNKGASQU.HIS", "$MISC\n6-1-2005\t1\t1\tLEE AL\t100\tOld\n");
    write_file("VNKGAS.HIS", "$MISC\n6-2-2005\t1\t1\tLEE AL\t200\tNew\n");

    start_capture();
    do_r_flights(true);
    do_r_gas(true);
    std::string first = end_capture();
    EXPECT_EQ(first, "Reading day sheet file: \"VNKFLGQU.HIS\"\n"
                     "Reading day sheet file: \"VNKFLGHT.HIS\"\n"
                     "Reading gas history file: \"VNKGASQU.HIS\"\n"
                     "Reading gas history file: \"VNKGAS.HIS\"\n");
    EXPECT_EQ(flights_of(lee).size(), 2u);
    ASSERT_NE(lee->misc, nullptr);
    EXPECT_EQ(lee->misc->charge, 100);

    start_capture();
    do_r_flights(true);
    do_r_gas(true);
    EXPECT_EQ(end_capture(), "");

    start_capture();
    do_r_flights(false);
    do_r_gas(false);
    EXPECT_EQ(end_capture(), "Reading day sheet file: \"VNKFLGHT.HIS\"\n"
                             "Reading gas history file: \"VNKGAS.HIS\"\n");
    EXPECT_TRUE(db.flights_read);
    EXPECT_TRUE(db.gas_read);
    auto mine = flights_of(lee);
    ASSERT_EQ(mine.size(), 1u);
    EXPECT_EQ(mine[0]->date, day("6-2-2005"));
    ASSERT_NE(lee->misc, nullptr);
    EXPECT_EQ(lee->misc->charge, 200);
    EXPECT_EQ(lee->misc->next, nullptr);
}

TEST_F(HistoryTest, GasAndMiscSections) {
    fc_gas_grade("100", true);
    write_file("VNKGAS.HIS", "$VERSION 2\n"
                             "6-2-2005\t9\t9\tSMITH JOHN\tY\t1\tbefore any section\n"
                             "$MISC\n"
                             "!Date\t\tSheet\tLine\tAccount\t\tTax\tCents\tCharge (credit) is for\n"
                             "6-2-2005\t1\t1\tsmith john\tY\t1500\tTie-down\n"
                             "\x1a\n"
                             "6-2-2005\t1\t2\tLEE,AL\tQ\tx\tOops\n"
                             "6-2-2005\tA\tB\t#1021\tN\t-250\tCredit\n"
                             "$GAS\n"
                             "6-3-2005\t2\t1\tSMITH,JOHN\t3075\t100\t12.3\tN123\tJOHN\n"
                             "6-3-2005\t2\t2\tSMITH,JOHN\tlots\tJETB\t12\tN123\tJOHN\n"
                             "6-3-2005\t2\t3\tSMITH JOHN\t500\t100\t12.34\tN123\tJOHN\n"
                             "6-3-2005\t2\t4\tJOHN SMITH\t500\t100\tsome\tN123\tJOHN\n"
                             "$END\n"
                             "6-3-2005\t2\t5\tSMITH,JOHN\t1\t100\t1\tN123\tJOHN\n");
    start_capture();
    readGas("VNKGAS.HIS");
    EXPECT_EQ(end_capture(), "Reading gas history file: \"VNKGAS.HIS\"\n"
                             "? Bad format tax flag on line 6\n"
                             "? Unable to find charge on line 6 in \"VNKGAS.HIS\"\n"
                             "? Looking for sheet number on line 7. Got \"A\"\n"
                             "? Looking for line number on line 7. Got \"B\"\n"
                             "? Unable to find charge on line 10 in \"VNKGAS.HIS\"\n"
                             "? No customer to match \"SMITH JOHN\" on line 12.\n"
                             "    CASH account assumed.\n"
                             "? Unable to find gallons on line 12 in \"VNKGAS.HIS\"\n");

    // "smith john" becomes JOHN SMITH, which names John Smith.
    ASSERT_NE(smith->misc, nullptr);
    EXPECT_EQ(smith->misc->charge, 1500);
    EXPECT_TRUE(smith->misc->taxable);
    EXPECT_STREQ(smith->misc->why, "Tie-down");
    EXPECT_EQ(smith->misc->next, nullptr);
    ASSERT_NE(lee->misc, nullptr);
    EXPECT_FALSE(lee->misc->taxable);
    EXPECT_EQ(lee->misc->charge, 0);

    customer *cash = fc_cust("CASH", "", false);
    ASSERT_NE(cash, nullptr);
    ASSERT_NE(cash->misc, nullptr);
    EXPECT_EQ(cash->misc->invoice, 1021);
    EXPECT_EQ(cash->misc->charge, -250);
    EXPECT_EQ(cash->misc->sheet, -1);
    EXPECT_EQ(cash->misc->line, -1);

    std::vector<const gas *> sales;
    for (const gas *g = smith->gas; g; g = g->next)
        sales.push_back(g);
    ASSERT_EQ(sales.size(), 3u);
    EXPECT_EQ(sales[0]->charge, 3075);
    EXPECT_EQ(sales[0]->grade, db.gas_grades->name); // the shared grade name
    EXPECT_EQ(sales[0]->gallons, 123);
    EXPECT_STREQ(sales[0]->plane, "N123");
    EXPECT_STREQ(sales[0]->pilot, "JOHN");
    EXPECT_STREQ(sales[1]->grade, "GAS100");
    EXPECT_EQ(sales[1]->gallons, 120);
    EXPECT_EQ(sales[1]->charge, 0);
    EXPECT_EQ(sales[2]->gallons, 123);
    ASSERT_NE(cash->gas, nullptr);
    EXPECT_EQ(cash->gas->gallons, 0);
    EXPECT_EQ(cash->gas->next, nullptr); // the line after $END was ignored
}

TEST_F(HistoryTest, GasVersionOneHasNoTaxColumn) {
    write_file("VNKGAS.HIS", "$VERSION 1\n$MISC\n6-2-2005\t1\t1\tLEE,AL\t1500\tTie-down\n"
                             "$VERSION 4\n6-2-2005\t1\t2\tLEE,AL\tY\t700\tHangar\n");
    start_capture();
    readGas("VNKGAS.HIS");
    readGas("NOPE.HIS");
    EXPECT_EQ(end_capture(), "Reading gas history file: \"VNKGAS.HIS\"\n"
                             "? Expected version number 2 found 4.\n"
                             "? Unable to read gas history file \"NOPE.HIS\"\n");
    ASSERT_NE(lee->misc, nullptr);
    EXPECT_EQ(lee->misc->charge, 1500);
    EXPECT_FALSE(lee->misc->taxable);
    EXPECT_STREQ(lee->misc->why, "Tie-down");
    ASSERT_NE(lee->misc->next, nullptr);
    EXPECT_TRUE(lee->misc->next->taxable);
    EXPECT_EQ(lee->misc->next->charge, 700);
}

} // namespace
