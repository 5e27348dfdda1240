// BILLS: every customer who owes or did anything in the period gets a
// statement in the statements file, followed by the period's totals.
#include <cstdio>
#include <cstring>

#include "billing/billing.h"
#include "conio/iosubs.h"
#include "db/record_warmer.h"
#include "mail/email_capture.h"

void (*account_lists_hook)() = nullptr;

namespace {

struct BillCounts {
    int printed = 0;
    int sent = 0;
    int failed = 0;
};

// One customer's statement into the current destination. The e-mail
// branch of EMAIL-BILLS wraps this with its capture and its fallback.
void bill_customer(customer *c, const char *heading, const char *trailer, bool finance,
                   bool by_email, BillCounts &counts) {
    FILE *destination = get_o_file();
    bool discarded = c->cash && !db.print_cash_bills;
    bool mailed = !discarded && by_email && email_bill_wanted(c);
    if (discarded)
        set_o_file(nullptr);
    // After the relay refused the log-in the rest go straight to the file.
    bool halted = mailed && o_emailHalted();
    if (mailed && !halted && !email_bill_start(c)) {
        set_o_file(destination);
        halted = true;
        printf("Email FAILED to %s\n", c->eMail);
    }
    if (halted) {
        mailed = false;
        counts.failed++;
    }
    // A statement nobody will see is computed but not laid out.
    charge_account(c, fc_charge(c->category, false), billing.bills_started, billing.bills_ended,
                   heading, trailer, true, !discarded, finance);
    if (mailed) {
        // A statement that did not go out lands in the file after all.
        if (email_bill_finish(destination)) {
            counts.sent++;
        } else {
            counts.failed++;
            printf("Email FAILED to %s\n", c->eMail);
        }
    } else {
        // The page end also empties the formatter's pending line, which would
        // otherwise carry a discarded statement's last words into the file.
        o_formfeed();
        if (!discarded && !halted)
            counts.printed++;
    }
    set_o_file(destination);
}

} // namespace

void do_fullBills() {
    do_bills(1, false);
}

bool force_bill_always(const customer *c) {
    if (db.always_bill_flag == nullptr || c == nullptr)
        return false;
    for (const namelist *flag = c->flags; flag != nullptr; flag = flag->next)
        if (flag->name != nullptr && strcmp(flag->name, db.always_bill_flag) == 0)
            return true;
    return false;
}

bool do_bills(int mode, bool by_email) {
    if (billing.lastReadQuicken == mode && db.bills_computed &&
        !get_yesno("Bills were already created. Make them again", "NO"))
        return false;
    for (towplane &tug : db.tugList) {
        tug.charges = 0;
        tug.numberTows = 0;
        tug.towheight = 0;
    }
    billing.lastReadQuicken = static_cast<char>(mode);
    FILE *previous = get_o_file();
    bool tabs = set_tabs_allowed(false);
    bool finance = get_yesno("Apply finance charges", "NO");
    chargesOverDates(mode != 0);

    char *heading = alloc_file(db.headfile, "heading", false);
    if (by_email) {
        email_trial_warning();
        o_emailNewRun();
    }
    char *trailer = alloc_file(db.trailfile, "trailer", false);

    BillCounts counts;
    FILE *file = open_o_file(db.statementfile, "statements");
    RecordWarmer warmer;
    for (customer *c : db.cust_list) {
        warmer.reach(c);
        if (!force_bill_always(c) && !any_charges(c))
            continue;
        bill_customer(c, heading, trailer, finance, by_email, counts);
    }
    w_charges(billing.bills_started, billing.bills_ended);
    o_formfeed();
    if (account_lists_hook != nullptr)
        account_lists_hook();

    // A statements file that did not reach the disk holds none of them:
    // no count, and the bills stay not created, so that the outputs warn
    // before showing an older file.
    bool written = close_o_file(file, db.statementfile, "statements") == 0 && file != nullptr;
    if (written)
        printf("%d statements printed to file %s\n", counts.printed, db.statementfile);
    else
        log_error("? No statements were written to file %s\n", db.statementfile);
    if (counts.sent > 0)
        printf("%d statements sent by email\n", counts.sent);
    if (counts.failed > 0)
        log_error("? %d emails FAILED to send\n", counts.failed);
    db.bills_computed = written ? 1 : 0;
    errfree(heading);
    errfree(trailer);
    set_o_file(previous);
    set_tabs_allowed(tabs);
    return tabs;
}
