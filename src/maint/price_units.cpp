// What the number of a price means. Every price is typed and kept in
// thousandths, but the bill run reads many of them as something other
// than dollars: hours, thousands of feet, a fraction of an amount. The
// treasurer sees only "New price to charge", so "?" there says which.
#include <cstring>

#include "maint/maint.h"

namespace {

struct Meaning {
    const char *item;
    const char *text;
};

const Meaning kMeanings[] = {
    {"HOOKUP", "dollars for each aerotow, whatever its height (THOUSAND adds the height)."},
    {"THOUSAND", "dollars per 1,000 feet of tow height (9.000 makes a 2,000 ft tow $18.00 "
                 "plus HOOKUP)."},
    {"DEFAULT-TOWHEIGHT", "the tow height ENTER offers, in thousands of feet (2.000 is 2,000 ft)."},
    {"INSTRUCTION", "dollars per hour of instruction in a club aircraft."},
    {"PVT-INSTRUCTION", "dollars per hour of instruction in an aircraft the club does not rent."},
    {"MINIMUM-TIME", "hours; shorter flights pay rental and instruction for this long (0.500 "
                     "is 30 minutes, 0.030 under 2 minutes)."},
    {"GROUND-TIME", "hours of instruction added to each instructional flight (0.250 is 15 "
                    "minutes)."},
    {"ROPE-BREAK", "dollars for each rope break (no tow, rental or instruction is charged)."},
    {"PATTERN-TOW", "dollars for each pattern tow (no tow, rental or instruction is charged)."},
    {"FINANCE-CHARGE", "a fraction of the unpaid balance (0.015 is 1.5 %)."},
    {"FINANCE-THRESHOLD", "dollars; the unpaid balance from which a finance charge is made."},
    {"MIN-FINANCE-CHARGE", "dollars; the smallest finance charge made."},
    {"CFI-HOURS-PAID", "instructor hours paid per hour of instruction flown, in TIMES (1.000 is "
                       "one for one)."},
    {"DEFAULT-LINES-PER-LABEL", "lines per mailing label, DEFAULT category only (6.000 is 6)."},
    {"GAS100", "dollars per gallon of grade 100 when the grade has no price of its own."},
    {"GAS80", "dollars per gallon of grade 80 when the grade has no price of its own."},
};

bool ends_with(const char *text, const char *end) {
    size_t n = strlen(text), m = strlen(end);
    return n >= m && strcmp(text + n - m, end) == 0;
}

} // namespace

const char *price_meaning(const char *item) {
    for (const Meaning &m : kMeanings)
        if (strcmp(item, m.item) == 0)
            return m.text;
    if (ends_with(item, "-SALESTAX"))
        return "a fraction of the amount it taxes (0.050 is 5 %).";
    for (const namelist *g = db.gas_grades; g != nullptr; g = g->next)
        if (strcmp(item, g->name) == 0)
            return "dollars per gallon of this fuel grade.";
    return "for an aircraft, dollars per hour of flight (rental); BILLS charges no other "
           "name.";
}
