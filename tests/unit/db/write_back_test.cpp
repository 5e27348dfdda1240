// A full disk under SAVE and DBOUT: every writer reports, the old files stay byte for byte, no
// temporary is left and the change flags stay set.
#include <filesystem>
#include <map>
#include <string>

#include "db_fixture.h"

namespace {

class WriteBackTest : public DbTest {
  protected:
    void SetUp() override {
        DbTest::SetUp();
        lay_out_two_member_period("LEE,AL\tN9\tAL");
        write_masters("\n$PRICE\tHOOKUP\t0\n\tDEFAULT\t10.000\n\n",
                      customer_record("LEE\tAL") + customer_record("SMITH\tJOHN", "CREDIT\tFULL") +
                          customer_record("WALKER\tW", "CASH\tCASH"),
                      "jd\tdoe\nJD\tSMITH JOHN\n! old entry\n", "LEE\tAL\t-1200\nWALKER\tW\t900\n");
    }

    static bool all_flags_set() {
        return db.abbrev_changed && db.cust_changed && db.price_changed && db.balances_changed;
    }
};

TEST_F(WriteBackTest, FullDiskLeavesEveryHistoryFileAlone) {
    auto before = club_files();
    feed_input("YES\n");
    int code = -1;
    std::string out = run_on_full_disk([] { return do_write_database(), true; }, code);
    EXPECT_EQ(code, 0) << out;
    for (const char *message :
         {"gas and misc charges file \"VNKGAS.TMP\"\n", "payments file \"VNKPMNT.TMP\"\n",
          "day sheet file \"VNKFLGHT.TMP\"\n"})
        EXPECT_TRUE(has(out, std::string("? Unable to close ") + message)) << out;
    EXPECT_FALSE(has(out, "The old copy"));
    EXPECT_EQ(club_files(), before);
}

TEST_F(WriteBackTest, FullDiskSaveKeepsOldMasterFilesAndFlags) {
    output_of([] {
        maybe_read();
        set_price(fc_item("HOOKUP"), "DEFAULT", 12500, 0);
    });
    fc_abbrev("AL", "LEE", "AL", true);
    customer *lee = fc_cust("LEE", "AL", false);
    ASSERT_NE(lee, nullptr);
    replace_str(&lee->info, "moved to Ohio");
    lee->balance = 300;
    lookup_account("#1", false)->balance = 500; // the CASH account, made without the cash flag
    db.price_changed = db.abbrev_changed = db.cust_changed = db.balances_changed = 1;

    auto before = club_files();
    int code = -1;
    std::string out = run_on_full_disk([] { return do_save(), all_flags_set(); }, code);
    EXPECT_EQ(code, 0) << "a change flag was cleared:\n" << out;
    EXPECT_EQ(out, "? Unable to close abbreviations file \"VNKABBRV.DAT\"\n"
                   "? No address for  CASH\n"
                   "? Unable to close customer file \"VNKCUST.DAT\"\n"
                   "? Unable to close prices file \"VNKPRICE.DAT\"\n"
                   "? Unable to close balances file \"VNKBAL.DAT\"\n");
    EXPECT_EQ(club_files(), before);

    // With room the same save replaces all four. The first JD read stays; a two-word comment reads
    // as an abbreviation; cash customers and zero balances are left out of the balances.
    output_of(do_save);
    EXPECT_FALSE(db.abbrev_changed || db.cust_changed || db.price_changed || db.balances_changed);
    auto after = club_files();
    EXPECT_EQ(after["VNKABBRV.DAT"], "$VERSION 1\n!\tOLD ENTRY\nAL\tLEE AL\nJD\tDOE \n");
    EXPECT_EQ(after["VNKBAL.DAT"], "$VERSION 1\nCASH\t\t500\nLEE\tAL\t300\n");
    EXPECT_TRUE(has(after["VNKCUST.DAT"], "moved to Ohio") &&
                has(after["VNKPRICE.DAT"], "\tDEFAULT\t12.500\n"));
    EXPECT_EQ(after.size(), before.size());
}

TEST_F(WriteBackTest, UnopenableMasterFilesKeepFlags) {
    for (char **name : {&db.abbrevfile, &db.customerfile, &db.pricefile, &db.balancesfile})
        replace_str(name, ("absent/" + std::string(*name)).c_str());
    db.price_changed = db.abbrev_changed = db.cust_changed = db.balances_changed = 1;
    EXPECT_EQ(output_of(do_save), "? Unable to open abbreviations file \"absent/VNKABBRV.DAT\"\n"
                                  "? Unable to open customer file \"absent/VNKCUST.DAT\"\n"
                                  "? Unable to open prices file \"absent/VNKPRICE.DAT\"\n"
                                  "? Unable to open account balances file \"absent/VNKBAL.DAT\"\n");
    EXPECT_TRUE(all_flags_set());
}

// A fresh period file that cannot be written completely leaves the old one.
TEST_F(WriteBackTest, EmptyPeriodFileOnFullDiskKeepsOldFile) {
    auto before = club_files();
    int code = -1;
    std::string out = run_on_full_disk([] { return create_empty_file("VNKGASQU.HIS") != 0; }, code);
    EXPECT_EQ(code, 0) << out;
    EXPECT_TRUE(has(out, "? Unable to close empty file file \"VNKGASQU.HIS\"\n")) << out;
    EXPECT_EQ(club_files(), before);

    std::string opened = output_of([] { EXPECT_NE(create_empty_file("no/dir/X.HIS"), 0); });
    EXPECT_TRUE(has(opened, "? Unable to open empty file \"no/dir/X.HIS\"\n"));
    EXPECT_EQ(get_o_file(), stdout);
}

} // namespace
