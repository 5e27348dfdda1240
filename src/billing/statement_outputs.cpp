// The single-customer outputs of the output menu: one statement, one
// balance summary, and a listing of flights.
#include <cstdio>

#include "billing/billing.h"
#include "billing/statement_pdf.h"
#include "conio/iosubs.h"
#include "mail/email_capture.h"

namespace {

void reread_period_data() {
    maybe_read();
    free_flights();
    do_r_flights(true);
    do_r_balances();
    free_all_payments();
    do_r_payments(true);
    free_gas();
    do_r_gas(true);
}

customer *ask_customer(const char *prompt) {
    customer *c = nullptr;
    errfree(get_account(prompt, "", false, &c, nullptr));
    return c;
}

// In a mailing, test mode keeps the statement or balance from anyone but
// the one address.
bool trial_refuses(const customer *c) {
    if (!o_emailActive() || c->eMail == nullptr || is_blank(c->eMail) ||
        email_trial_allows(c->eMail))
        return false;
    printf("Not sent to %s: test mode sends only to %s\n", c->eMail, db.emailSendOnly);
    return true;
}

void end_mail(const customer *c) {
    if (!o_emailEnd() && o_emailActive() && c->eMail != nullptr)
        printf("Email FAILED to %s\n", c->eMail);
}

void label(const char *text, int column) {
    o_rstring(text, column, true);
}

} // namespace

void w_stmnt() {
    reread_period_data();
    customer *c = ask_customer("Customer for statement (First Last)");
    if (c == nullptr || trial_refuses(c))
        return;
    char *start = nullptr;
    char *end = nullptr;
    if (get_yesno("Statement for specific dates only", "NO")) {
        start =
            get_date("Charges after and including(mm-dd-yy)", i_convertTimeToString(db.curDate));
        end = get_date("Charges before and including (mm-dd-yy)", start);
    }
    o_emailStart(c->eMail);
    attach_statement_pdf(c, end);
    charges scratch{};
    charge_account(c, &scratch, start, end, "", "", false, true, false);
    free_misc_breakdown(scratch.misc_breakdown);
    end_mail(c);
    errfree(start);
    errfree(end);
}

void w_balance() {
    maybe_read();
    free_all_payments();
    do_r_payments(true);
    customer *c = ask_customer("Customer to type balances for (First Last)");
    if (c == nullptr || trial_refuses(c))
        return;
    o_emailStart(c->eMail);
    o_lstring("Balance from last billing cycle:", 0, true);
    o_rmoney(c->balance, 50, true);
    o_newline(0);
    int64_t paid = 0;
    bool any = false; // the mark of an exported finance charge is no payment
    for (const payment *p : c->payments) {
        paid += p->amount;
        any = any || !finance_mark(p);
    }
    if (any) {
        o_lstring("Payments made this billing cycle:", 0, true);
        o_rmoney(static_cast<int32_t>(paid), 50, true);
        o_newline(0);
    }
    if (paid != 0) {
        o_lstring("Net balance:", 0, true);
        o_rmoney(static_cast<int32_t>(c->balance - paid), 50, true);
    } else {
        o_lstring("No payments made this billing cycle.", 0, true);
    }
    o_newline(0);
    end_mail(c);
}

void w_flts() {
    maybe_read();
    free_flights();
    do_r_flights(true);
    long wanted = get_number("Number of flights to type", 10);
    long printed = 0;
    for (const customer *c = db.cust_list.head(); c != nullptr && printed < wanted; c = c->next)
        for (const flight *f = c->flights.head(); f != nullptr && printed < wanted; f = f->next) {
            w_flight(f);
            printed++;
        }
}

void w_flight(const flight *f) {
    label("Customer:", 11);
    o_customer_name(f->customer, 13, true);
    o_lstring(i_convertTimeToString(f->date), 33, true);
    o_rnumber(f->number, 45, true, 10);
    o_newline(0);
    if (f->invoice > 0) {
        label("Invoice:", 11);
        o_lnumber(f->invoice, 13, true, 10);
        o_newline(0);
    }
    label("Aircraft:", 11);
    o_lstring(f->plane, 13, true);
    o_newline(0);
    label("Pilot:", 11);
    o_lstring(f->pilot, 13, true);
    bool passenger = f->passenger != nullptr && f->passenger[0] != '\0';
    if (passenger) {
        o_lstring("With:", 33, true);
        o_lstring(f->passenger, 0, true);
    }
    if (f->cfi != nullptr && f->cfi[0] != '\0') {
        o_lstring("CFI:", passenger ? 33 : 49, true);
        o_lstring(f->cfi, 0, true);
    }
    o_newline(0);
    label("Type:", 11);
    o_lstring(flight_types[static_cast<int>(f->type)], 13, true);
    o_newline(0);
    label("Towpilot:", 11);
    o_lstring(f->towpilot, 13, true);
    if (f->towplane != nullptr && f->towplane->tugname[0] != '\0') {
        o_lstring("Tug:", 0, true);
        o_lstring(f->towplane->tugname, 0, true);
    }
    o_lstring("To:", 33, true);
    o_tow_height(f->towheight, 0, true);
    o_newline(0);
    label("Start:", 11);
    o_time_of_day(f->start, 13, true);
    o_newline(0);
    label("End:", 11);
    o_time_of_day(f->end, 13, true);
    o_lstring("Duration:", 33, true);
    o_amount_of_time(f->end - f->start, 0, true);
    o_newline(0);
    o_newline(0);
}
