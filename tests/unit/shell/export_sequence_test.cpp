// Exports over a period (one category left for later, REMOVE, finance charges, END-MONTH)
// together invoice every new charge of the period's statements exactly once.
#include <cmath>
#include <sstream>

#include "billing/billing.h"
#include "db/db_fixture.h"
#include "maint/remove.h"
#include "reports/reports.h"

namespace {

class ExportSequenceTest : public DbTest {
  protected:
    // Returns the invoiced cents; `told` gets the console.
    static long export_invoices(const std::string &answers, std::string &told) {
        fresh_start();
        feed_input(answers);
        told = output_of([] {
            FILE *file = open_o_file("QB.IIF", "output");
            w_quickbooks();
            close_o_file(file, "QB.IIF", "output");
        });
        long cents = 0;
        std::istringstream iif(read_file("QB.IIF"));
        for (std::string line; std::getline(iif, line);)
            if (line.starts_with("TRNS\t")) {
                size_t amount = 0; // after the fifth tab
                for (int tab = 0; tab < 5; tab++)
                    amount = line.find('\t', amount) + 1;
                cents += std::lround(std::stod(line.substr(amount)) * 100);
            }
        return cents;
    }
};

TEST_F(ExportSequenceTest, EveryChargeOfThePeriodIsInvoicedOnce) {
    lay_out_two_member_period("LEE,AL\tN9\tAL");
    for (const char *companion : {"VNKFLGQU.HIS", "VNKGASQU.HIS", "VNKPMNTQ.HIS"})
        std::filesystem::remove(companion);
    write_file("VNKBAL.DAT", "$VERSION 1\nLEE\tAL\t20000\n");
    write_file("VNKGAS.HIS", "$VERSION 2\n$MISC\n6-3-2005\t1\t2\tLEE,AL\tN\t700\tDues\n"
                             "$GAS\n6-3-2005\t2\t1\tSMITH,JOHN\t3075\t100\t12.3\tN1\tJ\n");
    write_file("VNKPRICE.DAT", "$VERSION 2\n\n$PRICE\tHOOKUP\t0\n\tDEFAULT\t10.000\n\n"
                               "$PRICE\tFINANCE-CHARGE\t0\n\tDEFAULT\t0.015\n\n"
                               "$PRICE\tFINANCE-THRESHOLD\t0\n\tDEFAULT\t10.000\n\n"
                               "$PRICE\tMIN-FINANCE-CHARGE\t0\n\tDEFAULT\t1.000\n\n");
    std::string told;
    long invoiced = export_invoices("NO\nNO\nNO\nYES\nALL\n", told);
    EXPECT_TRUE(has(told, "\nThe records of 1 customers were left for a later export.\n")) << told;
    EXPECT_TRUE(has(read_file("QB.IIF"), "SMITH, JOHN") && !has(read_file("QB.IIF"), "LEE"));

    fresh_start();
    feed_input("YES\nLEE\n1\n~\nYES\n");
    output_of(rmv_flights);
    long second = export_invoices("NO\nNO\nNO\nNO\nALL\n", told);
    EXPECT_EQ(second, 700) << told;
    long finance = export_invoices("NO\nYES\nNO\nNO\nALL\n", told);
    EXPECT_EQ(finance, 300) << told; // 1.5 % of Lee's $200.00
    EXPECT_TRUE(has(read_file("VNKPMNTQ.HIS"), "\t0\t0\tLEE,AL\tFinance charge exported\n"));
    EXPECT_EQ(export_invoices("NO\nYES\nNO\nNO\nALL\n", told), 0) << told;
    invoiced += second + finance;

    fresh_start();
    feed_input("\nYES\nYES\nYES\n" + std::string(20, '\n'));
    told = output_of(do_emonth);
    // The finance mark reads back as an exported payment, without a word.
    EXPECT_TRUE(has(told, "Reading payments history file: \"VNKPMNTQ.HIS\""));
    EXPECT_FALSE(has(told, " on line") || has(told, "Unrecognized line")) << told;
    long statements = 0;
    for (customer *c : db.cust_list)
        statements += c->charges ? getNewCharges(c) : 0;
    EXPECT_EQ(invoiced, statements) << told;
    EXPECT_GT(invoiced, 1000);
    // The new period's first export finds nothing of the old one.
    EXPECT_EQ(export_invoices("NO\nNO\nNO\nNO\nALL\n", told), 0) << told;
}

} // namespace
