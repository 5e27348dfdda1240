// Billing's module state and its share of start-up and RESET.
#include "billing/billing.h"
#include "conio/iosubs.h"

BillingState billing;

void billing_reset() {
    free_charges(billing.all_charges);
    billing.all_charges = nullptr;
    billing.charges_index.clear();
    billing.breakdown_index.clear();
    billing.item_names.clear();
    billing.lastReadQuicken = 0;
    billing.bills_started = (char *)errfree(billing.bills_started);
    billing.bills_ended = (char *)errfree(billing.bills_ended);
}
