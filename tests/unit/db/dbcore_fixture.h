// A clean database in a fresh working directory, with builders for the few
// records the list, rate and prices-file tests need.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "db/db.h"
#include "testutil.h"

class DbCoreTest : public TempDirTest {
  protected:
    void SetUp() override {
        TempDirTest::SetUp();
        db_reset();
        db.pricefile = alloc_str("VNKPRICE.DAT");
    }

    void TearDown() override {
        db_reset();
        TempDirTest::TearDown();
    }

    template <class T> static T *zeroed() {
        T *record = static_cast<T *>(errmalloc(sizeof(T)));
        memset(static_cast<void *>(record), 0, sizeof(T));
        return record;
    }

    // Appended to cust_list; callers add names in ascending order.
    static customer *add_customer(const char *last) {
        customer *c = zeroed<customer>();
        c->lastname = alloc_str(last);
        c->firstname = alloc_str("");
        c->category = fc_category("DEFAULT");
        (db.last_cust ? db.last_cust->next : db.cust_list) = c;
        db.last_cust = c;
        return c;
    }

    static flight *new_flight(customer *c, const std::string &plane) {
        flight *f = zeroed<flight>();
        f->customer = c;
        f->plane = alloc_str(plane.c_str());
        return f;
    }

    static std::vector<std::string> names_of(const namelist *list) {
        std::vector<std::string> out;
        for (; list; list = list->next)
            out.push_back(list->name);
        return out;
    }
};
