// ADD: the menu of what can be added to the club database; the chosen
// addition is repeated while the user wants another.
#include <string>

#include "maint/maint.h"

namespace {

void add_abbreviation() {
    add_abbrev(true);
}

// The empty entry ends the menu as in the other menus: "?" lists it as an
// empty line, and it has no action.
const char *const adds[] = {"ABBREVIATION", "CATEGORY", "CUSTOMER",        "FLAG", "GAS-GRADE",
                            "PRICE",        "TOWPLANE", "TRANSITION-DATE", "",     nullptr};
void (*const actions[])() = {add_abbreviation, create_category, add_cust,    create_flag,
                             create_grade,     add_price,       addTowPlane, addTransitionDate};

} // namespace

void do_add() {
    maybe_read();
    int which = get_list("Choose what to add", "CUSTOMER", adds, true);
    if (which < 0 || adds[which][0] == '\0')
        return;
    std::string another = std::string("ADD another ") + adds[which];
    do
        actions[which]();
    while (get_yesno(another.c_str(), "YES"));
}
