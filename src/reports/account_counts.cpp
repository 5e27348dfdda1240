// How many accounts each billing category and each customer flag holds, and
// the cash or credit customers' list.
#include <cstdio>
#include <cstring>
#include <unordered_map>

#include "conio/iosubs.h"
#include "reports/reports.h"

namespace {

void heading(const char *first) {
    o_lstring(first, 0, true);
    o_lstring("Number of accounts", 20, true);
    o_lstring("Percent", 40, true);
    o_newline(0);
}

void count_line(const char *label, long count) {
    o_lstring(label, 4, true);
    o_rnumber(count, 25, true, 10);
}

long customer_count() {
    return static_cast<long>(db.cust_list.size());
}

void row(const char *name, long count, long total) {
    count_line(name, count);
    if (total > 0)
        o_rnumber(count * 100 / total, 45, true, 10);
    o_newline(0);
}

void total_line(long total) {
    o_newline(0);
    count_line("Total", total);
    o_newline(0);
}

} // namespace

void w_custs(bool all, bool cash) {
    maybe_read();
    bool address = get_yesno("Output address for each customer", "YES");
    long wanted = get_number("Number of customers to output (0 for all)", 10);
    FILE *file = get_o_file();
    long written = 0;
    for (const customer *c : db.cust_list) {
        if (wanted != 0 && written >= wanted)
            break;
        if (!all && (c->cash != 0) != cash)
            continue;
        w_mbr(c, address, file);
        written++;
    }
}

void w_categorys() {
    maybe_read();
    // Category names are interned, so one pass counts every category.
    std::unordered_map<const char *, long> counts;
    long total = 0, cash = 0;
    for (const customer *c : db.cust_list) {
        counts[c->category]++;
        total++;
        if (c->cash)
            cash++;
    }
    heading("Billing category");
    for (const namelist *name = db.category_names; name != nullptr; name = name->next) {
        auto found = counts.find(name->name);
        row(name->name, found == counts.end() ? 0 : found->second, total);
    }
    total_line(total);
    o_newline(0);
    count_line("Cash customers", cash);
    o_newline(0);
    count_line("Charge customers", total - cash);
    o_newline(0);
}

void w_flags() {
    maybe_read();
    std::unordered_map<const char *, long> counts;
    for (const customer *c : db.cust_list)
        for (const namelist *flag = c->flags; flag != nullptr; flag = flag->next)
            counts[flag->name]++;
    long total = customer_count();
    heading("Customer flag");
    for (const namelist *name = db.flag_names; name != nullptr; name = name->next) {
        auto found = counts.find(name->name);
        row(name->name, found == counts.end() ? 0 : found->second, total);
    }
    total_line(total);
}

void w_account_lists() {
    w_categorys();
    o_newline(0);
    w_flags();
}
