// A customer's tow-height sum decides whether a statement has the tow
// height column, and it is kept by hand as flights come and go, never by a
// walk: every way of adding or dropping flights must leave it right.
#include <vector>

#include "db_fixture.h"

namespace {

class TowHeightSumTest : public DbTest {
  protected:
    static flight *tow(customer *c, int tenths) {
        flight *f = new_flight(c, "ASK21");
        f->towheight = tenths;
        return f;
    }
};

TEST_F(TowHeightSumTest, FollowsEveryAddAndFree) {
    customer *a = fc_cust("ADAMS", "", true), *b = fc_cust("BAKER", "", true);
    EXPECT_EQ(a->tow_height_sum, 0);
    flight *gone = tow(a, 20);
    add_flight(gone, a);
    add_flight(tow(a, 35), a);
    std::vector<flight *> batch = {tow(b, 7), tow(a, -5), tow(nullptr, 99), tow(b, 0x7FFFFFFF)};
    flight *orphan = batch[2];
    add_flights(batch);
    EXPECT_EQ(a->tow_height_sum, 50);
    EXPECT_EQ(b->tow_height_sum, wrap32(int64_t{7} + 0x7FFFFFFF)); // wraps as a walk would
    free_flight(gone);
    EXPECT_EQ(a->tow_height_sum, 30);
    free_customer_flights(b);
    EXPECT_EQ(b->tow_height_sum, 0);
    add_flight(tow(b, 12), b);
    db.flights_read = 1;
    free_flights();
    EXPECT_EQ(a->tow_height_sum, 0);
    EXPECT_EQ(b->tow_height_sum, 0);
    free_flight_contents(orphan);
    errfree(orphan);
}

} // namespace
