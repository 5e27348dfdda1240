// The period's totals that close a bill run (and the SUMMARIES output):
// per aircraft, per billing category, for credit and cash accounts, and all.
#include <cstdio>

#include "billing/billing.h"
#include "conio/iosubs.h"

namespace {

void print_total(const char *start, const char *end, const char *kind, const charges *total) {
    out_period(start, end, "charges");
    o_lstring(kind, 9, false);
    o_lstring(total->name, 0, false);
    o_newline(0);
    summarize_charges(total);
    o_newline(0);
    o_newline(0);
}

void print_account_total(const char *title, const charges *total) {
    o_lstring(title, 9, true);
    o_newline(0);
    summarize_charges(total);
}

// A total outside all_charges that gathers every customer's breakdown.
struct ScratchTotal {
    charges record{};
    ScratchTotal() { index_total(&record); }
    ~ScratchTotal() {
        drop_total_index(&record);
        free_misc_breakdown(record.misc_breakdown);
    }
    ScratchTotal(const ScratchTotal &) = delete;
    ScratchTotal &operator=(const ScratchTotal &) = delete;
};

// The period's totals by kind of account, from each customer's computed
// charges; nothing is printed while they are gathered.
struct AccountTotals {
    ScratchTotal credit, cash, grand;
    AccountTotals() {
        for (const customer *c : db.cust_list)
            add_charges(c->cash ? &cash.record : &credit.record, c->charges);
        add_charges(&grand.record, &credit.record);
        add_charges(&grand.record, &cash.record);
    }
};

} // namespace

void w_charges(const char *start, const char *end) {
    o_now_info(true, 0);
    for (const charges *total = billing.all_charges; total != nullptr; total = total->next)
        if (total->is_aircraft)
            print_total(start, end, " for aircraft ", total);
    for (const charges *total = billing.all_charges; total != nullptr; total = total->next)
        if (!total->is_aircraft)
            print_total(start, end, " for category ", total);

    AccountTotals totals;
    print_account_total("Totals for CREDIT accounts", &totals.credit.record);
    o_newline(0);
    o_newline(0);
    print_account_total("Totals for CASH accounts", &totals.cash.record);
    o_newline(0);
    o_newline(0);
    print_account_total("Grand totals", &totals.grand.record);
}
