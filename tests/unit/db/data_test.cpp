#include <chrono>

#include "dbcore_fixture.h"

namespace {

using DataTest = DbCoreTest;

std::vector<std::string> planes_of(const customer *c) {
    std::vector<std::string> out;
    for (const flight *f = c->flights; f; f = f->next)
        out.push_back(f->plane);
    return out;
}

TEST_F(DataTest, NameListsAreSortedExactAndShared) {
    namelist *list = nullptr;
    EXPECT_EQ(fc_namelist_entry(&list, "", true, true), nullptr);
    EXPECT_EQ(fc_namelist_entry(&list, nullptr, true, true), nullptr);
    namelist *b = fc_namelist_entry(&list, "BRAVO", true, true);
    fc_namelist_entry(&list, "alpha", true, true);
    fc_namelist_entry(&list, "ALPHA", true, true);
    EXPECT_EQ(fc_namelist_entry(&list, "BRAVO", true, true), b);
    EXPECT_EQ(fc_namelist_entry(&list, "BRAV", false, true), nullptr);
    EXPECT_EQ(names_of(list), (std::vector<std::string>{"ALPHA", "BRAVO", "alpha"}));
    char *mine = alloc_str("DELTA");
    EXPECT_EQ(fc_namelist_entry(&list, mine, true, false)->name, mine);
    free_namelist(list, true);

    const char *junior = fc_category("JUNIOR");
    EXPECT_EQ(fc_category("JUNIOR"), junior);
    EXPECT_EQ(fc_category(""), nullptr);

    customer *c = add_customer("SMITH");
    EXPECT_EQ(fc_customer_flag(c, "TOWPILOT", false), nullptr);
    EXPECT_EQ(db.flag_names, nullptr); // asking creates nothing
    namelist *node = fc_customer_flag(c, "TOWPILOT", true);
    fc_customer_flag(c, "BOARD", true);
    EXPECT_EQ(names_of(c->flags), (std::vector<std::string>{"BOARD", "TOWPILOT"}));
    EXPECT_EQ(node->name, fc_namelist_entry(&db.flag_names, "TOWPILOT", false, true)->name);
    EXPECT_EQ(fc_customer_flag(c, "TOWPILOT", false), node);

    // Freeing a customer leaves the interned names alone.
    free_mcustomers();
    EXPECT_EQ(names_of(db.flag_names), (std::vector<std::string>{"BOARD", "TOWPILOT"}));
    EXPECT_EQ(names_of(db.category_names), (std::vector<std::string>{"DEFAULT", "JUNIOR"}));

    fc_gas_grade("100", true);
    fc_gas_grade("JETA", true);
    fc_gas_grade("80", true);
    fc_gas_grade("100", true);
    EXPECT_EQ(fc_gas_grade("jeta", false), nullptr);
    EXPECT_EQ(fc_gas_grade("", true), nullptr);
    EXPECT_EQ(names_of(db.gas_grades), (std::vector<std::string>{"100", "JETA", "80"}));
}

TEST_F(DataTest, TowPlaneTable) {
    towplane *pawnee = fc_tug("pawnee", true);
    EXPECT_STREQ(pawnee->tugname, "PAWNEE");
    EXPECT_EQ(fc_tug("Pawnee", false), pawnee);
    towplane *lng = fc_tug(std::string(70, 'x').c_str(), true);
    EXPECT_EQ(std::string(lng->tugname), std::string(63, 'X'));
    EXPECT_EQ(fc_tug((std::string(63, 'X') + "YYY").c_str(), false), lng);
    for (int i = 2; i < TUG_TABLE_SIZE; ++i)
        ASSERT_NE(fc_tug(("TUG" + std::to_string(i)).c_str(), true), nullptr);
    EXPECT_EQ(fc_tug("TUG15", false), &db.tugList[15]);

    start_capture();
    EXPECT_EQ(fc_tug("husky", false), nullptr);
    EXPECT_EQ(fc_tug("husky", true), nullptr);
    EXPECT_EQ(end_capture(), "? ERROR: not enough room in table of towplanes for husky\n");
}

TEST_F(DataTest, TranslateFlightType) {
    const std::pair<const char *, int> cases[] = {
        {"", 0},  {"-", 0},           {"O", 0}, {"C", 1}, {"I", 2}, {"INSTRUCTIONAL", 2},
        {"R", 3}, {"PATTERN-TOW", 4}, {"i", 5}, {"X", 5}, {"U", 5}, {"GLIDER", 5}};
    for (const auto &[text, code] : cases)
        EXPECT_EQ(translate_flight_type(text), code) << text;
}

TEST_F(DataTest, AppendingKeepsOrderThroughRemovals) {
    customer *a = add_customer("ADAMS");
    customer *b = add_customer("BAKER");
    flight *a1 = new_flight(a, "A1");
    flight *a3 = new_flight(a, "A3");
    add_flight(a1, a);
    add_flight(new_flight(b, "B1"), b);
    add_flight(new_flight(a, "A2"), a);
    add_flight(a3, a);
    // Removing the tail, then appending, must not link onto the freed node.
    free_flight(a3);
    add_flight(new_flight(a, "A4"), a);
    free_flight(a1);
    add_flight(new_flight(a, "A5"), a);
    EXPECT_EQ(planes_of(a), (std::vector<std::string>{"A2", "A4", "A5"}));
    EXPECT_EQ(planes_of(b), (std::vector<std::string>{"B1"}));

    free_flights(); // not read from a file: nothing is dropped
    EXPECT_EQ(planes_of(b).size(), 1u);
    db.flights_read = 1;
    free_flights();
    EXPECT_EQ(db.flights_read, 0);
    EXPECT_EQ(a->flights, nullptr);
    add_flight(new_flight(a, "A6"), a);
    EXPECT_EQ(planes_of(a), (std::vector<std::string>{"A6"}));
}

TEST_F(DataTest, TenThousandFlightsPerCustomerAppendQuickly) {
    customer *a = add_customer("ADAMS");
    customer *b = add_customer("BAKER");
    auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 20000; ++i) {
        customer *c = (i % 2) ? b : a;
        add_flight(new_flight(c, std::to_string(i)), c);
    }
    EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 0.5);
    int expect = 0;
    for (const flight *f = a->flights; f; f = f->next, expect += 2)
        ASSERT_EQ(std::string(f->plane), std::to_string(expect));
    EXPECT_EQ(expect, 20000);
}

TEST_F(DataTest, UnlinkedRecordsAreReportedAndKept) {
    customer *a = add_customer("ADAMS");
    flight *orphan = new_flight(nullptr, "X");
    flight *stray = new_flight(a, "Y"); // names the customer but is not in its list
    gas g{};
    misc m{};
    payment p{};
    start_capture();
    free_flight(orphan);
    free_flight(stray);
    free_misc_charge(&m);
    free_payment(&p);
    free_gas_charge(&g);
    g.customer = m.customer = p.customer = a;
    free_misc_charge(&m);
    free_payment(&p);
    free_gas_charge(&g);
    EXPECT_EQ(end_capture(), "BUG, flight without related customer\n"
                             "?BUG, flight not found in list\n"
                             "BUG, misc charge without related customer\n"
                             "? BUG, payment without related customer\n"
                             "BUG, gas charge without related customer\n"
                             "?BUG, misc charge not found in list\n"
                             "?BUG, payment not found in list\n"
                             "?BUG, gas charge not found in list\n");
    EXPECT_STREQ(orphan->plane, "X"); // not freed
    free_flight_contents(orphan);
    errfree(orphan);
    free_flight_contents(stray);
    errfree(stray);

    // A charges record that is itself a list is reported; only it is freed.
    charges *second = zeroed<charges>();
    a->charges = zeroed<charges>();
    a->charges->next = second;
    start_capture();
    free_customer_charges(a);
    EXPECT_EQ(end_capture(), "? Should not find a list of charges on a customer.");
    EXPECT_EQ(a->charges, nullptr);
    errfree(second);
}

TEST_F(DataTest, FreeingWholeListsClearsFlagsAndIndexes) {
    customer *a = add_customer("ADAMS");
    db.cust_index[{"ADAMS", ""}] = a;
    set_price(fc_item("ASK21"), "DEFAULT", 1000, 0);
    db.cust_changed = db.price_changed = db.abbrev_changed = 1;
    free_mcustomers();
    free_mprices();
    free_mabbrevs();
    EXPECT_EQ(db.cust_list, nullptr);
    EXPECT_EQ(db.last_cust, nullptr);
    EXPECT_EQ(db.price_list, nullptr);
    EXPECT_TRUE(db.cust_index.empty());
    EXPECT_TRUE(db.price_index.empty());
    EXPECT_EQ(db.cust_changed + db.price_changed + db.abbrev_changed, 0);
    EXPECT_EQ(fc_item("ASK21")->cat, nullptr); // a fresh item, not the freed one
}

} // namespace
