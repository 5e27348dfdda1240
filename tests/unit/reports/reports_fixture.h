// An empty club read in, and a way to run a writer into a file, as WRITE
// does, with canned answers to its questions.
#pragma once

#include <string>

#include "billing/billing_fixture.h"
#include "reports/reports.h"

class ReportsTest : public BillingTest {
  protected:
    void SetUp() override {
        BillingTest::SetUp();
        // Nothing on disk: keep maybe_read from complaining about missing files.
        write_file(db.pricefile, "$VERSION 2\n");
        write_file(db.abbrevfile, "$VERSION 1\n");
        write_file(db.customerfile, "$VERSION 6\n");
        maybe_read();
    }

    static customer *add(const char *last, const char *first, const char *cat) {
        customer *c = fc_cust(last, first, true);
        c->category = fc_category(cat);
        return c;
    }

    // Runs `work` with its output going to a file and `answers` as the
    // console input; returns the file.
    template <class Work> std::string written(const std::string &answers, Work work) {
        feed_input(answers);
        output_of([&] {
            FILE *file = open_o_file("OUT.LIS", "listing");
            ASSERT_NE(file, nullptr);
            work();
            close_o_file(file, "OUT.LIS", "listing");
        });
        return read_file("OUT.LIS");
    }
};
