// Printing of one transaction record, either as the tab-separated line of
// the history files or in columns for the console and reports.
#include <cstdio>

#include "conio/iosubs.h"
#include "db/db.h"

namespace {

// In the tabbed form every field is followed by a tab; a tab always moves
// past the next column position, so the columns then add no padding.
void o_tab(bool tabbed) {
    if (tabbed)
        o_char('\t', 0, false);
}

// Receipt numbers stand in for the name of a walk-in customer.
void o_account(int32_t invoice, const customer *c, int column) {
    if (invoice != 0) {
        char text[24];
        snprintf(text, sizeof text, "#%ld", (long)invoice);
        o_lstring(text, column, true);
    } else {
        o_customer_name(c, column, true);
    }
}

// Gallons and tow heights are kept in tenths and shown with one decimal;
// the sign goes in front of the whole number.
void o_tenths(long value, int column) {
    char text[32];
    long magnitude = value < 0 ? -value : value;
    snprintf(text, sizeof text, "%s%ld.%ld", value < 0 ? "-" : "", magnitude / 10, magnitude % 10);
    o_lstring(text, column, true);
}

// The file form is single tabs between fields: a column after a short
// field would otherwise pad the line with blanks.
int at(bool tabbed, int column) {
    return tabbed ? 0 : column;
}

void o_clock(long minutes) {
    char text[48];
    snprintf(text, sizeof text, "%ld:%02ld", minutes / 60, minutes % 60);
    o_lstring(text, 0, true);
}

void o_record_date(date_t date, int column, bool flag) {
    o_lstring(record_date_text(date), column, flag);
}

} // namespace

void o_date(const char *date_text, int column, bool flag) {
    int month = 0;
    int day = 0;
    int year = 0;
    parse_date(date_text ? date_text : "", &month, &day, &year);
    o_lnumber(month, column, flag, 10);
    o_char('-', 0, false);
    o_lnumber(day, 0, false, 10);
    o_char('-', 0, false);
    o_lnumber(year, 0, false, 10);
}

void o_customer_name(const customer *c, int column, bool flag) {
    if (c == nullptr)
        return;
    o_lstring(c->lastname, column, flag);
    o_char(',', 0, false);
    o_lstring(c->firstname, 0, false);
}

void o_misc_struct(const misc *m, int indent, bool date_flag, bool tabbed) {
    if (m == nullptr)
        return;
    o_record_date(m->date, indent, date_flag);
    o_tab(tabbed);
    o_lnumber(m->sheet, at(tabbed, indent + 9), true, 10);
    o_tab(tabbed);
    o_lnumber(m->line, at(tabbed, indent + 17), true, 10);
    o_tab(tabbed);
    o_account(m->invoice, m->customer, at(tabbed, indent + 25));
    o_tab(tabbed);
    o_lstring(m->taxable ? "Y" : "N", at(tabbed, indent + 33), true);
    o_tab(tabbed);
    o_lnumber(m->charge, at(tabbed, indent + 41), true, 10);
    o_tab(tabbed);
    o_lstring(m->why, at(tabbed, indent + 49), true);
}

void o_gas_struct(const gas *g, int indent, bool date_flag, bool tabbed) {
    if (g == nullptr)
        return;
    o_record_date(g->date, indent, date_flag);
    o_tab(tabbed);
    o_lnumber(g->sheet, at(tabbed, indent + 9), true, 10);
    o_tab(tabbed);
    o_lnumber(g->line, at(tabbed, indent + 17), true, 10);
    o_tab(tabbed);
    o_account(g->invoice, g->customer, at(tabbed, indent + 25));
    o_tab(tabbed);
    o_lnumber(g->charge, at(tabbed, indent + 33), true, 10);
    o_tab(tabbed);
    o_lstring(g->grade, at(tabbed, indent + 41), true);
    o_tab(tabbed);
    o_tenths(g->gallons, at(tabbed, indent + 49));
    o_tab(tabbed);
    o_lstring(g->plane, at(tabbed, indent + 57), true);
    o_tab(tabbed);
    o_lstring(g->pilot, at(tabbed, indent + 65), true);
}

void o_payment_struct(const payment *p, int indent, bool date_flag, bool tabbed) {
    if (p == nullptr)
        return;
    o_record_date(p->date, indent, date_flag);
    o_tab(tabbed);
    o_lnumber(p->amount, at(tabbed, indent + 9), true, 10);
    o_tab(tabbed);
    o_lnumber(p->check, at(tabbed, indent + 17), true, 10);
    o_tab(tabbed);
    o_customer_name(p->customer, at(tabbed, indent + 25), true);
    o_tab(tabbed);
    // The note lines up with the line, not with the record.
    o_lstring(p->note, at(tabbed, 41), true);
}

void o_flight_struct(const flight *f, int indent, bool date_flag, bool tabbed) {
    if (f == nullptr)
        return;
    o_record_date(f->date, indent, date_flag);
    o_tab(tabbed);
    o_lnumber(f->number, 0, true, 10);
    o_tab(tabbed);
    o_account(f->invoice, f->customer, 0);
    o_tab(tabbed);
    o_lstring(f->plane, 0, true);
    o_tab(tabbed);
    o_lstring(f->pilot, 0, true);
    o_tab(tabbed);
    int type = f->type;
    o_char(type >= 0 && type <= 5 ? flight_type_id[type] : 'U', 0, true);
    o_tab(tabbed);
    o_lstring(f->cfi, 0, true);
    o_tab(tabbed);
    o_lstring(f->passenger, 0, true);
    o_tab(tabbed);
    o_lstring(f->towpilot, 0, true);
    o_tab(tabbed);
    o_lstring(f->towplane ? f->towplane->tugname : "", 0, true);
    o_tab(tabbed);
    o_tenths(f->towheight, 0);
    o_tab(tabbed);
    o_clock(f->start);
    o_tab(tabbed);
    o_clock(f->end);
    o_tab(tabbed);
}

void o_now_info(bool show_version, int column) {
    o_lstring("Computed on", column, true);
    o_lstring(i_convertTimeToString(db.curDate), 0, true);
    if (show_version) {
        o_lstring("by", 0, true);
        o_lstring(program_name, 0, true);
        o_newline(0);
        o_lstring(program_version, 5, true);
    }
    o_newline(0);
}
