// PAYMENTS: payments received, typed into the payments temporary file and
// appended to the payments history on "Remember".
#include <cstdio>

#include "conio/iosubs.h"
#include "db/db.h"
#include "entry/dialogue.h"
#include "entry/entry.h"

namespace {

// Each field keeps its last value as the default of the next payment.
struct WorkingPayment {
    payment p{};
    char *account = alloc_str("");
    char *date_text = alloc_str(i_convertTimeToString(db.curDate));

    WorkingPayment() { p.note = alloc_str(""); }
    ~WorkingPayment() {
        free_payment_contents(&p);
        errfree(account);
        errfree(date_text);
    }
};

// Cash customers pay at the field; a payment on account needs a credit
// account.
customer *ask_payer(WorkingPayment &w) {
    for (;;) {
        customer *c = ask_customer("Account (First Last)", &w.account, true,
                                   "? You must supply an account.\n");
        if (!c->cash)
            return c;
        printf("? Payments can not be accepted for a CASH customer.\n");
    }
}

// The default -1 is refused, so the number is typed for every payment.
int32_t ask_check() {
    for (;;) {
        int32_t check = ask_number("Check number (0 if payment not made by check)", -1);
        if (check >= 0)
            return check;
        printf("? You must supply a check number.\n");
    }
}

void echo(const payment &p) {
    printf("Account: %s %s", p.customer->firstname, p.customer->lastname);
    if (p.check > 0)
        printf(" Check #%ld", (long)p.check);
    printf("   $%s\n  Note: %s\n", cents_text(p.amount), p.note);
}

} // namespace

void do_payments() {
    maybe_read();
    if (!settle_pending_sheet(db.paytempfile, HistoryKind::PAYMENTS) ||
        !open_temporary(db.paytempfile, "payments"))
        return;
    temporary_heading(history_heading(HistoryHeading::PAYMENTS));

    WorkingPayment w;
    payment &p = w.p;
    int next = 1;
    for (;;) {
        int number = ask_number("Next payment number (0 if done)", next);
        if (number == 0)
            break;
        next = number;
        p.date = ask_date("Payment date (mm-dd) or (dd)", &w.date_text);
        printf("Date: %s\n", w.date_text);
        p.customer = ask_payer(w);
        p.check = ask_check();
        p.amount = (int32_t)ask_amount("Amount of payment", "0.00", 50000,
                                       "Payment larger than $500.00 are you sure",
                                       "? PAYMENTS must be positive amounts.\n");
        auto print = [&p] { o_payment_struct(&p, 0, false, true); };
        ask_text(
            &p.note, [] { return get_line("Note describing this payment", "", false, true); },
            print);
        echo(p);
        if (!line_is_right(true) || !record_fits(print))
            continue;
        o_payment_struct(&p, 0, false, true);
        end_record();
        next = next_number(number);
    }
    if (close_temporary())
        remember("Remember these payments in the permanent payments file", HistoryKind::PAYMENTS,
                 db.paytempfile);
}
