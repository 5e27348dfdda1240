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
    const flight *first(const customer *c, int32_t date, int number);

  private:
    using ByDay = std::unordered_map<uint64_t, const flight *>;
    std::unordered_map<const customer *, ByDay> by_customer_;
};
