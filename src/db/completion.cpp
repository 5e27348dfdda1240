// The database's answers for Tab completion. Each list is walked once per
// Tab press; nothing is kept, so an answer added a moment ago is offered.
#include <cstring>

#include "db/completion.h"
#include "db/db.h"

void complete_accounts(const void *, const std::string &, std::vector<std::string> &out) {
    for (const customer *c : db.cust_list) {
        const char *first = c->firstname != nullptr ? c->firstname : "";
        const char *last = c->lastname != nullptr ? c->lastname : "";
        if (first[0] == '\0')
            out.emplace_back(last);
        else if (strpbrk(first, " \t") != nullptr)
            // "First Last" splits at the first blank, which would cut such
            // a first name in two; the comma form keeps it whole.
            out.push_back(std::string(last) + ", " + first);
        else
            out.push_back(std::string(first) + " " + last);
    }
    for (const abbrev *a : db.abbrevs)
        out.emplace_back(a->name);
}

void complete_items(const void *, const std::string &, std::vector<std::string> &out) {
    for (const price *p : db.price_list)
        out.emplace_back(p->name);
}

void complete_towplanes(const void *, const std::string &, std::vector<std::string> &out) {
    for (const towplane &t : db.tugList)
        if (t.tugname[0] != '\0')
            out.emplace_back(t.tugname);
}
