// A small club built in memory and a way to run a writer into a file, as
// WRITE does, with canned answers to its questions.
#pragma once

#include <initializer_list>
#include <string>
#include <utility>

#include "db/db_fixture.h"
#include "reports/reports.h"

class ReportsTest : public DbTest {
  protected:
    void SetUp() override {
        DbTest::SetUp();
        billing_reset();
        // Nothing on disk: keep maybe_read from complaining about missing files.
        write_file(db.pricefile, "$VERSION 2\n");
        write_file(db.abbrevfile, "$VERSION 1\n");
        write_file(db.customerfile, "$VERSION 6\n");
        maybe_read();
    }

    void TearDown() override {
        billing_reset();
        DbTest::TearDown();
    }

    static customer *add(const char *last, const char *first, const char *cat,
                         std::initializer_list<const char *> address = {},
                         std::initializer_list<const char *> phones = {}) {
        customer *c = fc_cust(last, first, true);
        c->category = fc_category(cat);
        int i = 0;
        for (const char *line : address)
            replace_str(&c->addr[i++], line);
        i = 0;
        for (const char *phone : phones)
            replace_str(&c->phone[i++], phone);
        return c;
    }

    // Runs `work` with its output going to a file and `answers` as the
    // console input; returns the file, and the console text in *console.
    template <class Work>
    std::string written(const std::string &answers, Work work, std::string *console = nullptr) {
        feed_input(answers);
        std::string out = output_of([&] {
            FILE *file = open_o_file("OUT.LIS", "listing");
            ASSERT_NE(file, nullptr);
            work();
            close_o_file(file, "OUT.LIS", "listing");
        });
        if (console)
            *console = out;
        return read_file("OUT.LIS");
    }
};
