// Screen columns 9, 17, 25 ... count from the start of the record (which an indent moves); a field
// that reaches its neighbour's column still gets one blank.
#include <string>

#include "db_fixture.h"

namespace {

using RecordsOutTest = DbTest;

// The text a printer leaves on one line.
template <typename Print> std::string line_of(Print print) {
    return output_of([&] {
        print();
        o_newline(0);
    });
}

TEST_F(RecordsOutTest, ScreenColumns) {
    customer *smith = fc_cust("SMITH", "JOHN", true);
    int32_t date = (int32_t)i_convertDateToTime("6-7-2005");
    char plane[] = "N123", pilot[] = "JOHN", cfi[] = "BOB", towpilot[] = "TP", empty[] = "",
         why[] = "Tie-down", note[] = "dues";
    // Fields in declaration order, starting with the list link.
    gas g{nullptr, date, 12, 3, smith, 0, 3075, "100", -5, plane, pilot, 0};
    EXPECT_EQ(line_of([&] { o_gas_struct(&g, 0, false, false); }),
              "6-7-2005 12     3       SMITH,JOHN 3075 100     -0.5    N123    JOHN\n");
    misc m{nullptr, date, 4, 2, smith, 0, -250, 0, why, 0};
    EXPECT_EQ(line_of([&] { o_misc_struct(&m, 4, false, false); }),
              "   6-7-2005 4       2       SMITH,JOHN N    -250    Tie-down\n");
    // The note of a payment stays at column 41 whatever the indent.
    payment p{nullptr, date, fc_cust("LEE", "AL", true), 2500, 101, note, 0};
    EXPECT_EQ(line_of([&] { o_payment_struct(&p, 9, false, false); }),
              "        6-7-2005 2500    101     LEE,AL dues\n");
    flight f{nullptr, smith,    date, 7,   12,  plane, fc_tug("PAWNEE", true), pilot, cfi, empty,
             5,       towpilot, 25,   570, 605, 0};
    EXPECT_EQ(line_of([&] { o_flight_struct(&f, 0, false, false); }),
              "6-7-2005 7 #12 N123 JOHN U BOB TP PAWNEE 2.5 9:30 10:05\n");
}

// The history writer builds its lines itself: they must be the tabbed
// form's bytes, odd values included, and it skips what `keep` refuses.
TEST_F(RecordsOutTest, HistoryLinesAreTheTabbedForm) {
    customer *smith = fc_cust("SMITH", "JOHN", true);
    int32_t date = (int32_t)i_convertDateToTime("6-7-2005");
    char plane[] = "N123", pilot[] = "JOHN", cfi[] = "BOB", towpilot[] = "TP", note[] = "dues";
    gas g{nullptr, date, 12, 3, smith, 0, -3075, nullptr, -5, plane, pilot, 0};
    misc m{nullptr, date, 4, 2, smith, 77, -250, 1, nullptr, 0};
    payment p{nullptr, date, smith, -2500, 0, note, 0};
    flight f{nullptr, smith,   date, 7,        0,   plane, nullptr, pilot,
             cfi,     nullptr, 9,    towpilot, -25, -5,    605,     0};
    flight done = f;
    done.exported = 1;
    add_misc(&m, smith);
    add_gas(&g, smith);
    add_payment(&p, smith);
    add_flight(&f, smith);
    add_flight(&done, smith);
    auto written = [](HistoryKind kind) {
        FILE *out = fopen("out.his", "w");
        EXPECT_TRUE(write_history(out, kind, [](const customer *, bool e) { return !e; }));
        fclose(out);
        return read_file("out.his");
    };
    auto tabbed = [](auto *rec, auto print) {
        return line_of([&] { print(rec, 0, false, true); });
    };
    EXPECT_EQ(written(HistoryKind::FLIGHTS),
              "$VERSION 2\n!Date\t\tNumber\tAccount\t\t\tPlane\tPilot\tType\tCFI\tPass\n"
              "6-7-2005\t7\tSMITH,JOHN\tN123\tJOHN\tU\tBOB\t\tTP\t\t-2.5\t0:-5\t10:05\t\n");
    EXPECT_EQ(written(HistoryKind::FLIGHTS).substr(61), tabbed(&f, o_flight_struct));
    std::string gas_file = written(HistoryKind::GAS);
    EXPECT_EQ(gas_file, history_heading(HistoryHeading::MISC_SHEET) + tabbed(&m, o_misc_struct) +
                            (history_heading(HistoryHeading::FUEL_SHEET) + 11) +
                            tabbed(&g, o_gas_struct));
    EXPECT_TRUE(has(gas_file, "\t#77\tY\t-250\t\n") && has(gas_file, "\t-3075\t\t-0.5\tN123"))
        << gas_file;
    EXPECT_EQ(written(HistoryKind::PAYMENTS),
              std::string(history_heading(HistoryHeading::PAYMENTS)) +
                  "6-7-2005\t-2500\t0\tSMITH,JOHN\tdues\n");
    // The records live on this frame: the lists let go of them unfreed.
    smith->flights.release();
    smith->gas.release();
    smith->misc.release();
    smith->payments.release();
}

} // namespace
