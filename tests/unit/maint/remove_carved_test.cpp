// A record removed from the middle of a carved chunk: the chunk lives on for the others, the
// allocation report counts the freed blocks exactly, and RESET hands back every chunk.
#include <string>

#include "db/db_fixture.h"
#include "maint/remove.h"

namespace {

long net_blocks() {
    std::string report = output_of([] {
        set_o_file(stdout);
        o_space();
    });
    size_t at = report.find("Net blocks out");
    EXPECT_NE(at, std::string::npos) << report;
    return at == std::string::npos ? -1 : std::stol(report.substr(at + 14));
}

class RemoveCarvedTest : public DbTest {
  protected:
    // Smith's records of the four kinds, from a fresh lookup.
    static int smiths_kinds() {
        customer *smith = fc_cust("SMITH", "JOHN", false);
        return smith == nullptr ? -1
                                : !smith->flights.empty() + !smith->gas.empty() +
                                      !smith->misc.empty() + !smith->payments.empty();
    }

    // Lee's many flights fill more than one chunk; Smith has one record of
    // each kind, read in among them.
    static void lay_out_club() {
        write_two_member_masters("");
        std::string flights = "$VERSION 2\n";
        for (int i = 1; i <= 30000; i++) {
            flights += "6-2-2005\t" + std::to_string(i) +
                       "\tLEE,AL\tN9\tAL\tO\t\t\tTP\tPAWNEE\t2\t11:00\t11:20\n";
            if (i == 15000)
                flights += "6-3-2005\t4\tSMITH,JOHN\tN9\tJ\tI\tAL\t\tTP\tPAWNEE\t3\t9:00\t9:45\n";
        }
        write_file("VNKFLGHT.HIS", flights);
        write_file("VNKFLGQU.HIS", "$VERSION 2\n");
        write_two_member_gas();
        write_file("VNKPMNTQ.HIS", "$VERSION 3\n$PAYMENTS\n");
        write_file("VNKPMNT.HIS", "$VERSION 3\n$PAYMENTS\n6-4-2005\t2500\t101\tSMITH,JOHN\tx\n");
    }
};

TEST_F(RemoveCarvedTest, RemovedRecordsAreCountedFreedAndTheirChunksGoBackOnReset) {
    lay_out_club();
    long empty = net_blocks();
    std::string out = output_of([] { do_r_all(); });
    ASSERT_EQ(smiths_kinds(), 4) << out;

    // Smith's one record of each kind, the files rewritten after each.
    out = output_of([] {
        for (void (*removal)() : {rmv_flights, rmv_gas_sales, rmv_misc, rmv_payments}) {
            feed_input("YES\nSMITH\n1\n~\nYES\n");
            removal();
        }
    });
    EXPECT_EQ(smiths_kinds(), 0) << out;
    long after_removal = net_blocks();

    // The rest of the chunk the flight came from is still whole.
    customer *lee = fc_cust("LEE", "AL", false);
    long lee_flights = 0;
    for (const flight *f = lee->flights.head(); f; f = f->next, lee_flights++)
        ASSERT_STREQ(f->towpilot, "TP");
    EXPECT_EQ(lee_flights, 30000);

    output_of(fresh_start);
    EXPECT_EQ(net_blocks(), empty);

    // The rewritten files hold exactly what was left in memory.
    out = output_of([] { do_r_all(); });
    EXPECT_FALSE(has(out, "?")) << out;
    EXPECT_EQ(net_blocks(), after_removal);
    EXPECT_EQ(smiths_kinds(), 0);

    output_of(fresh_start);
    EXPECT_EQ(net_blocks(), empty);
}

} // namespace
