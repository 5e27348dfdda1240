// The smaller additions: billing categories, flags, fuel grades, tow planes
// and a customer's category transition date.
#include <cstdint>
#include <cstring>

#include "maint/maint.h"

namespace {

// A word to create, or null when the answer was empty or "~".
char *ask_new_word(const char *prompt, const char *what, size_t room, unsigned rules) {
    char *word = get_checked_word(prompt, "", what, room, rules);
    if (word[0] == '\0' || strcmp(word, "~") == 0)
        return static_cast<char *>(errfree(word));
    return word;
}

} // namespace

void create_category() {
    // A cost line of the prices file that begins with "$" is taken for a
    // directive, and the account line holds two categories and a date.
    char *name = ask_new_word("Billing category to create", "A category name", CATEGORY_NAME_MAX,
                              FIELD_NO_DOLLAR);
    if (name)
        fc_category(name);
    errfree(name);
}

void create_flag() {
    // Flags are written sorted on one line, and "-" sorts first: a flag
    // beginning with it would make the whole line read as "no flags".
    char *name = ask_new_word("Flag to create", "A flag name", DATA_LINE_MAX, FIELD_NO_DASH);
    if (name)
        fc_namelist_entry(&db.flag_names, name, true, true);
    errfree(name);
}

void create_grade() {
    char *name =
        ask_new_word("Grade of fuel to create", "A fuel grade", GRADE_NAME_MAX, FIELD_PLAIN);
    if (!name)
        return;
    if (fc_gas_grade(name, false)) {
        printf("Gas grade %s already exists.\n", name);
    } else {
        fc_gas_grade(name, true);
        printf("Gas grade %s created.\n", name);
        db.price_changed = 1;
    }
    errfree(name);
}

void addTowPlane() {
    // The table keeps 63 characters of a name; fc_tug cuts it.
    char *name = ask_new_word("Tow Plane", "A tow plane name", DATA_LINE_MAX, FIELD_PLAIN);
    if (!name)
        return;
    if (fc_tug(name, false))
        printf("? Towplane %s already exists\n", name);
    else if (fc_tug(name, true))
        db.price_changed = 1;
    errfree(name);
}

void addTransitionDate() {
    customer *c = nullptr;
    int how = 0;
    errfree(get_account("Customer to change (First Last)", "", true, &c, &how));
    if (!c || how == ACCOUNT_TILDE)
        return;
    const char *prior = get_namelist("Old billing category (~ to remove transition date)",
                                     c->category, db.category_names, true);
    c->priorCategory = prior;
    if (!prior) {
        c->transitionDate = 0;
        return;
    }
    char *def = alloc_str(i_convertTimeToString(c->transitionDate));
    char *date = get_date("Date (mm-dd-yy)", def);
    c->transitionDate = i_convertDateToTime(date);
    errfree(date);
    errfree(def);
    c->category = get_namelist("New billing category", c->category, db.category_names, false);
}
