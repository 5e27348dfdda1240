#include <string>

#include "billing/billing.h"
#include "customers_fixture.h"

namespace {

class RecordsOutTest : public CustomerDbTest {
  protected:
    void SetUp() override {
        CustomerDbTest::SetUp();
        smith = fc_cust("SMITH", "JOHN", true);
        lee = fc_cust("LEE", "AL", true);
        date = (int32_t)i_convertDateToTime("6-7-2005");
    }

    // The text the printer leaves on one line.
    template <typename Print> static std::string line_of(Print print) {
        start_capture();
        print();
        o_newline(0);
        return end_capture();
    }

    gas make_gas() {
        gas g{};
        g.date = date;
        g.sheet = 12;
        g.line = 3;
        g.customer = smith;
        g.charge = 3075;
        g.grade = "100";
        g.gallons = 123;
        g.plane = plane;
        g.pilot = pilot;
        return g;
    }

    customer *smith = nullptr;
    customer *lee = nullptr;
    int32_t date = 0;
    char plane[8] = "N123";
    char pilot[8] = "JOHN";
    char empty[1] = "";
};

TEST_F(RecordsOutTest, GasRecordInBothForms) {
    gas g = make_gas();
    EXPECT_EQ(line_of([&] { o_gas_struct(&g, 0, false, true); }),
              "6-7-2005\t12\t3\tSMITH,JOHN\t3075\t100\t12.3\tN123\tJOHN\n");
    // Columns 9, 17, 25 ... from the start of the record; a field that
    // reaches its neighbour's column is still separated by one blank.
    g.gallons = -5;
    EXPECT_EQ(line_of([&] { o_gas_struct(&g, 0, false, false); }),
              "6-7-2005 12     3       SMITH,JOHN 3075 100     -0.5    N123    JOHN\n");
    EXPECT_EQ(line_of([&] { o_gas_struct(nullptr, 0, false, true); }), "\n");
}

TEST_F(RecordsOutTest, MiscRecordShowsReceiptNumberAndSign) {
    char why[] = "Tie-down";
    misc m{};
    m.date = date;
    m.sheet = 4;
    m.line = 2;
    m.customer = smith;
    m.invoice = 1021;
    m.charge = -250;
    m.taxable = 1;
    m.why = why;
    EXPECT_EQ(line_of([&] { o_misc_struct(&m, 0, false, true); }),
              "6-7-2005\t4\t2\t#1021\tY\t-250\tTie-down\n");
    m.taxable = 0;
    m.invoice = 0;
    // With an indent every column moves along with the record.
    EXPECT_EQ(line_of([&] { o_misc_struct(&m, 4, false, false); }),
              "   6-7-2005 4       2       SMITH,JOHN N    -250    Tie-down\n");
}

TEST_F(RecordsOutTest, PaymentNoteColumnAndShortNames) {
    char note[] = "dues";
    payment p{};
    p.date = date;
    p.customer = lee;
    p.amount = 2500;
    p.check = 101;
    p.note = note;
    // A short account must not pad the file form before the note.
    EXPECT_EQ(line_of([&] { o_payment_struct(&p, 0, false, true); }),
              "6-7-2005\t2500\t101\tLEE,AL\tdues\n");
    // On screen the note stays at column 41 whatever the indent.
    std::string shifted = line_of([&] { o_payment_struct(&p, 9, false, false); });
    EXPECT_EQ(shifted, "        6-7-2005 2500    101     LEE,AL dues\n");
    EXPECT_EQ(shifted.find("dues"), 40u);
}

TEST_F(RecordsOutTest, FlightRecordEveryFieldTabbed) {
    char cfi[] = "BOB";
    char towpilot[] = "TP";
    flight f{};
    f.date = date;
    f.number = 7;
    f.customer = smith;
    f.plane = plane;
    f.pilot = pilot;
    f.type = 2;
    f.cfi = cfi;
    f.passenger = empty;
    f.towpilot = towpilot;
    f.towheight = 25;
    f.start = 570;
    f.end = 605;
    EXPECT_EQ(line_of([&] { o_flight_struct(&f, 0, false, true); }),
              "6-7-2005\t7\tSMITH,JOHN\tN123\tJOHN\tI\tBOB\t\tTP\t\t2.5\t9:30\t10:05\t\n");
    towplane *tug = fc_tug("PAWNEE", true);
    f.towplane = tug;
    f.invoice = 12;
    f.type = 5;
    EXPECT_EQ(line_of([&] { o_flight_struct(&f, 0, false, false); }),
              "6-7-2005 7 #12 N123 JOHN U BOB TP PAWNEE 2.5 9:30 10:05\n");
}

TEST_F(RecordsOutTest, DateAndNameHelpers) {
    EXPECT_EQ(line_of([] {
                  o_lstring("on", 0, false);
                  o_date("12-31-2005", 0, true);
              }),
              "on 12-31-2005\n");
    EXPECT_EQ(line_of([] {
                  o_lstring("on", 0, false);
                  o_date("6-7-05", 0, false);
              }),
              "on6-7-2005\n");
    EXPECT_EQ(line_of([] { o_customer_name(nullptr, 5, true); }), "\n");
    EXPECT_EQ(line_of([&] { o_customer_name(lee, 5, true); }), "    LEE,AL\n");
}

TEST_F(RecordsOutTest, ComputedOnLine) {
    long saved = billing.curDate;
    billing.curDate = date;
    EXPECT_EQ(line_of([] { o_now_info(true, 0); }),
              "Computed on 6-7-2005 by VARNOK\n    Version 10(116)\n\n");
    EXPECT_EQ(line_of([] { o_now_info(false, 16); }), "               Computed on 6-7-2005\n\n");
    billing.curDate = saved;
}

} // namespace
