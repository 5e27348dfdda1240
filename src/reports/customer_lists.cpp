// The secretary's lists: abbreviations, addresses, phone numbers, the full
// customer list and one customer's information.

#include <cstdio>

#include "conio/iosubs.h"
#include "reports/reports.h"

namespace {

const char *text(const char *s) {
    return s ? s : "";
}

bool is_set(const char *s) {
    return s && *s;
}

// The address ends at its first empty line.
void address_lines(const customer *c, int col, bool force) {
    for (const char *line : c->addr) {
        if (!is_set(line))
            break;
        o_lstring(line, col, force);
        o_newline(0);
    }
}

} // namespace

void w_abbrevs() {
    maybe_read();
    for (const abbrev *a : db.abbrevs) {
        o_lstring("Abbrev:", 0, false);
        o_lstring(text(a->name), 0, true);
        o_lstring(text(a->firstname), 0, true);
        o_lstring(text(a->lastname), 0, true);
        o_newline(0);
    }
}

void w_address(customer *c, long) {
    o_lstring(text(c->lastname), 0, false);
    o_lstring(text(c->firstname), 13, true);
    o_lstring(text(c->category), 30, true);
    o_newline(0);
    static const int phone_cols[3] = {4, 20, 36};
    for (int i = 0; i < 3; i++)
        if (is_set(c->phone[i]))
            o_lstring(c->phone[i], phone_cols[i], true);
    o_newline(0);
    address_lines(c, 0, false);
    o_newline(0);
}

void w_address_list() {
    maybe_read();
    int count = w_selectedClassOrFlag("Address list customers", w_address, 0);
    o_note("%d addresses output.\n", count);
}

void w_nameAndPhone(customer *c, long) {
    o_lstring(text(c->lastname), 0, false);
    o_lstring(text(c->firstname), 13, true);
    static const int phone_cols[3] = {25, 41, 57};
    for (int i = 0; i < 3; i++)
        if (is_set(c->phone[i]))
            o_lstring(c->phone[i], phone_cols[i], true);
    o_newline(0);
}

void w_phones() {
    maybe_read();
    int count = w_selectedClassOrFlag("Phone number customers", w_nameAndPhone, 0);
    o_note("%d phone numbers output.\n", count);
}

namespace {

void full_summary(customer *c, long) {
    w_mbr(c, true, get_o_file());
}

} // namespace

void w_customer_list() {
    maybe_read();
    int count = w_selectedClassOrFlag("Customer information", full_summary, 0);
    o_note("%d customers output.\n", count);
}

void w_info() {
    maybe_read();
    customer *c = nullptr;
    errfree(get_account("Customer to type information about (First Last)", "", false, &c, nullptr));
    if (!c)
        return;
    w_mbr(c, true, get_o_file());
    o_newline(0);
}
