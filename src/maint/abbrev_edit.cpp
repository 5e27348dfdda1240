// ADD and CHANGE ABBREVIATION: the short keys that stand for a customer's
// name at every account prompt.
#include <cstring>

#include "maint/maint.h"

namespace {

// The abbreviations file holds "key<tab>last first" and is read back as
// blank-separated words, so each name is one word and the three share a
// line.
size_t room_for(const char *name, const char *other) {
    size_t used = strlen(name) + 2 + strlen(other);
    return used >= DATA_LINE_MAX ? 0 : DATA_LINE_MAX - used;
}

void offer_customer(const abbrev *a) {
    customer *c = fc_cust(a->lastname, a->firstname, false);
    if (!c && get_yesno("Create new customer", "NO")) {
        if (!field_ok("A customer's names", a->lastname, CUSTOMER_NAMES_MAX - strlen(a->firstname),
                      FIELD_PLAIN))
            return;
        c = fc_cust(a->lastname, a->firstname, true);
        db.cust_changed = 1;
    }
    if (c && get_yesno("Update data for the customer", "NO"))
        modify_customer(c);
}

} // namespace

abbrev *modify_abbrev(const char *name) {
    abbrev *a = fc_abbrev(name, nullptr, nullptr, false);
    const char *old_last = a ? a->lastname : "";
    const char *old_first = a ? a->firstname : "";

    char *last = get_checked_line("New last name", old_last, true, false, "A last name",
                                  room_for(name, old_first), FIELD_ONE_WORD | FIELD_REQUIRED);
    if (strcmp(last, "~") == 0) {
        // A new key is only made once it has a name, so that leaving here
        // never stores an entry the file could not hold.
        errfree(last);
        return a;
    }
    char *first = get_checked_line("New first name", old_first, true, false, "A first name",
                                   room_for(name, last), FIELD_ONE_WORD);
    bool keep_first = strcmp(first, "~") == 0;

    if (!a) {
        a = fc_abbrev(name, last, keep_first ? "" : first, true);
        db.abbrev_changed = 1;
    } else {
        if (strcmp(a->lastname, last) != 0) {
            replace_str(&a->lastname, last);
            db.abbrev_changed = 1;
        }
        if (!keep_first && strcmp(a->firstname, first) != 0) {
            replace_str(&a->firstname, first);
            db.abbrev_changed = 1;
        }
    }
    errfree(last);
    errfree(first);
    return a;
}

void add_abbrev(bool adding) {
    // "$VERSION" followed by a number would be read as the version line.
    char *name =
        get_checked_word("Abbreviation", "", "An abbreviation", DATA_LINE_MAX - 3, FIELD_NO_DOLLAR);
    if (name[0] == '\0' || strcmp(name, "~") == 0) {
        errfree(name);
        return;
    }
    abbrev *a = fc_abbrev(name, nullptr, nullptr, false);
    if (!a) {
        if (adding && !get_yesno("No existing abbreviation, add it", "YES")) {
            errfree(name);
            return;
        }
    } else {
        printf("Present customer is: %s %s\n", a->firstname, a->lastname);
    }
    a = modify_abbrev(name);
    errfree(name);
    if (a)
        offer_customer(a);
}
