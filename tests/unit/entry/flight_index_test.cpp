// The duplicate index gives what a walk would: the first flight of that customer, date and number.
#include "db/db_fixture.h"
#include "entry/flight_index.h"

namespace {

class FlightIndexTest : public DbTest {
  protected:
    static flight *stored(customer *c, date_t date, int number, const char *plane) {
        flight *f = new_flight(c, plane);
        f->date = date;
        f->number = number;
        add_flight(f, c);
        return f;
    }
};

TEST_F(FlightIndexTest, FindsTheFirstFlightOfTheSameCustomerDateAndNumber) {
    customer *ann = fc_cust("SMITH", "ANN", true), *bob = fc_cust("SMITH", "BOB", true);
    const date_t day = 1118102400, next_day = day + 86400; // 7 and 8 June 2005
    // A day 2^32 seconds later shares the low 32 bits; it is another key.
    const date_t far_day = day + (date_t{1} << 32);
    stored(ann, day, 3, "OTHER-NUMBER");
    flight *first = stored(ann, day, 2, "FIRST");
    stored(ann, day, 2, "SECOND");
    stored(ann, next_day, 2, "OTHER-DAY");
    stored(bob, day, 7, "BOBS");
    stored(ann, far_day, 2, "FAR");
    // Unreadable numbers and dates before 1970 are keys like any other.
    flight *unreadable = stored(bob, -86400, -1, "UNREADABLE");

    FlightIndex index;
    EXPECT_EQ(index.first(ann, day, 2), first);
    EXPECT_EQ(index.first(ann, next_day, 2)->plane, std::string("OTHER-DAY"));
    EXPECT_EQ(index.first(ann, far_day, 2)->plane, std::string("FAR"));
    EXPECT_EQ(index.first(ann, day, 7), nullptr) << "Bob's flight is not Ann's duplicate";
    EXPECT_EQ(index.first(bob, day, 2), nullptr) << "Ann's flights are not Bob's";
    EXPECT_EQ(index.first(bob, -86400, -1), unreadable);
    EXPECT_EQ(index.first(bob, -1, -86400), nullptr);
    EXPECT_EQ(index.first(nullptr, day, 2), nullptr);
    // Asked again, the answers do not change.
    EXPECT_EQ(index.first(ann, day, 2), first);
    // A customer without flights has no duplicates.
    EXPECT_EQ(FlightIndex().first(fc_cust("CASH", "", true), 0, 0), nullptr);
}

} // namespace
