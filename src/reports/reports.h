// Reports and exports: the output selection behind TYPE, SHOW, PRINT and
// WRITE, and the report writers. Uses billing, the database and the console
// library.
#pragma once

#include <string>

#include "billing/billing.h"
#include "db/db.h"

void w_choose();
// WRITE to a file named *.pdf: the same menu; BILLS and STATEMENT are
// written as PDF, any other output says it has no PDF form.
void w_choose_pdf(const char *pdf_name);
void w_bills_pdf(const char *pdf_name);
void w_statement_pdf(const char *pdf_name);

// SEND-BY-EMAIL and its writers.
void do_email();
int w_email_choose(); // the menu position chosen, negative when cancelled
void w_email_file(const char *defaultName);

// ---- Customer selection shared by the lists and the exports ----------------

// Called once per selected customer with the caller's argument.
typedef void (*customer_writer)(customer *c, long argument);

bool has_flag(const customer *c, const char *flagName);
// Walks the customers in stored order: all of them, those of one billing
// category, or those with one flag (exactly one of the three is given),
// less the DEFAULT category when asked. Returns how many were written.
int passOverCustomers(bool all, const char *category, const char *flag, bool excludeDefault,
                      customer_writer writer, long argument);
// Asks which customers (the DEFAULT exclusion, then ALL, CATEGORY or FLAG)
// and runs the writer on each; 0 when the questions are cancelled.
int w_selectedClassOrFlag(const char *prompt, customer_writer writer, long argument);

// ---- The secretary's lists -----------------------------------------------------

void w_abbrevs();
void w_address(customer *c, long argument);
void w_address_list();
void w_nameAndPhone(customer *c, long argument);
void w_phones();
void w_lbl(customer *c, long lines);
void w_labels();
void w_information_sheet(customer *c, long argument);
void w_data_update_list();
void w_customer_list();
void w_info();

// ---- The customer database export -----------------------------------------------

// City, state and ZIP code from a customer's last address line; false when
// that line does not read "City, ST 12345" (what was found is still given).
bool findCityStateZip(const customer *c, std::string &city, std::string &state, std::string &zip);
void w_db_custs();

// ---- The outputs menu and its own writers -------------------------------------

void w_file(const char *defaultName);
void w_price();
void w_custs(bool all, bool cash);
void w_categorys();
void w_flags();
void w_space();
// The categories and flags lists that close the statements file.
void w_account_lists();

// ---- The accounting export and the receivables report ---------------------------

void w_quickbooks();
void w_quickbooksEntry(customer *c, long argument);
void w_actBals();
void w_oneActBal(customer *c, long argument);
// The export's commit: export_begin forgets the customers taken, each
// invoice written takes its customer (export_take), and export_commit
// places the export file and moves the taken customers' records into the
// "QU" files as one change; false (reported) when nothing was changed.
void export_begin();
void export_take(const customer *c);
bool export_commit();
// Customers not taken whose records are still to be exported.
int export_left_for_later();
