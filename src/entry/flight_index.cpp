// The index behind the duplicate test of flight entry. A busy field's CASH
// account can hold thousands of flights in one period; each is visited
// once per entry run instead of once per flight typed.
#include "entry/flight_index.h"

const flight *FlightIndex::first(const customer *c, date_t date, int number) {
    if (c == nullptr)
        return nullptr;
    auto [found, added] = by_customer_.try_emplace(c);
    if (added) {
        // emplace keeps the earliest flight of a key: the list's order decides.
        for (const flight *f : c->flights)
            found->second.emplace(Key{f->date, f->number}, f);
    }
    auto hit = found->second.find(Key{date, number});
    return hit != found->second.end() ? hit->second : nullptr;
}
