// Billing: charges, statements, time and tow summaries and the end of a
// billing period. Uses the database, mail capture and the console library.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>

#include "db/db.h"

// A period total's misc breakdown, indexed by description so that adding a
// customer's items never walks a list of hundreds of descriptions. The list
// itself stays the ordered linked list that the summaries print.
struct BreakdownIndex {
    std::map<std::string_view, misc_breakdown *, std::greater<>> named;
    misc_breakdown *unnamed = nullptr;
};

struct BillingState {
    char *bills_started = nullptr; // the period of the last bill run
    char *bills_ended = nullptr;
    charges *all_charges = nullptr;
    // The mode the charges were last computed with: 1 for bills, the other
    // value for the accounting export.
    char lastReadQuicken = 0;
    // Beside all_charges: its totals by name, and the breakdown index of
    // every total that gathers many customers.
    std::map<std::string, charges *> charges_index;
    std::unordered_map<const charges *, BreakdownIndex> breakdown_index;
    // Misc descriptions as the breakdowns name them. They outlive a reread
    // of the history, which would otherwise leave the totals pointing at
    // freed text.
    std::set<std::string, std::less<>> item_names;
};
extern BillingState billing;

// Billing's share of start-up and RESET: the period totals and bill dates.
void billing_reset();

// ---- Charge accumulation ------------------------------------------------------

// A customer's charges over the period from `start` to `end` (either may be
// null), printed as a statement between `heading` and `trailer` when
// `print`; the computation itself is bill_customer (billing/statement.h).
void charge_account(customer *c, charges *total, const char *start, const char *end,
                    const char *heading, const char *trailer, bool accumulate, bool print,
                    bool finance);
// The range a flight, sale, misc or payment must fall in, dates as stored.
struct DateRange {
    bool has_start = false;
    bool has_end = false;
    date_t start = 0;
    date_t end = 0;
    bool contains(date_t date) const {
        return (!has_start || date >= start) && (!has_end || date <= end);
    }
};
DateRange date_range(const char *start, const char *end);
// Sales tax of `amount` at the named rate, added to the record when not 0.
// Flights say when a tax rate is missing; fuel and misc taxes are optional.
void add_salestax(charges *ch, PriceItem &item, const char *category_name, int32_t amount,
                  bool warn);
int32_t tax_on(int32_t rate, int32_t amount);
// A date as the reports print it ("6-7-2005"), converted once per date;
// the text stays valid until the slot is taken by another date.
const char *date_text(date_t date);
int32_t rate_to_cents(int32_t rate);

charges *fc_charge(const char *name, bool is_aircraft);
void clear_charge(charges *ch);
void clear_all_charges();
void add_charges(charges *to, const charges *from);
void add_to_breakdown(charges *ch, const char *item_name, int32_t amount, int count);
void free_charges(charges *list);
// A total that gathers many customers outside all_charges keeps a
// breakdown index too; drop_total_index forgets it when the total goes.
void index_total(const charges *ch);
void drop_total_index(const charges *ch);

int32_t newCharges(const charges *ch);
int32_t getNewCharges(const customer *c);
int32_t getCurrentBalance(const customer *c);
bool any_charges(const customer *c);
void summarize_charges(const charges *ch);
void chargesOverDates(bool force);

// ---- Bills and statements -----------------------------------------------------

void do_fullBills();
void do_emailBills();
bool do_bills(int mode, bool by_email);
// The e-mail branch of the bill run: whether this customer's statement is
// mailed (an address, and the test-mode address if one is set); starting
// its capture, false when the capture could not be opened (the statement
// then goes to the statements file); and ending it, true when sent. A
// statement that was not sent goes into `fallback` (the statements file)
// followed by a form feed.
bool email_bill_wanted(const customer *c);
bool email_bill_start(const customer *c);
bool email_bill_finish(FILE *fallback);
// Test mode ($EMAIL_SEND_ONLY) lets mail go only to that one address.
bool email_trial_allows(const char *address);
// Before mail goes out in test mode: the warning that says so.
void email_trial_warning();
bool force_bill_always(const customer *c);
// The account lists (categories, then flags) that close the statements
// file are the reports' writers; the shell installs them at start-up.
extern void (*account_lists_hook)();
void out_period(const char *start, const char *end, const char *what);
void w_charges(const char *start, const char *end);
void w_stmnt();
void w_balance();
void w_flts();
void w_flight(const flight *f);

void do_emonth();
void do_times();

// The tow planes' totals from the last bill run, for the output menu.
void w_tow_summary(const char *start, const char *end);
void w_tugInfo(const towplane *tug);
