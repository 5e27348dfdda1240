#include <string>
#include <vector>

#include "db/completion.h"
#include "db_fixture.h"

namespace {

using ListsTest = DbTest;

std::vector<std::string> planes_of(const customer *c) {
    std::vector<std::string> out;
    for (const flight *f : c->flights)
        out.push_back(f->plane);
    return out;
}

TEST_F(ListsTest, TowPlaneTableLimits) {
    towplane *pawnee = fc_tug("pawnee", true);
    EXPECT_STREQ(pawnee->tugname, "PAWNEE");
    EXPECT_EQ(fc_tug("Pawnee", false), pawnee);
    std::vector<std::string> offered; // Tab offers the named slots only
    complete_towplanes(nullptr, "", offered);
    EXPECT_EQ(offered, std::vector<std::string>{"PAWNEE"});
    // Names are cut to 63 characters, on lookup as well.
    towplane *lng = fc_tug(std::string(70, 'x').c_str(), true);
    EXPECT_EQ(std::string(lng->tugname), std::string(63, 'X'));
    EXPECT_EQ(fc_tug((std::string(63, 'X') + "YYY").c_str(), false), lng);
    for (int i = 2; i < TUG_TABLE_SIZE; ++i)
        ASSERT_NE(fc_tug(("TUG" + std::to_string(i)).c_str(), true), nullptr);
    EXPECT_EQ(fc_tug("TUG15", false), &db.tugList[15]);
    EXPECT_EQ(output_of([] {
                  EXPECT_EQ(fc_tug("husky", false), nullptr);
                  EXPECT_EQ(fc_tug("husky", true), nullptr);
              }),
              "? ERROR: not enough room in table of towplanes for husky\n");
}

std::vector<std::string> names_of(const namelist *list) {
    std::vector<std::string> out;
    for (; list; list = list->next)
        out.push_back(list->name);
    return out;
}

// Categories and flags stay in byte order with one copy of each name; fuel
// grades keep the order they came in; empty names never enter a list.
TEST_F(ListsTest, NameListsAndFlightTypes) {
    free_mnames();
    for (const char *name : {"b", "JUNIOR", "a", "", "JUNIOR"})
        fc_category(name);
    EXPECT_EQ(names_of(db.category_names), (std::vector<std::string>{"JUNIOR", "a", "b"}));
    EXPECT_EQ(fc_category("a"), db.category_names->next->name);
    EXPECT_EQ(fc_category(nullptr), nullptr);

    customer *c = fc_cust("ADAMS", "", true);
    EXPECT_EQ(fc_customer_flag(c, "BOARD", false), nullptr);
    namelist *board = fc_customer_flag(c, "BOARD", true);
    EXPECT_EQ(board->name, fc_namelist_entry(&db.flag_names, "BOARD", false, false)->name);
    EXPECT_EQ(fc_customer_flag(c, "BOARD", false), board);
    EXPECT_EQ(fc_customer_flag(nullptr, "BOARD", true), nullptr);

    free_gas_grades();
    for (const char *grade : {"JETA", "100", "", "JETA", "80"})
        fc_gas_grade(grade, true);
    EXPECT_EQ(names_of(db.gas_grades), (std::vector<std::string>{"JETA", "100", "80"}));
    EXPECT_EQ(fc_gas_grade("jeta", false), nullptr);

    const std::pair<const char *, int> types[] = {
        {"", 0},           {"-", 0}, {"O", 0}, {"I", 2}, {"P", 4},      {"INSTRUCTIONAL", 2},
        {"ROPE-BREAK", 3}, {"i", 5}, {"U", 5}, {"X", 5}, {"GLIDER", 5}, {"Other", 5}};
    for (auto [text, code] : types)
        EXPECT_EQ(translate_flight_type(text), code) << text;
}

// A removed tail is never appended to; a reader's batch goes after what is held, in file order,
// leaving the tails right for the next single append.
TEST_F(ListsTest, AppendingKeepsOrderThroughRemovalsAndBatches) {
    customer *a = fc_cust("ADAMS", "", true), *b = fc_cust("BAKER", "", true);
    flight *a1 = new_flight(a, "A1"), *a3 = new_flight(a, "A3");
    add_flight(a1, a);
    add_flight(new_flight(b, "B1"), b);
    add_flight(new_flight(a, "A2"), a);
    add_flight(a3, a);
    free_flight(a3);
    add_flight(new_flight(a, "A4"), a);
    free_flight(a1);
    add_flight(new_flight(a, "A5"), a);
    EXPECT_EQ(planes_of(a), (std::vector<std::string>{"A2", "A4", "A5"}));
    EXPECT_EQ(planes_of(b), (std::vector<std::string>{"B1"}));

    customer *c = fc_cust("CARTER", "", true);
    std::vector<flight *> batch = {new_flight(b, "B2"), new_flight(a, "A6"), new_flight(c, "C1"),
                                   new_flight(b, "B3"), new_flight(c, "C2")};
    add_flights(batch);
    EXPECT_TRUE(batch.empty());
    add_flight(new_flight(b, "B4"), b);
    add_flight(new_flight(c, "C3"), c);
    EXPECT_EQ(planes_of(a), (std::vector<std::string>{"A2", "A4", "A5", "A6"}));
    EXPECT_EQ(planes_of(b), (std::vector<std::string>{"B1", "B2", "B3", "B4"}));
    EXPECT_EQ(planes_of(c), (std::vector<std::string>{"C1", "C2", "C3"}));

    free_flights(); // nothing was read from a file: nothing is dropped
    EXPECT_EQ(planes_of(b).size(), 4u);
    db.flights_read = 1;
    free_flights();
    EXPECT_EQ(a->flights.head(), nullptr);
    add_flight(new_flight(a, "A7"), a);
    EXPECT_EQ(planes_of(a), (std::vector<std::string>{"A7"}));
}

TEST_F(ListsTest, UnlinkedRecordsAreReportedAndKept) {
    customer *a = fc_cust("ADAMS", "", true);
    flight *orphan = new_flight(nullptr, "X");
    flight *stray = new_flight(a, "Y"); // names the customer but is not in its list
    gas g{};
    misc m{};
    payment p{};
    EXPECT_EQ(output_of([&] {
                  free_flight(orphan);
                  free_flight(stray);
                  free_misc_charge(&m);
                  free_payment(&p);
                  free_gas_charge(&g);
                  g.customer = m.customer = p.customer = a;
                  free_misc_charge(&m);
                  free_payment(&p);
                  free_gas_charge(&g);
              }),
              "BUG, flight without related customer\n"
              "?BUG, flight not found in list\n"
              "BUG, misc charge without related customer\n"
              "? BUG, payment without related customer\n"
              "BUG, gas charge without related customer\n"
              "?BUG, misc charge not found in list\n"
              "?BUG, payment not found in list\n"
              "?BUG, gas charge not found in list\n");
    EXPECT_STREQ(orphan->plane, "X"); // not freed
    for (flight *f : {orphan, stray}) {
        free_flight_contents(f);
        errfree(f);
    }

    // A charges record that is itself a list is reported; only it is freed.
    charges *second = zeroed<charges>();
    a->charges = zeroed<charges>();
    a->charges->next = second;
    EXPECT_EQ(output_of([&] { free_customer_charges(a); }),
              "? Should not find a list of charges on a customer.");
    EXPECT_EQ(a->charges, nullptr);
    errfree(second);
}

} // namespace

// The sorted lists keep their links and their index in step through
// insertions in any order and removals at the head, middle and tail.
TEST(SortedListTest, LinksFollowTheIndexThroughInsertsAndRemovals) {
    struct Node {
        Node *next;
        std::string name;
    };
    std::vector<Node> nodes;
    for (const char *name : {"M", "C", "X", "A", "Q", "Z", "B"})
        nodes.push_back(Node{nullptr, name});
    SortedList<Node, std::string> list;
    for (Node &n : nodes)
        EXPECT_EQ(list.insert(n.name, &n), &n);
    Node again{nullptr, "Q"};
    EXPECT_EQ(list.insert("Q", &again), &nodes[4]);
    auto names = [&list] {
        std::string out;
        for (Node *n : list)
            out += n->name;
        return out;
    };
    EXPECT_EQ(names(), "ABCMQXZ");
    EXPECT_FALSE(list.remove(std::string("Q"), &again));
    for (const char *gone : {"A", "M", "Z"})
        EXPECT_TRUE(list.remove(std::string(gone), list.find(std::string(gone))));
    EXPECT_FALSE(list.remove(std::string("A"), &nodes[3]));
    EXPECT_EQ(names(), "BCQX");
    EXPECT_EQ(list.size(), 4u);
    EXPECT_EQ(list.lower_bound(std::string("D"))->name, "Q");
    std::string near;
    for (Node *n : list.around(std::string("D"), 2))
        near += n->name;
    EXPECT_EQ(near, "CBQX");
    list.insert("A", &nodes[3]);
    list.insert("Z", &nodes[5]);
    EXPECT_EQ(names(), "ABCQXZ");
    EXPECT_EQ(list.release()->name, "A");
    EXPECT_TRUE(list.empty());
}
