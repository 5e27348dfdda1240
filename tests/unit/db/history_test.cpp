// The duplicate-flight check over a whole period, and the loaders' choice
// of files; the line formats are checked through DBOUT.
#include <iterator>
#include <string>

#include "db_fixture.h"

namespace {

using HistoryTest = DbTest;

size_t count_flights(const customer *c) {
    return static_cast<size_t>(std::distance(c->flights.begin(), c->flights.end()));
}

TEST_F(HistoryTest, DuplicatesAcrossCompanionAndTheQuickenSwitch) {
    customer *smith = fc_cust("SMITH", "JOHN", true), *lee = fc_cust("LEE", "AL", true);
    const std::string rest = "\tN1\tJ\tO\t\t\tT\tPAWNEE\t2\t9:00\t9:30\n";
    std::string main = "$VERSION 2\n", companion = "$VERSION 2\n";
    // Many flights of one customer, numbered per day, none duplicated.
    for (int d = 1; d <= 30; d++)
        for (int n = 1; n <= 40; n++)
            (d <= 10 ? companion : main) +=
                "6-" + std::to_string(d) + "-2005\t" + std::to_string(n) + "\tSMITH,JOHN" + rest;
    main += "6-3-2005\t5\tSMITH,JOHN" + rest + "6-3-2005\t5\tLEE,AL" + rest; // 1st in companion
    write_file("VNKFLGHT.HIS", main);
    write_file("VNKFLGQU.HIS", companion);
    write_file("VNKGASQU.HIS", "$MISC\n6-1-2005\t1\t1\tLEE AL\t100\tOld\n");
    write_file("VNKGAS.HIS", "$MISC\n6-2-2005\t1\t1\tLEE AL\t200\tNew\n");
    write_file("VNKPMNTQ.HIS", "$VERSION 3\n$PAYMENTS\n6-1-2005\t100\t1\tLEE,AL\tOld\n");
    write_file("VNKPMNT.HIS", "$VERSION 3\n$PAYMENTS\n6-2-2005\t200\t2\tLEE,AL\tNew\n");
    auto load = [](bool companions) {
        return output_of([&] {
            do_r_flights(companions);
            do_r_gas(companions);
            do_r_payments(companions);
        });
    };
    std::string twice = load(true) + load(true); // the second finds them loaded
    EXPECT_EQ(twice, "Reading day sheet file: \"VNKFLGQU.HIS\"\n"
                     "Reading day sheet file: \"VNKFLGHT.HIS\"\n"
                     "? Error VNKFLGHT.HIS 802: Suspicious duplicate flight on 6-3-2005 number 5 "
                     "for SMITH, JOHN\n"
                     "Reading gas history file: \"VNKGASQU.HIS\"\n"
                     "Reading gas history file: \"VNKGAS.HIS\"\n"
                     "Reading payments history file: \"VNKPMNTQ.HIS\"\n"
                     "Reading payments history file: \"VNKPMNT.HIS\"\n");
    EXPECT_EQ(std::pair(count_flights(smith), count_flights(lee)), std::pair(1201ul, 1ul));
    ASSERT_TRUE(lee->misc.head() && lee->payments.head());
    EXPECT_TRUE(lee->misc.head()->charge == 100 && lee->payments.head()->amount == 100);

    // Without the companion files, the old records go and only the main
    // files are read.
    EXPECT_EQ(load(false), "Reading day sheet file: \"VNKFLGHT.HIS\"\n"
                           "Reading gas history file: \"VNKGAS.HIS\"\n"
                           "Reading payments history file: \"VNKPMNT.HIS\"\n");
    EXPECT_EQ(count_flights(smith), 801u);
    ASSERT_TRUE(lee->misc.head() && lee->payments.head());
    EXPECT_TRUE(lee->misc.head()->charge == 200 && lee->misc.head()->next == nullptr &&
                lee->payments.head()->amount == 200 && lee->payments.head()->next == nullptr);
}

// Only an empty line is skipped in the gas history; a line of blanks inside
// a section is a (bad) record billed to CASH, outside one it is ignored.
TEST_F(HistoryTest, GasLineOfBlanksIsARecord) {
    write_file("VNKGAS.HIS", " \n$MISC\n\n \n");
    std::string out = output_of([] { readGas("VNKGAS.HIS"); });
    EXPECT_TRUE(has(out, "? Date \" \" is in bad format on line 4\n")) << out;
    EXPECT_FALSE(has(out, "on line 1") || has(out, "on line 3")) << out;
    customer *cash = fc_cust("CASH", "", false);
    ASSERT_TRUE(cash != nullptr && cash->misc.head() != nullptr);
    EXPECT_EQ(cash->misc.head()->next, nullptr);
}

} // namespace
