// Commands whose work is not written yet: each says so and returns.
#include "billing/billing.h"
#include "conio/iosubs.h"

BillingState billing;

void billing_reset() {
    for (charges *c = billing.all_charges; c != nullptr;) {
        charges *next = c->next;
        free_misc_breakdown(c->misc_breakdown);
        errfree(c->name);
        errfree(c);
        c = next;
    }
    billing.all_charges = nullptr;
    billing.bills_started = (char *)errfree(billing.bills_started);
    billing.bills_ended = (char *)errfree(billing.bills_ended);
}

void do_fullBills() {
    notyet("BILLS");
}
void do_emailBills() {
    notyet("EMAIL-BILLS");
}
void do_emonth() {
    notyet("END-MONTH");
}
void do_times() {
    notyet("TIMES");
}
