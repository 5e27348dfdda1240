// A customer's records are chained and lie far apart in memory, so a first
// walk of each list waits on one cache miss after another. Walking the
// lists of the next few customers side by side makes their misses overlap;
// the walk that follows finds the records in cache.
#pragma once

#include <cstddef>
#include <type_traits>

#include "db/db.h"

class RecordWarmer {
  public:
    enum Lists : unsigned { FLIGHTS = 1, GAS = 2, MISC = 4, PAYMENTS = 8, ALL = 15 };

    explicit RecordWarmer(unsigned lists = ALL) : lists_(lists) {}

    // The list a record type lives in.
    template <class T> static constexpr unsigned list_of() {
        if constexpr (std::is_same_v<T, flight>)
            return FLIGHTS;
        else if constexpr (std::is_same_v<T, gas>)
            return GAS;
        else if constexpr (std::is_same_v<T, misc>)
            return MISC;
        else
            return PAYMENTS;
    }

    // Called with every customer of the list in turn, before its records
    // are walked.
    void reach(const customer *c) {
        if (c == warmed_to_)
            warmed_to_ = warm_from(c);
    }

  private:
    static constexpr int kWays = 8;

    // The head, and the next line or two where the fields and the texts
    // read with it lie; returns the record after it.
    template <class T> static T *touch(T *rec) {
        __builtin_prefetch(reinterpret_cast<const char *>(rec) + 64);
        __builtin_prefetch(reinterpret_cast<const char *>(rec) + 128);
        return rec->next;
    }

    template <class T> T *head_of(const RecordList<T> &list, unsigned which) const {
        return (lists_ & which) != 0 ? list.head() : nullptr;
    }

    const customer *warm_from(const customer *c) {
        flight *f[kWays];
        gas *g[kWays];
        misc *m[kWays];
        payment *p[kWays];
        int n = 0;
        for (; c != nullptr && n < kWays; c = c->next, n++) {
            f[n] = head_of(c->flights, FLIGHTS);
            g[n] = head_of(c->gas, GAS);
            m[n] = head_of(c->misc, MISC);
            p[n] = head_of(c->payments, PAYMENTS);
        }
        size_t count = 0;
        for (bool busy = true; busy; count++) {
            busy = false;
            for (int i = 0; i < n; i++) {
                if (f[i] != nullptr)
                    f[i] = touch(f[i]);
                if (g[i] != nullptr)
                    g[i] = touch(g[i]);
                if (m[i] != nullptr)
                    m[i] = touch(m[i]);
                if (p[i] != nullptr)
                    p[i] = touch(p[i]);
                busy = busy || f[i] != nullptr || g[i] != nullptr || m[i] != nullptr ||
                       p[i] != nullptr;
            }
        }
        // A walk whose result goes nowhere may be dropped by the compiler.
        walked_ = count;
        return c;
    }

    static inline volatile size_t walked_ = 0;
    unsigned lists_;
    const customer *warmed_to_ = db.cust_list.head();
};
