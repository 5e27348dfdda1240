// Customer maintenance: ADD, CHANGE and REMOVE, and the customer editor
// that the account prompt opens through its hook. Uses the database and the
// console library.
#pragma once

#include <cstddef>

#include "db/db.h"

void do_add();
void do_change();
void do_remove();

// ---- Customers (customer_editor.cpp) ----------------------------------------

void add_cust();
void chg_cust();
void modify_customer(customer *c);

// ---- Abbreviations (abbrev_edit.cpp) ----------------------------------------

void add_abbrev(bool adding);
abbrev *modify_abbrev(const char *name);

// ---- Prices, lists and settings (prices_edit.cpp, create.cpp, change.cpp) -----

void add_price();
// One line on what an item's price stands for (price_units.cpp).
const char *price_meaning(const char *item);
void create_category();
void create_flag();
void create_grade();
void addTowPlane();
void addTransitionDate();
void change_emailServer();
void change_emailSender();
void change_emailSubject();

// ---- What the data files can hold (field_checks.cpp) -------------------------
//
// Every text an editor stores ends up on a line of a data file that the
// readers split at tabs, skip when it holds a "!", cut at 200 characters
// and, in the customer file, treat as "no value" when it begins with "-".
// An answer that would not come back intact is refused at the prompt with
// one "? ..." line, and the question is asked again.

enum {
    DATA_LINE_MAX = 200,
    // A customer's names share a balances line with two tabs and the
    // balance ("-2147483648" at most).
    CUSTOMER_NAMES_MAX = DATA_LINE_MAX - 2 - 11,
    // The account line holds the type, the category, the prior category
    // and the transition date; the prices file a category with its cost.
    CATEGORY_NAME_MAX = 85,
    ITEM_NAME_MAX = DATA_LINE_MAX - 8 - 11, // "$PRICE\t" name "\t" fast key
    GRADE_NAME_MAX = DATA_LINE_MAX - 11,    // "$GAS_GRADE\t"
    EMAIL_WORD_MAX = DATA_LINE_MAX - 14,    // "$EMAIL_SERVER\t", "$EMAIL_SENDER\t"
    EMAIL_SUBJECT_MAX = DATA_LINE_MAX - 15, // "$EMAIL_SUBJECT\t"
};

enum FieldRule : unsigned {
    FIELD_PLAIN = 0,
    FIELD_NO_DASH = 1,   // customer file: a leading "-" reads as no value
    FIELD_NO_DOLLAR = 2, // prices file: a leading "$" is a directive
    FIELD_ONE_WORD = 4,  // abbreviations file: names are blank-separated
    FIELD_REQUIRED = 8,  // an empty answer is refused
};

// Prints the refusal and returns false when `text` cannot be stored as
// `what` ("A phone number", ...) in at most `room` characters.
bool field_ok(const char *what, const char *text, size_t room, unsigned rules);

// The prompts of the editors with the checks above: each asks again until
// the answer passes, and returns it (owned by the caller).
char *get_checked_line(const char *prompt, const char *def, bool upperCase, bool allowTilde,
                       const char *what, size_t room, unsigned rules);
char *get_checked_word(const char *prompt, const char *def, const char *what, size_t room,
                       unsigned rules);
char *get_checked_name(const char *prompt, const char *def, bool allow_blank, size_t room);

// The customer's tab-separated lines (phones, flags) with one entry
// replaced or added: whether the line still fits.
bool phones_fit(const customer *c, int index, const char *phone);
bool flags_fit(const customer *c, const char *flag);

// A changed price makes computed bills stale: sets the prices file's change
// flag and drops the bills.
void mark_prices_changed();
