// The summary block that ends a statement and each period total.
#include <cstdio>

#include "billing/billing.h"
#include "conio/iosubs.h"

namespace {

void label(const char *text) {
    o_rstring(text, 58, true);
}

void money_line(const char *text, int32_t cents) {
    label(text);
    o_rmoney(cents, 78, true);
    o_newline(0);
}

void print_breakdown(const misc_breakdown *list) {
    o_newline(0);
    o_rstring("Misc charge/credit item", 28, true);
    o_rstring("Number", 38, true);
    o_rstring("amount", 58, true);
    o_newline(0);
    for (const misc_breakdown *entry = list; entry != nullptr; entry = entry->next) {
        o_rstring(entry->item_name ? entry->item_name : "", 28, true);
        o_rnumber(entry->count, 38, true, 10);
        o_rmoney(entry->charge, 58, true);
        o_newline(0);
    }
}

} // namespace

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
        o_rstring("----------", 78, true);
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
