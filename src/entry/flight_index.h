// The duplicate test of flight entry: the first stored flight of a customer
// with a given date and flight number, found without walking the
// customer's flights for every new flight.
#pragma once

#include <cstdint>
#include <unordered_map>

#include "db/db.h"

class FlightIndex {
  public:
    // The first flight in the customer's list with that date and number,
    // or null. A customer's flights are indexed on the first question
    // about that customer; the lists must not change while the index is
    // in use.
    const flight *first(const customer *c, date_t date, int number);

  private:
    struct Key {
        date_t date;
        int number;
        bool operator==(const Key &) const = default;
    };
    struct KeyHash {
        size_t operator()(const Key &k) const {
            return std::hash<date_t>()(k.date) * 31 + std::hash<int>()(k.number);
        }
    };
    using ByDay = std::unordered_map<Key, const flight *, KeyHash>;
    std::unordered_map<const customer *, ByDay> by_customer_;
};
