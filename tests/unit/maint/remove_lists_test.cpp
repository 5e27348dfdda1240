// Removals at the head, middle or end keep each list and its lookup indexes in step; nothing
// points at a freed record (the sanitizer build checks that part).
#include <string>
#include <vector>

#include "db/db_fixture.h"
#include "maint/remove.h"

namespace {

class RemoveListsTest : public DbTest {
  protected:
    void SetUp() override {
        DbTest::SetUp();
        std::string club;
        for (const char *name : {"ADAMS\tA", "BAKER\tB", "COOK\tC", "DUNN\tD"})
            club += customer_record(name, "CREDIT\tDEFAULT", "-No eMail", "-No Address");
        write_masters("$PRICE\tASK21\t1\n\tDEFAULT\t42.000\n$PRICE\tDISCUS\t3\n\tDEFAULT\t48.000\n"
                      "$PRICE\tGROB\t3\n\tDEFAULT\t40.000\n",
                      club, "AB\tADAMS A\nCD\tCOOK C\nEF\tDUNN D\n");
    }

    static std::string run(void (*removal)(), const std::string &input) {
        feed_input(input);
        return output_of(removal);
    }

    static std::vector<std::string> customers() {
        std::vector<std::string> names;
        for (customer *c : db.cust_list)
            names.push_back(std::string(c->lastname) + "," + c->firstname);
        return names;
    }

    static std::vector<std::string> abbreviations() {
        std::vector<std::string> names;
        for (abbrev *a : db.abbrevs)
            names.push_back(a->name);
        return names;
    }

    static std::string fast_key(int key) {
        const char *name = db.nnumbers[key - 1];
        return name ? name : "<none>";
    }
};

using Names = std::vector<std::string>;

TEST_F(RemoveListsTest, CustomersGoFromHeadMiddleAndTailAndTheListStaysUsable) {
    for (const char *name : {"A ADAMS", "C COOK", "D DUNN"}) {
        run(rmv_cust, std::string(name) + "\nYES\n");
        EXPECT_EQ(db.cust_changed, 1);
    }
    EXPECT_EQ(customers(), Names{"BAKER,B"});
    EXPECT_EQ(std::pair(db.cust_list.size(), db.cust_exact.size()), std::pair(1ul, 1ul));
    EXPECT_TRUE(fc_cust("DUNN", "D", false) == nullptr && lookup_account("COOK", false) == nullptr);

    // New customers land in order, after the tail as well as at the head.
    fc_cust("EVANS", "E", true);
    fc_cust("ADAMS", "A", true);
    EXPECT_EQ(customers(), (Names{"ADAMS,A", "BAKER,B", "EVANS,E"}));

    // Answering NO, or "~", keeps every customer.
    run(rmv_cust, "EVANS\nNO\n");
    run(rmv_cust, "~\n");
    EXPECT_EQ(customers().size(), 3u);
}

TEST_F(RemoveListsTest, AbbreviationsAndPricesGoWithTheirIndexEntriesAndFastKeys) {
    run(rmv_abbrev, "XY\nAB\n");
    run(rmv_abbrev, "EF\n");
    EXPECT_EQ(abbreviations(), Names{"CD"});
    EXPECT_TRUE(db.abbrevs.size() == 1 && lookup_account("AB", true) == nullptr);
    fc_abbrev("ZZ", "DUNN", "D", true);
    fc_abbrev("AA", "ADAMS", "A", true);
    EXPECT_EQ(abbreviations(), (Names{"AA", "CD", "ZZ"}));

    // Fast key 3 was read last for GROB; with GROB gone it is DISCUS's, as
    // a fresh read of the written file would make it, then nobody's.
    EXPECT_EQ(fast_key(3), "GROB");
    run(rmv_prices, "GROB\n");
    EXPECT_EQ(fast_key(3), "DISCUS");
    run(rmv_prices, "DISCUS\n");
    EXPECT_EQ(fast_key(3), "<none>");
    db.bills_computed = 1;
    run(rmv_prices, "DISC\nASK21\n");
    EXPECT_EQ(fast_key(1), "<none>");
    EXPECT_TRUE(db.price_list.empty() && db.price_list.size() == 0 && db.price_changed == 1 &&
                db.bills_computed == 0);
    fc_item("HOOKUP");
    ASSERT_FALSE(db.price_list.empty());
    EXPECT_STREQ(db.price_list.head()->name, "HOOKUP");
}

} // namespace
