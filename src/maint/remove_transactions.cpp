// REMOVE FLIGHTS, GAS-SALES, MISC-CHARGES-OR-CREDITS and PAYMENTS: one
// dialogue, told by a table of what differs between the four kinds of
// record. A customer's records are listed, one is picked by its number and
// freed, and once the user is done the history files are rewritten from
// memory through the database's crash-safe rewrite.
#include <cstdio>
#include <string>
#include <vector>

#include "conio/iosubs.h"
#include "maint/maint.h"
#include "maint/remove.h"

namespace {

enum { PAGE_LINES = 20 };

template <class T> struct RecordKind {
    RecordList<T> customer::*list;
    void (*print)(const T *, int indent, bool date_flag, bool tabbed);
    void (*release)(T *);
    const char *noun;     // "If you remove a %s and QUICKEN output ..."
    const char *asked;    // "Remove %s from customer ..."
    const char *question; // asked before anything is loaded
    const char *none;     // the customer has no such records
    const char *choose;
    const char *entry; // "You must choose an existing %s from 1 to %d"
};

void warn_about_export(const char *noun) {
    printf("If you remove a %s and QUICKEN output has already been created this\n", noun);
    printf("month the QUICKEN output will be incorrectly created again.\n");
}

// Lists the customer's records numbered from 1, a page at a time; returns
// them in the order shown, as far as the user let the listing go.
template <class T> std::vector<T *> list_records(const RecordKind<T> &kind, const customer *c) {
    std::vector<T *> shown;
    for (T *rec : c->*kind.list) {
        shown.push_back(rec);
        o_rnumber(static_cast<long>(shown.size()), 4, false, 10);
        o_char(':', 0, false);
        kind.print(rec, 9, true, false);
        o_newline(0);
        // Asked after every full page, the last one included.
        if (shown.size() % PAGE_LINES == 0 && !get_yesno("Go on to next page", "Y"))
            break;
    }
    return shown;
}

template <class T> void remove_records(const RecordKind<T> &kind) {
    warn_about_export(kind.noun);
    if (!get_yesno(kind.question, "NO"))
        return;
    do_r_all();
    set_o_file(stdout);
    if (!records_complete())
        return;

    char prompt[128];
    snprintf(prompt, sizeof prompt, "Remove %s from customer \"~\" if done (First Last)",
             kind.asked);
    std::string previous;
    bool removed = false;
    for (;;) {
        customer *c = nullptr;
        int how = 0;
        char *answer = get_account(prompt, previous.c_str(), false, &c, &how);
        previous = answer;
        errfree(answer);
        if (how == ACCOUNT_TILDE || c == nullptr)
            break;

        o_newline(0);
        std::vector<T *> shown = list_records(kind, c);
        if (shown.empty()) {
            printf("%s", kind.none);
            continue;
        }
        long choice = get_number(kind.choose, 0);
        if (choice == 0)
            continue;
        if (choice < 1 || choice > static_cast<long>(shown.size())) {
            printf("You must choose an existing %s from 1 to %d\n", kind.entry,
                   static_cast<int>(shown.size()));
            continue;
        }
        kind.release(shown[choice - 1]);
        removed = true;
    }
    if (!removed)
        return;
    // What was computed from the removed records no longer holds.
    db.bills_computed = 0;
    db.times_computed = 0;
    do_write_database();
}

const RecordKind<flight> flights_kind = {
    &customer::flights,
    o_flight_struct,
    free_flight,
    "flight",
    "flight",
    "Are you sure you want to remove a flight",
    "No flights for this customer.\n",
    "Remove one of the above flights (0 for none)",
    "entry",
};

const RecordKind<gas> gas_kind = {
    &customer::gas,
    o_gas_struct,
    free_gas_charge,
    "gas sale",
    "gas sale",
    "Are you sure you want to remove gas sales",
    "No gas charges for this customer.\n",
    "Remove one of the above charges (0 for none)",
    "charge",
};

const RecordKind<misc> misc_kind = {
    &customer::misc,
    o_misc_struct,
    free_misc_charge,
    "misc charge/credit",
    "misc charge or credit",
    "Are you sure you want to remove a charge/credit",
    "No misc charges or credits for this customer.\n",
    "Remove one of the above charges or credits (0 for none)",
    "entry",
};

// A customer without payments is told there are no gas charges: the
// wording has always been so and is kept.
const RecordKind<payment> payments_kind = {
    &customer::payments,
    o_payment_struct,
    free_payment,
    "payment",
    "payment",
    "Are you sure you want to remove a payment",
    "No gas charges for this customer.\n",
    "Remove which of the above payments (0 for none)",
    "payment",
};

} // namespace

void rmv_flights() {
    remove_records(flights_kind);
}

void rmv_gas_sales() {
    remove_records(gas_kind);
}

void rmv_misc() {
    remove_records(misc_kind);
}

void rmv_payments() {
    remove_records(payments_kind);
}
