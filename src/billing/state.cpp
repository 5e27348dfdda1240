// Billing's module state and its share of start-up and RESET.
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
