// Set-up shared by the customer lookup and customer data file tests: an
// empty database with its data files named inside the test's directory.
#pragma once

#include <string>
#include <vector>

#include "db/db.h"
#include "testutil.h"

class CustomerDbTest : public TempDirTest {
  protected:
    void SetUp() override {
        TempDirTest::SetUp();
        db_reset();
        db.abbrevfile = alloc_str("VNKABBRV.DAT");
        db.customerfile = alloc_str("VNKCUST.DAT");
        db.balancesfile = alloc_str("VNKBAL.DAT");
        db.payhistfile = alloc_str("VNKPMNT.HIS");
        db.payhistqufile = alloc_str("VNKPMNTQ.HIS");
    }

    void TearDown() override {
        db_reset();
        TempDirTest::TearDown();
    }

    // "LAST,FIRST" for every customer in list order.
    static std::vector<std::string> customer_names() {
        std::vector<std::string> names;
        for (const customer *c = db.cust_list; c; c = c->next)
            names.push_back(std::string(c->lastname) + "," + c->firstname);
        return names;
    }

    static std::vector<std::string> flag_names_of(const customer *c) {
        std::vector<std::string> names;
        for (const namelist *f = c->flags; f; f = f->next)
            names.push_back(f->name);
        return names;
    }
};
