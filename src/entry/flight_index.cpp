// The index behind the duplicate test of flight entry. A busy field's CASH
// account can hold thousands of flights in one period; each is visited
// once per entry run instead of once per flight typed.
#include "entry/flight_index.h"

namespace {

uint64_t key_of(int32_t date, int number) {
    return ((uint64_t)(uint32_t)date << 32) | (uint32_t)number;
}

} // namespace

const flight *FlightIndex::first(const customer *c, int32_t date, int number) {
    if (c == nullptr)
        return nullptr;
    auto [found, added] = by_customer_.try_emplace(c);
    if (added) {
        // emplace keeps the earliest flight of a key: the list's order decides.
        for (const flight *f = c->flights; f != nullptr; f = f->next)
            found->second.emplace(key_of(f->date, f->number), f);
    }
    auto hit = found->second.find(key_of(date, number));
    return hit != found->second.end() ? hit->second : nullptr;
}
