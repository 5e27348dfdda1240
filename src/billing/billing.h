// Billing: charges, statements, time and tow summaries and the end of a
// billing period. Uses the database, the console library and mail.
#pragma once

#include "db/db.h"

struct BillingState {
    char *bills_started = nullptr; // the period of the last bill run
    char *bills_ended = nullptr;
    charges *all_charges = nullptr;
};
extern BillingState billing;

// Billing's share of start-up and RESET: the period totals and bill dates.
void billing_reset();

void do_fullBills();
void do_emailBills();
void do_emonth();
void do_times();

// The words that say which dates a report covers ("All ... on any date", or
// "Only ..." with its limits); null dates are open ends.
void out_period(const char *start, const char *end, const char *what);

// The tow planes' totals from the last bill run, for the output menu.
void w_tow_summary(const char *start, const char *end);
void w_tugInfo(const towplane *tug);
