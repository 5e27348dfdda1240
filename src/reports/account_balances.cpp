// The treasurer's receivables summary: what each customer still owes after
// payments, what is about to be billed, and the club-wide totals.

#include <cstdio>
#include <cstring>

#include "conio/iosubs.h"
#include "reports/reports.h"

namespace {

struct Totals {
    int32_t dueTotal, creditTotal, currentTotal, creditReduction, longTermDue;
};
Totals totals;

void total_line(const char *label, int32_t cents) {
    o_lstring(label, 0, false);
    o_rmoney(cents, 50, false);
    o_newline(0);
}

} // namespace

// The totals wrap around like all the club's 32-bit money.
void w_oneActBal(customer *c, long) {
    int32_t paid = 0;
    for (const payment *p : c->payments)
        paid = add32(paid, p->amount);
    int32_t d = sub32(c->balance, paid);
    int32_t n = getNewCharges(c);
    if (d < 1) {
        totals.creditTotal = add32(totals.creditTotal, d);
        // New charges first use up the credit.
        if (add32(d, n) >= 0)
            totals.creditReduction = sub32(totals.creditReduction, d);
        else
            totals.creditReduction = add32(totals.creditReduction, n);
    } else {
        totals.dueTotal = add32(totals.dueTotal, d);
    }
    totals.currentTotal = add32(totals.currentTotal, n);
    if (c->category && strcmp(c->category, "LONG_TERM") == 0)
        totals.longTermDue = add32(totals.longTermDue, add32(n, d));
    if (d == 0 && n == 0)
        return;
    o_lstring(c->lastname, 0, false);
    o_lstring(",", 0, false);
    o_lstring(c->firstname, 13, true);
    o_rmoney(d, 30, false);
    o_rmoney(n, 50, false);
    o_newline(0);
}

void w_actBals() {
    maybe_read();
    do_r_payments(true);
    do_bills(1, false);
    o_lstring("!Customer", 0, false);
    o_rstring("Balance Due", 30, false);
    o_rstring("Current Charges", 50, false);
    o_newline(0);
    totals = Totals{};
    w_selectedClassOrFlag("Account balance customers", w_oneActBal, 0);
    o_newline(0);
    o_newline(0);
    const Totals &t = totals;
    total_line("Accounts with balance due:", t.dueTotal);
    total_line("Accounts with CREDIT balance:", t.creditTotal);
    total_line("Net accounts receivable:", add32(t.creditTotal, t.dueTotal));
    o_newline(0);
    total_line("Charges to be billed:", t.currentTotal);
    total_line("Billed charges that reduce credits:", t.creditReduction);
    total_line("Net new billing:", sub32(t.currentTotal, t.creditReduction));
    o_newline(0);
    total_line("Long term receivables:", t.longTermDue);
    o_newline(0);
    total_line("Cash payments expected:",
               sub32(sub32(add32(t.dueTotal, t.currentTotal), t.creditReduction), t.longTermDue));
    total_line("Expected Net accounts receivable:",
               add32(add32(t.creditTotal, t.dueTotal), t.currentTotal));
}
