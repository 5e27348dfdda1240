// The phrase that heads every period report: which dates it covers.
#include "billing/billing.h"
#include "conio/iosubs.h"

void out_period(const char *start, const char *end, const char *what) {
    if (start == nullptr && end == nullptr) {
        o_lstring("All", 0, true);
        o_lstring(what, 0, true);
        o_lstring("on any date", 0, true);
        return;
    }
    o_lstring("Only", 0, true);
    o_lstring(what, 0, true);
    if (start != nullptr) {
        o_lstring("including and after:", 0, true);
        o_lstring(start, 0, true);
    }
    if (start != nullptr && end != nullptr)
        o_lstring("and", 0, true);
    if (end != nullptr) {
        o_lstring("including and before:", 0, true);
        o_lstring(end, 0, true);
    }
}
