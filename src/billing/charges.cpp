// A customer's charges for a period: each flight, fuel sale, misc charge or
// credit, payment and the finance charge priced and summed, and, for a
// statement, printed line by line. Money is cents and rates are mills in
// signed 32-bit arithmetic that wraps and truncates.
#include <cstdio>
#include <cstring>

#include "billing/billing.h"
#include "conio/iosubs.h"

namespace {

void add(int32_t &sum, int32_t part) {
    sum = wrap32(int64_t{sum} + part);
}

bool is_set(const char *text) {
    return text != nullptr && text[0] != '\0';
}

void o_charge_line(const char *label, int32_t cents) {
    o_rstring(label, 67, true);
    o_rmoney(cents, 78, true);
    o_newline(0);
}

int32_t total_tow_height(const customer *c) {
    int32_t sum = 0;
    for (const flight *f = c->flights; f != nullptr; f = f->next)
        add(sum, f->towheight);
    return sum;
}

void print_flights_header(const customer *c) {
    o_rstring("Date", 7, true);
    o_rstring("Flight#", 20, true);
    o_lstring("Aircraft", 22, true);
    o_rstring("Hours", 35, true);
    o_lstring("CFI/pass", 38, true);
    if (total_tow_height(c) > 0)
        o_rstring("Tow Height", 60, true);
    o_newline(0);
}

void print_sheet_header(const char *what) {
    o_rstring("Date", 7, true);
    o_rstring("Sheet", 15, true);
    o_rstring("Line", 20, true);
    o_lstring(what, 22, true);
}

void print_name_block(const customer *c, const char *start, const char *end) {
    o_lstring(c->firstname, 9, true);
    o_lstring(c->lastname, 0, true);
    if (c->category != nullptr && strcmp(c->category, "DEFAULT") != 0) {
        o_rstring("Billing category:", 67, true);
        o_lstring(c->category, 0, true);
    }
    o_newline(10);
    for (char *line : c->addr) {
        if (!is_set(line))
            break;
        o_lstring(line, 9, true);
        o_newline(0);
    }
    if (c->priorCategory != nullptr && c->transitionDate != 0) {
        o_rstring("Prior to:", 57, true);
        o_lstring(date_text(c->transitionDate), 0, true);
        o_lstring("was", 0, true);
        o_lstring(c->priorCategory, 0, true);
        o_newline(0);
    }
    o_now_info(false, 16);
    out_period(start, end, "charges");
    o_newline(0);
}

} // namespace

// A period has a few dozen dates and a bill run prints millions of lines:
// each date is converted once, into a slot of its own day.
const char *date_text(date_t date) {
    struct Slot {
        date_t date;
        bool used;
        char text[32];
    };
    static Slot slots[64];
    Slot &slot = slots[static_cast<uint64_t>(date) / 86400u % 64u];
    if (!slot.used || slot.date != date) {
        snprintf(slot.text, sizeof slot.text, "%s", i_convertTimeToString(date));
        slot.date = date;
        slot.used = true;
    }
    return slot.text;
}

int32_t rate_to_cents(int32_t rate) {
    return wrap32(int64_t{rate} + 5) / 10;
}

int32_t tax_on(int32_t rate, int32_t amount) {
    return wrap32(int64_t{wrap32(int64_t{rate} * amount)} + 500) / 1000;
}

void add_salestax(charges *ch, const char *item, const char *category_name, int32_t amount,
                  bool warn) {
    int32_t tax = tax_on(lookup_rate(item, category_name, warn), amount);
    if (tax != 0)
        add(ch->salestax, tax);
}

DateRange date_range(const char *start, const char *end) {
    DateRange range;
    bool ok = false;
    if (start != nullptr) {
        range.start = i_convertDateToTime(start, &ok);
        range.has_start = ok;
    }
    if (end != nullptr) {
        range.end = i_convertDateToTime(end, &ok);
        range.has_end = ok;
    }
    return range;
}

void charge_account(customer *c, charges *total, const char *start, const char *end,
                    const char *heading, const char *trailer, bool accumulate, bool print,
                    bool finance) {
    if (c == nullptr)
        return;
    if (c->charges == nullptr) {
        c->charges = static_cast<charges *>(errmalloc(sizeof(charges)));
        *c->charges = charges{};
    }
    charges *ch = c->charges;
    clear_charge(ch);
    DateRange range = date_range(start, end);

    if (print) {
        if (heading != nullptr) {
            o_lstring(heading, 0, false);
            o_newline(0);
        }
        print_name_block(c, start, end);
    }

    if (print && c->flights != nullptr)
        print_flights_header(c);
    // A customer's records lie far apart in memory: the next one is fetched
    // while this one is charged.
    for (flight *f = c->flights; f != nullptr; f = f->next) {
        __builtin_prefetch(f->next);
        if (range.contains(f->date))
            charge_flight(f, ch, accumulate, print);
    }

    if (print && c->gas != nullptr) {
        if (c->flights != nullptr)
            o_newline(0);
        print_sheet_header("Plane");
        o_rstring("Pilot", 38, true);
        o_rstring("Octane", 47, true);
        o_rstring("Gallons", 56, true);
        o_newline(0);
    }
    for (gas *g = c->gas; g != nullptr; g = g->next) {
        __builtin_prefetch(g->next);
        if (range.contains(g->date))
            charge_gas(g, ch, c, print);
    }

    int charge_count = 0, credit_count = 0;
    for (const misc *m = c->misc; m != nullptr; m = m->next) {
        if (!range.contains(m->date))
            continue;
        if (m->charge > 0)
            charge_count++;
        else if (m->charge < 0)
            credit_count++;
    }
    if (charge_count > 0) {
        if (print) {
            if (c->gas != nullptr)
                o_newline(0);
            print_sheet_header("Charge is for");
            o_newline(0);
        }
        for (misc *m = c->misc; m != nullptr; m = m->next)
            if (m->charge > 0 && range.contains(m->date))
                charge_misc(m, ch, print);
    }
    if (credit_count > 0) {
        if (print) {
            if (charge_count > 0 || c->gas != nullptr)
                o_newline(0);
            print_sheet_header("(Credit) is for");
            o_newline(0);
        }
        for (misc *m = c->misc; m != nullptr; m = m->next)
            if (m->charge < 0 && range.contains(m->date))
                charge_misc(m, ch, print);
    }
    if (print)
        o_newline(0);

    // A customer whose only payment is the mark of an exported finance
    // charge has no payment to list.
    bool marked_only =
        c->payments != nullptr && c->payments->next == nullptr && finance_mark(c->payments);
    if (print && c->payments != nullptr && !marked_only) {
        if (c->misc != nullptr)
            o_newline(0);
        o_rstring("Date", 7, true);
        o_rstring("Check #", 20, true);
        o_lstring("Note", 22, true);
        o_newline(0);
    }
    bool finance_exported = false;
    for (payment *p = c->payments; p != nullptr; p = p->next) {
        if (finance_mark(p))
            finance_exported = true;
        else if (range.contains(p->date))
            charge_payment(p, ch, print);
    }

    ch->prev_balance = c->balance;
    // The period's finance charge, once exported, is charged again only
    // with the exported records.
    if (finance && (!finance_exported || db.payments_quicken))
        charge_finCharges(c, ch, print);
    if (print) {
        o_newline(0);
        o_newline(0);
        summarize_charges(ch);
    }
    add_charges(total, ch);
    if (print && trailer != nullptr) {
        o_newline(0);
        o_lstring(trailer, 0, false);
    }
}

void charge_flight(flight *f, charges *ch, bool accumulate, bool print) {
    customer *c = f->customer;
    const char *cat = categoryOnDate(f->date, c);
    int32_t minutes = sub32(f->end, f->start);
    int32_t hours = wrap32(int64_t{minutes} * 1000) / 60;
    bool club_aircraft = lookup_rate(f->plane, cat, false) != 0;
    charges *plane = accumulate ? fc_charge(f->plane, true) : nullptr;

    bool line_open = false;
    if (print) {
        o_rstring(date_text(f->date), 9, true);
        o_rnumber(f->number, 18, true, 10);
        o_lstring(f->plane, 22, true);
        o_ramount_of_time(minutes, 34, true);
        if (is_set(f->cfi))
            o_lstring(f->cfi, 38, true);
        if (is_set(f->passenger))
            o_lstring(f->passenger, 38, true);
        line_open = true;
    }
    auto charge_line = [&](const char *label, int32_t cents) {
        if (print) {
            o_charge_line(label, cents);
            line_open = false;
        }
    };

    const char *type = flight_types[static_cast<int>(f->type)];
    bool rope_break = strcmp(type, "ROPE-BREAK") == 0;
    bool pattern_tow = strcmp(type, "PATTERN-TOW") == 0;
    if (rope_break || pattern_tow) {
        const char *item = rope_break ? "ROPE-BREAK" : "PATTERN-TOW";
        int32_t charge = rate_to_cents(lookup_rate(item, cat, true));
        for (charges *target : {ch, plane}) {
            if (target == nullptr)
                continue;
            if (rope_break) {
                target->rope_break_count++;
                add(target->rope_break_charge, charge);
            } else {
                target->pattern_tow_count++;
                add(target->pattern_tow_charge, charge);
            }
        }
        charge_line(rope_break ? "Rope break:" : "Pattern tow:", charge);
        add_salestax(ch, rope_break ? "ROPE-BREAK-SALESTAX" : "PATTERN-TOW-SALESTAX", cat, charge,
                     true);
        // Counted as a tow and as instruction without charging either, and
        // as rental time of a club aircraft without charging rental.
        for (charges *target : {ch, plane}) {
            if (target == nullptr)
                continue;
            target->tow_count++;
            add(target->tow_height, f->towheight);
            target->inst_count++;
            add(target->inst_min, minutes);
            if (club_aircraft) {
                target->rental_count++;
                add(target->rental_min, minutes);
            }
        }
    } else {
        if (f->towheight > 0) {
            int32_t per_height =
                wrap32(int64_t{lookup_rate("THOUSAND", cat, true)} * f->towheight) / 10;
            int32_t tow =
                wrap32(int64_t{wrap32(int64_t{lookup_rate("HOOKUP", cat, true)} + per_height)} +
                       5) /
                10;
            if (print) {
                o_rtow_height(f->towheight, 54, true);
                if (f->towplane != nullptr && f->towplane->tugname[0] != '\0') {
                    o_lstring("by", 0, true);
                    o_rstring(f->towplane->tugname, 60, true);
                }
            }
            charge_line("Tow:", tow);
            add(ch->tow, tow);
            ch->tow_count++;
            if (plane != nullptr) {
                add(plane->tow, tow);
                plane->tow_count++;
                add(plane->tow_height, f->towheight);
                if (f->towplane != nullptr) {
                    add(f->towplane->charges, tow);
                    add(f->towplane->towheight, f->towheight);
                    f->towplane->numberTows++;
                }
            }
            add(ch->tow_height, f->towheight);
            add_salestax(ch, "TOW-SALESTAX", cat, tow, true);
        }
        for (charges *target : {ch, plane})
            if (target != nullptr)
                add(target->flight_min, minutes);

        if (strcmp(type, "INSTRUCTIONAL") == 0) {
            int32_t instruction =
                calc_price(hours, cat, club_aircraft ? "INSTRUCTION" : "PVT-INSTRUCTION",
                           "MINIMUM-TIME", "GROUND-TIME");
            for (charges *target : {ch, plane}) {
                if (target == nullptr)
                    continue;
                target->inst_count++;
                add(target->instruction, instruction);
                add(target->inst_min, minutes);
            }
            if (instruction != 0) {
                charge_line("Instruction:", instruction);
                add_salestax(ch, "INS-SALESTAX", cat, instruction, true);
            }
        }

        if (club_aircraft) {
            int32_t rental = calc_price(hours, cat, f->plane, "MINIMUM-TIME", nullptr);
            for (charges *target : {ch, plane}) {
                if (target == nullptr)
                    continue;
                add(target->rental, rental);
                target->rental_count++;
                add(target->rental_min, minutes);
            }
            charge_line("Rental:", rental);
            add_salestax(ch, "FLT-SALESTAX", cat, rental, true);
        }
    }
    if (line_open)
        o_newline(0);
}

void charge_gas(gas *g, charges *ch, customer *c, bool print) {
    if (print) {
        o_rstring(date_text(g->date), 9, true);
        o_rnumber(g->sheet, 13, true, 10);
        o_rnumber(g->line, 19, true, 10);
        o_lstring(g->plane, 22, true);
        o_rstring(g->pilot, 37, true);
        o_rstring(g->grade, 45, true);
        char gallons[32];
        snprintf(gallons, sizeof gallons, "%d.%1d", g->gallons / 10, g->gallons % 10);
        o_rstring(gallons, 54, true);
        o_rmoney(g->charge, 78, true);
        o_newline(0);
    }
    if (gas_price(g->grade, g->gallons, c) != g->charge) {
        printf("? Price of gas has changed since %s sheet: %d line: %d\n", date_text(g->date),
               g->sheet, g->line);
        printf("    Old price is being used.\n");
    }
    add(ch->gas, g->charge);
    add(ch->gallons, g->gallons);
    add_salestax(ch, "GAS-SALESTAX", categoryOnDate(g->date, c), g->charge, false);
}

void charge_misc(misc *m, charges *ch, bool print) {
    if (print) {
        o_rstring(date_text(m->date), 9, true);
        o_rnumber(m->sheet, 13, true, 10);
        o_rnumber(m->line, 19, true, 10);
        o_lstring(m->why, 22, true);
        o_rmoney(m->charge, 78, true);
        o_newline(0);
    }
    if (m->charge > 0) {
        add(ch->misc_charge, m->charge);
        ch->misc_charge_count++;
    } else if (m->charge < 0) {
        add(ch->misc_credit, m->charge);
        ch->misc_credit_count++;
    }
    add_to_breakdown(ch, m->why, m->charge, 1);
    if (m->taxable)
        add_salestax(ch, "MISC-SALESTAX", categoryOnDate(m->date, m->customer), m->charge, false);
}

void charge_payment(payment *p, charges *ch, bool print) {
    if (print) {
        o_rstring(date_text(p->date), 9, true);
        if (p->check > 0)
            o_rnumber(p->check, 20, true, 10);
        o_lstring(p->note, 22, true);
        o_rmoney(p->amount, 78, true);
        o_newline(0);
    }
    add(ch->payments, p->amount);
    ch->payment_count++;
}

void charge_finCharges(customer *c, charges *ch, bool print) {
    int32_t unpaid =
        wrap32(int64_t{wrap32(int64_t{ch->prev_balance} + ch->misc_credit)} - ch->payments);
    if (rate_to_cents(lookup_rate("FINANCE-THRESHOLD", c->category, false)) > unpaid)
        return;
    int32_t fee = tax_on(lookup_rate("FINANCE-CHARGE", c->category, false), unpaid);
    if (fee <= 0)
        return;
    int32_t minimum = rate_to_cents(lookup_rate("MIN-FINANCE-CHARGE", c->category, false));
    if (minimum > fee)
        fee = minimum;
    ch->financeCharges = fee;
    if (print) {
        char text[96];
        snprintf(text, sizeof text, "Unpaid balance $%ld.%02ld Finance charge",
                 (long)(unpaid / 100), (long)(unpaid % 100));
        o_lstring(text, 22, true);
        o_rmoney(fee, 78, true);
        o_newline(0);
    }
}
