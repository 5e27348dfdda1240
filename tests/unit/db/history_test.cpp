// The duplicate-flight check over a whole period, and the loaders' choice
// of files; the line formats are checked through DBOUT.
#include <string>

#include "db_fixture.h"

namespace {

using HistoryTest = DbTest;

size_t count_flights(const customer *c) {
    size_t n = 0;
    for (const flight *f = c->flights; f; f = f->next)
        n++;
    return n;
}

TEST_F(HistoryTest, DuplicatesAcrossCompanionAndTheQuickenSwitch) {
    customer *smith = fc_cust("SMITH", "JOHN", true);
    customer *lee = fc_cust("LEE", "AL", true);
    std::string main = "$VERSION 2\n", companion = "$VERSION 2\n";
    // Many flights of one customer, numbered per day, none duplicated.
    for (int d = 1; d <= 30; d++)
        for (int n = 1; n <= 40; n++)
            (d <= 10 ? companion : main) +=
                "6-" + std::to_string(d) + "-2005\t" + std::to_string(n) +
                "\tSMITH,JOHN\tN1\tJ\tO\t\t\tT\tPAWNEE\t2\t9:00\t9:30\n";
    main += "6-3-2005\t5\tSMITH,JOHN\tN1\tJ\tO\t\t\tT\tPAWNEE\t2\t9:00\t9:30\n"; // in companion
    main += "6-3-2005\t5\tLEE,AL\tN1\tJ\tO\t\t\tT\tPAWNEE\t2\t9:00\t9:30\n";
    write_file("VNKFLGHT.HIS", main);
    write_file("VNKFLGQU.HIS", companion);
    write_file("VNKGASQU.HIS", "$MISC\n6-1-2005\t1\t1\tLEE AL\t100\tOld\n");
    write_file("VNKGAS.HIS", "$MISC\n6-2-2005\t1\t1\tLEE AL\t200\tNew\n");
    write_file("VNKPMNTQ.HIS", "$VERSION 3\n$PAYMENTS\n6-1-2005\t100\t1\tLEE,AL\tOld\n");
    write_file("VNKPMNT.HIS", "$VERSION 3\n$PAYMENTS\n6-2-2005\t200\t2\tLEE,AL\tNew\n");
    EXPECT_EQ(output_of([] {
                  do_r_flights(true);
                  do_r_gas(true);
                  do_r_payments(true);
                  do_r_flights(true); // loaded already
                  do_r_gas(true);
                  do_r_payments(true);
              }),
              "Reading day sheet file: \"VNKFLGQU.HIS\"\n"
              "Reading day sheet file: \"VNKFLGHT.HIS\"\n"
              "? Error VNKFLGHT.HIS 802: Suspicious duplicate flight on 6-3-2005 number 5 for "
              "SMITH, JOHN\n"
              "Reading gas history file: \"VNKGASQU.HIS\"\n"
              "Reading gas history file: \"VNKGAS.HIS\"\n"
              "Reading payments history file: \"VNKPMNTQ.HIS\"\n"
              "Reading payments history file: \"VNKPMNT.HIS\"\n");
    EXPECT_EQ(count_flights(smith), 1201u);
    EXPECT_EQ(count_flights(lee), 1u);
    ASSERT_NE(lee->misc, nullptr);
    EXPECT_EQ(lee->misc->charge, 100);
    ASSERT_NE(lee->payments, nullptr);
    EXPECT_EQ(lee->payments->amount, 100);

    // Without the companion files, the old records go and only the main
    // files are read.
    EXPECT_EQ(output_of([] {
                  do_r_flights(false);
                  do_r_gas(false);
                  do_r_payments(false);
              }),
              "Reading day sheet file: \"VNKFLGHT.HIS\"\n"
              "Reading gas history file: \"VNKGAS.HIS\"\n"
              "Reading payments history file: \"VNKPMNT.HIS\"\n");
    EXPECT_EQ(count_flights(smith), 801u);
    ASSERT_NE(lee->misc, nullptr);
    EXPECT_EQ(lee->misc->charge, 200);
    EXPECT_EQ(lee->misc->next, nullptr);
    ASSERT_NE(lee->payments, nullptr);
    EXPECT_EQ(lee->payments->amount, 200);
    EXPECT_EQ(lee->payments->next, nullptr);
}

} // namespace
