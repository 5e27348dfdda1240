// A database with the billing totals reset around each test, and builders
// for the priced records that the charge tests bill.
#pragma once

#include <string>

#include "billing/billing.h"
#include "db/db_fixture.h"

class BillingTest : public DbTest {
  protected:
    void SetUp() override {
        DbTest::SetUp();
        billing_reset();
    }
    void TearDown() override {
        billing_reset();
        DbTest::TearDown();
    }
    // A DEFAULT price; a change of one is reported, not part of any test.
    static void price(const char *item, int32_t mills) {
        output_of([&] { set_price(fc_item(item), "DEFAULT", mills, 0); });
    }
    static customer *pilot(const std::string &name) {
        customer *c = fc_cust(name.c_str(), "PAT", true);
        c->category = fc_category("DEFAULT");
        return c;
    }
    static flight *fly(customer *c, const char *plane, int type, int towheight, int minutes) {
        flight *f = new_flight(c, plane);
        f->type = static_cast<char>(type);
        f->towheight = towheight;
        f->start = 600;
        f->end = 600 + minutes;
        add_flight(f, c);
        return f;
    }
    static misc *misc_item(customer *c, const char *why, int32_t cents, bool taxable) {
        misc *m = zeroed<misc>();
        m->customer = c;
        m->why = alloc_str(why);
        m->charge = cents;
        m->taxable = taxable ? 1 : 0;
        add_misc(m, c);
        return m;
    }
};
