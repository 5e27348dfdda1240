// A clean database in a fresh working directory, every file named as at
// start-up, and builders for the few records the list tests need.
#pragma once

#include <cstring>
#include <string>

#include "db/db.h"
#include "testutil.h"

class DbTest : public TempDirTest {
  protected:
    void SetUp() override {
        TempDirTest::SetUp();
        db_reset();
        db_init();
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

    static flight *new_flight(customer *c, const std::string &plane) {
        flight *f = zeroed<flight>();
        f->customer = c;
        f->plane = alloc_str(plane.c_str());
        return f;
    }
};
