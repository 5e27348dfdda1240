// The summary rows of TIMES and the tow plane summary: grouping, the order
// rows and people are printed in, no-time counts and the two time units.
#include <string>

#include "billing/billing.h"
#include "billing/times.h"
#include "db/db_fixture.h"
#include "testutil.h"

namespace {

std::string written(const duration_list &list, bool is_tow) {
    return output_of([&] {
        set_o_file(stdout);
        write_times(list, is_tow);
    });
}

TEST(TimesRows, GroupByExactNameAndPrintNewestFirst) {
    duration_list list;
    add_duration(list, "ASK21", 60, "ADAMS");
    add_duration(list, "DISCUS", 45, "BAKER");
    add_duration(list, "ASK21", 30, "BAKER");
    add_duration(list, "ASK21", 15, "ADAMS");
    add_duration(list, "ask21", 0, "ADAMS"); // another row: names match exactly

    ASSERT_EQ(list.rows.size(), 3u);
    const duration &ask = list.rows[0];
    EXPECT_EQ(ask.count, 3);
    EXPECT_EQ(ask.time, 105);
    ASSERT_EQ(ask.people.size(), 2u);
    EXPECT_EQ(ask.people[0].count, 2);
    EXPECT_EQ(ask.people[0].time, 75);
    EXPECT_EQ(list.rows[2].notime, 1);
    EXPECT_EQ(list.rows[2].people[0].notime, 1);

    EXPECT_EQ(written(list, false), "ask21\n"
                                    "    ADAMS          1      0:00\n"
                                    "\n"
                                    "        Total:     1      0:00  Flights with no time: 1\n"
                                    "\n"
                                    "DISCUS\n"
                                    "    BAKER          1      0:45\n"
                                    "\n"
                                    "        Total:     1      0:45\n"
                                    "\n"
                                    "ASK21\n"
                                    "    BAKER          1      0:30\n"
                                    "    ADAMS          2      1:15\n"
                                    "\n"
                                    "        Total:     3      1:45\n"
                                    "\n"
                                    "\n"
                                    "\n"
                                    " Grand totals:     5      2:30  Flights with no time: 1\n");
    free_times(list);
    EXPECT_TRUE(list.rows.empty());
    EXPECT_TRUE(list.index.empty());
}

TEST(TimesRows, TowHeightsPrintAsThousandsOfFeet) {
    duration_list tows;
    add_duration(tows, "TB", 25, "6-1-2005");
    add_duration(tows, "TB", 30, "6-1-2005");
    add_duration(tows, "", 0, "6-2-2005");
    std::string text = written(tows, true);
    EXPECT_NE(text.find("    6-1-2005       2       5.5\n"), std::string::npos) << text;
    EXPECT_NE(text.find("        Total:     1       0.0  Flights with no time: 1\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find(" Grand totals:     3       5.5  Flights with no time: 1\n"),
              std::string::npos)
        << text;
}

TEST(TimesRows, ManyFlightsStayGroupedUnderFewRows) {
    duration_list list;
    for (int i = 0; i < 20000; i++) {
        // Appended rather than "P" + to_string: GCC 12 misreads that at -O3.
        std::string pilot = "P";
        pilot += std::to_string(i % 50);
        add_duration(list, i % 2 ? "ASK21" : "DISCUS", 1, pilot);
    }
    ASSERT_EQ(list.rows.size(), 2u);
    EXPECT_EQ(list.rows[0].people.size(), 25u);
    EXPECT_EQ(list.rows[0].count + list.rows[1].count, 20000);
    EXPECT_EQ(list.rows[1].people[3].count, 400);
}

using TowSummary = DbTest;

TEST_F(TowSummary, ListsUsedSlotsAndTheirTotal) {
    towplane *pawnee = fc_tug("pawnee", true);
    fc_tug("HUSKY", true);
    pawnee->numberTows = 3;
    pawnee->towheight = 75;
    pawnee->charges = 12345;
    std::string text = output_of([] {
        set_o_file(stdout);
        w_tow_summary(nullptr, "6-7-2005");
    });
    EXPECT_NE(text.find("Only tows for each towplane including and before: 6-7-2005\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("         PAWNEE    3 Tows 7.5K             $123.45\n"), std::string::npos)
        << text;
    EXPECT_NE(text.find("         HUSKY     0 Tows 0.0K               $0.00\n"), std::string::npos)
        << text;
    EXPECT_NE(text.find("         Total     3 Tows 7.5K             $123.45\n"), std::string::npos)
        << text;
    EXPECT_NE(text.find("         Total does not include tows by unspecified tow plane.\n"),
              std::string::npos);
}

} // namespace
