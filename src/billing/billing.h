// Billing: charges, statements, summaries, end of period, and the
// program's run-time state (start-up, RESET, READ, FILENAMES).
#pragma once

#include <cstdint>

struct charges;

struct BillingState {
    long curDate = 0; // local midnight of the program's current date
    char bills_computed = 0;
    char times_computed = 0;
    char *bills_started = nullptr;
    char *bills_ended = nullptr;
    charges *all_charges = nullptr;
};
extern BillingState billing;

void do_init();
void do_read();
void do_r_all();
void do_filenames();
void do_flagnames();
int create_empty_file(const char *name);
int set_invoice_number(int32_t *out, const char *text);

// Commands whose routines later work fills in.
void do_fullBills();
void do_emailBills();
void do_emonth();
void do_times();
