// The statement's layout: its columns by name, the name block, the section
// headings, each line as the computation hands it over, and the summary
// block that ends a statement and each period total. Every column is the
// position its text ends at (right-aligned) or starts at (left-aligned).
#include <cstdio>
#include <cstring>

#include "billing/billing.h"
#include "billing/statement.h"
#include "conio/iosubs.h"

namespace {

namespace col {
// Name block.
constexpr int name = 9, address = 9, category_label = 67, prior_to = 57, now_info = 16;
// Headings.
constexpr int h_date = 7, h_flight_no = 20, h_aircraft = 22, h_hours = 35, h_cfi = 38,
              h_tow_height = 60, h_sheet = 15, h_line = 20, h_what = 22, h_pilot = 38,
              h_octane = 47, h_gallons = 56, h_check = 20, h_note = 22;
// Lines.
constexpr int date = 9, flight_no = 18, aircraft = 22, hours = 34, cfi = 38, tow_height = 54,
              tug = 60, sheet = 13, line = 19, what = 22, pilot = 37, octane = 45, gallons = 54,
              check = 20, note = 22, finance_text = 22, charge_label = 67, amount = 78;
// Summary block and misc breakdown.
constexpr int sum_label = 58, item = 28, item_count = 38, item_amount = 58;
} // namespace col

bool is_set(const char *text) {
    return text != nullptr && text[0] != '\0';
}

void print_flights_header(const customer *c) {
    o_rstring("Date", col::h_date, true);
    o_rstring("Flight#", col::h_flight_no, true);
    o_lstring("Aircraft", col::h_aircraft, true);
    o_rstring("Hours", col::h_hours, true);
    o_lstring("CFI/pass", col::h_cfi, true);
    if (c->tow_height_sum > 0)
        o_rstring("Tow Height", col::h_tow_height, true);
    o_newline(0);
}

void print_sheet_header(const char *what) {
    o_rstring("Date", col::h_date, true);
    o_rstring("Sheet", col::h_sheet, true);
    o_rstring("Line", col::h_line, true);
    o_lstring(what, col::h_what, true);
}

void print_name_block(const customer *c, const char *start, const char *end) {
    o_lstring(c->firstname, col::name, true);
    o_lstring(c->lastname, 0, true);
    if (c->category != nullptr && strcmp(c->category, "DEFAULT") != 0) {
        o_rstring("Billing category:", col::category_label, true);
        o_lstring(c->category, 0, true);
    }
    o_newline(10);
    for (char *line : c->addr) {
        if (!is_set(line))
            break;
        o_lstring(line, col::address, true);
        o_newline(0);
    }
    if (c->priorCategory != nullptr && c->transitionDate != 0) {
        o_rstring("Prior to:", col::prior_to, true);
        o_lstring(date_text(c->transitionDate), 0, true);
        o_lstring("was", 0, true);
        o_lstring(c->priorCategory, 0, true);
        o_newline(0);
    }
    o_now_info(false, col::now_info);
    out_period(start, end, "charges");
    o_newline(0);
}

void print_sheet_line(date_t date, int sheet, int line, const char *what) {
    o_rstring(date_text(date), col::date, true);
    o_rnumber(sheet, col::sheet, true, 10);
    o_rnumber(line, col::line, true, 10);
    o_lstring(what, col::what, true);
}

void label(const char *text) {
    o_rstring(text, col::sum_label, true);
}

void money_line(const char *text, int32_t cents) {
    label(text);
    o_rmoney(cents, col::amount, true);
    o_newline(0);
}

void print_breakdown(const misc_breakdown *list) {
    o_newline(0);
    o_rstring("Misc charge/credit item", col::item, true);
    o_rstring("Number", col::item_count, true);
    o_rstring("amount", col::item_amount, true);
    o_newline(0);
    for (const misc_breakdown *entry = list; entry != nullptr; entry = entry->next) {
        o_rstring(entry->item_name ? entry->item_name : "", col::item, true);
        o_rnumber(entry->count, col::item_count, true, 10);
        o_rmoney(entry->charge, col::item_amount, true);
        o_newline(0);
    }
}

} // namespace

void StatementPrinter::begin(const customer *c) {
    c_ = c;
    if (heading_ != nullptr) {
        o_lstring(heading_, 0, false);
        o_newline(0);
    }
    print_name_block(c, start_, end_);
    if (!c->flights.empty())
        print_flights_header(c);
}

void StatementPrinter::section(StatementSection s) {
    switch (s) {
    case StatementSection::fuel:
        if (c_->gas.empty())
            return;
        if (!c_->flights.empty())
            o_newline(0);
        print_sheet_header("Plane");
        o_rstring("Pilot", col::h_pilot, true);
        o_rstring("Octane", col::h_octane, true);
        o_rstring("Gallons", col::h_gallons, true);
        o_newline(0);
        return;
    case StatementSection::misc_charges:
        had_misc_charges_ = true;
        if (!c_->gas.empty())
            o_newline(0);
        print_sheet_header("Charge is for");
        o_newline(0);
        return;
    case StatementSection::misc_credits:
        if (had_misc_charges_ || !c_->gas.empty())
            o_newline(0);
        print_sheet_header("(Credit) is for");
        o_newline(0);
        return;
    case StatementSection::misc_end:
        o_newline(0);
        return;
    case StatementSection::payments:
        // A customer whose only payment is the mark of an exported finance
        // charge has no payment to list.
        if (c_->payments.empty() ||
            (c_->payments.head()->next == nullptr && finance_mark(c_->payments.head())))
            return;
        if (!c_->misc.empty())
            o_newline(0);
        o_rstring("Date", col::h_date, true);
        o_rstring("Check #", col::h_check, true);
        o_lstring("Note", col::h_note, true);
        o_newline(0);
        return;
    }
}

void StatementPrinter::flight_line(const flight *f, int32_t minutes) {
    o_rstring(date_text(f->date), col::date, true);
    o_rnumber(f->number, col::flight_no, true, 10);
    o_lstring(f->plane, col::aircraft, true);
    o_ramount_of_time(minutes, col::hours, true);
    if (is_set(f->cfi))
        o_lstring(f->cfi, col::cfi, true);
    if (is_set(f->passenger))
        o_lstring(f->passenger, col::cfi, true);
    line_open_ = true;
}

void StatementPrinter::tow_line(const flight *f, int32_t cents) {
    o_rtow_height(f->towheight, col::tow_height, true);
    if (f->towplane != nullptr && f->towplane->tugname[0] != '\0') {
        o_lstring("by", 0, true);
        o_rstring(f->towplane->tugname, col::tug, true);
    }
    charge_line("Tow:", cents);
}

void StatementPrinter::charge_line(const char *text, int32_t cents) {
    o_rstring(text, col::charge_label, true);
    o_rmoney(cents, col::amount, true);
    o_newline(0);
    line_open_ = false;
}

void StatementPrinter::flight_end() {
    if (line_open_)
        o_newline(0);
    line_open_ = false;
}

void StatementPrinter::fuel(const gas *g) {
    print_sheet_line(g->date, g->sheet, g->line, g->plane);
    o_rstring(g->pilot, col::pilot, true);
    o_rstring(g->grade, col::octane, true);
    char gallons[32];
    snprintf(gallons, sizeof gallons, "%d.%1d", g->gallons / 10, g->gallons % 10);
    o_rstring(gallons, col::gallons, true);
    o_rmoney(g->charge, col::amount, true);
    o_newline(0);
}

void StatementPrinter::misc_line(const misc *m) {
    print_sheet_line(m->date, m->sheet, m->line, m->why);
    o_rmoney(m->charge, col::amount, true);
    o_newline(0);
}

void StatementPrinter::payment_line(const payment *p) {
    o_rstring(date_text(p->date), col::date, true);
    if (p->check > 0)
        o_rnumber(p->check, col::check, true, 10);
    o_lstring(p->note, col::note, true);
    o_rmoney(p->amount, col::amount, true);
    o_newline(0);
}

void StatementPrinter::finance(int32_t unpaid, int32_t fee) {
    char text[96];
    snprintf(text, sizeof text, "Unpaid balance $%ld.%02ld Finance charge", (long)(unpaid / 100),
             (long)(unpaid % 100));
    o_lstring(text, col::finance_text, true);
    o_rmoney(fee, col::amount, true);
    o_newline(0);
}

void StatementPrinter::end(const charges *totals) {
    o_newline(0);
    o_newline(0);
    summarize_charges(totals);
    if (trailer_ != nullptr) {
        o_newline(0);
        o_lstring(trailer_, 0, false);
    }
}

void summarize_charges(const charges *ch) {
    char text[128];
    if (ch->flight_min != 0 || ch->tow_count != 0) {
        snprintf(text, sizeof text, "Flight time %d:%02d hours %d flights", ch->flight_min / 60,
                 ch->flight_min % 60, ch->tow_count);
        label(text);
        o_newline(0);
    }
    if (ch->instruction != 0 || ch->inst_count != 0) {
        snprintf(text, sizeof text, "Instruction %d:%02d hours %d flights", ch->inst_min / 60,
                 ch->inst_min % 60, ch->inst_count);
        money_line(text, ch->instruction);
    }
    if (ch->rope_break_charge != 0 || ch->rope_break_count != 0) {
        snprintf(text, sizeof text, "%d Rope breaks", ch->rope_break_count);
        money_line(text, ch->rope_break_charge);
    }
    if (ch->pattern_tow_charge != 0 || ch->pattern_tow_count != 0) {
        snprintf(text, sizeof text, "%d Pattern tows", ch->pattern_tow_count);
        money_line(text, ch->pattern_tow_charge);
    }
    if (ch->gas != 0 || ch->gallons != 0) {
        snprintf(text, sizeof text, "Gallons of gas %d.%1d", ch->gallons / 10, ch->gallons % 10);
        money_line(text, ch->gas);
    }
    if (ch->misc_breakdown != nullptr)
        print_breakdown(ch->misc_breakdown);
    if (ch->misc_charge != 0 || ch->misc_charge_count != 0) {
        snprintf(text, sizeof text, "Total of %d Misc charges", ch->misc_charge_count);
        money_line(text, ch->misc_charge);
    }
    if (ch->misc_credit != 0 || ch->misc_credit_count != 0) {
        snprintf(text, sizeof text, "Total of %d Misc credits", ch->misc_credit_count);
        money_line(text, ch->misc_credit);
    }
    if (ch->tow != 0 || ch->tow_count != 0) {
        snprintf(text, sizeof text, "%d Tows %d.%1d thousand feet", ch->tow_count,
                 ch->tow_height / 10, ch->tow_height % 10);
        money_line(text, ch->tow);
    }
    if (ch->rental != 0 || ch->rental_count != 0) {
        snprintf(text, sizeof text, "Rental %d:%02d hours %d flights", ch->rental_min / 60,
                 ch->rental_min % 60, ch->rental_count);
        money_line(text, ch->rental);
    }
    if (ch->financeCharges != 0)
        money_line("Finance Charges:", ch->financeCharges);
    if (ch->salestax != 0)
        money_line("Salestax:", ch->salestax);
    int32_t with_credits = static_cast<int32_t>(int64_t{newCharges(ch)} + ch->misc_credit);
    if (ch->prev_balance != 0) {
        o_rstring("----------", col::amount, true);
        o_newline(0);
        money_line("Total new charges (less any credits):", with_credits);
        money_line("Previous balance:", ch->prev_balance);
    }
    if (ch->payments != 0) {
        snprintf(text, sizeof text, "%d Payments made:", ch->payment_count);
        money_line(text, static_cast<int32_t>(-int64_t{ch->payments}));
    }
    o_newline(0);
    int64_t balance =
        int64_t{static_cast<int32_t>(int64_t{with_credits} - ch->payments)} + ch->prev_balance;
    money_line("New balance:", static_cast<int32_t>(balance));
}
