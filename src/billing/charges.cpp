// A customer's charges for a period: each flight, fuel sale, misc charge or
// credit, payment and the finance charge priced and summed. The lines go,
// in statement order, to a sink; nothing here writes the statement. Money
// is cents and rates are mills in signed 32-bit arithmetic that wraps and
// truncates.
#include <cstdio>
#include <cstring>

#include "billing/billing.h"
#include "billing/statement.h"
#include "conio/iosubs.h"

namespace {

void add(int32_t &sum, int32_t part) {
    sum = wrap32(int64_t{sum} + part);
}

StatementSink silent;

// The items every flight is priced with.
PriceItem thousand("THOUSAND"), hookup("HOOKUP"), minimum_time("MINIMUM-TIME"),
    ground_time("GROUND-TIME"), club_instruction("INSTRUCTION"),
    private_instruction("PVT-INSTRUCTION"), rope_break_fee("ROPE-BREAK"),
    pattern_tow_fee("PATTERN-TOW");
PriceItem tow_tax("TOW-SALESTAX"), instruction_tax("INS-SALESTAX"), flight_tax("FLT-SALESTAX"),
    gas_tax("GAS-SALESTAX"), misc_tax("MISC-SALESTAX"), rope_break_tax("ROPE-BREAK-SALESTAX"),
    pattern_tow_tax("PATTERN-TOW-SALESTAX");

bool is_type(const flight *f, const char *name) {
    return strcmp(flight_types[static_cast<int>(f->type)], name) == 0;
}

// The customer's statement and, when the period totals gather it, the
// aircraft's: each flight counts in both.
struct Targets {
    charges *ch;
    charges *plane;
    template <typename F> void each(F f) const {
        f(*ch);
        if (plane != nullptr)
            f(*plane);
    }
};

void charge_fixed_tow(const flight *f, const Targets &to, const char *cat, int32_t minutes,
                      bool club_aircraft, StatementSink &sink) {
    bool rope_break = is_type(f, "ROPE-BREAK");
    int32_t charge = fixed_tow_price(rope_break, cat);
    to.each([&](charges &t) {
        if (rope_break) {
            t.rope_break_count++;
            add(t.rope_break_charge, charge);
        } else {
            t.pattern_tow_count++;
            add(t.pattern_tow_charge, charge);
        }
    });
    sink.charge_line(rope_break ? "Rope break:" : "Pattern tow:", charge);
    add_salestax(to.ch, rope_break ? rope_break_tax : pattern_tow_tax, cat, charge, true);
    // Counted as a tow and as instruction without charging either, and as
    // rental time of a club aircraft without charging rental.
    to.each([&](charges &t) {
        t.tow_count++;
        add(t.tow_height, f->towheight);
        t.inst_count++;
        add(t.inst_min, minutes);
        if (club_aircraft) {
            t.rental_count++;
            add(t.rental_min, minutes);
        }
    });
}

void charge_tow(flight *f, const Targets &to, const char *cat, StatementSink &sink) {
    int32_t tow = tow_price(f->towheight, cat);
    sink.tow_line(f, tow);
    charges *ch = to.ch;
    add(ch->tow, tow);
    ch->tow_count++;
    if (to.plane != nullptr) {
        add(to.plane->tow, tow);
        to.plane->tow_count++;
        add(to.plane->tow_height, f->towheight);
        if (f->towplane != nullptr) {
            add(f->towplane->charges, tow);
            add(f->towplane->towheight, f->towheight);
            f->towplane->numberTows++;
        }
    }
    add(ch->tow_height, f->towheight);
    add_salestax(ch, tow_tax, cat, tow, true);
}

void charge_flight(flight *f, charges *ch, bool accumulate, StatementSink &sink) {
    const char *cat = categoryOnDate(f->date, f->customer);
    int32_t minutes = sub32(f->end, f->start);
    int32_t hours = wrap32(int64_t{minutes} * 1000) / 60;
    PriceItem plane(f->plane);
    bool club_aircraft = lookup_rate(plane, cat, false) != 0;
    Targets to{ch, accumulate ? fc_charge(f->plane, true) : nullptr};
    sink.flight_line(f, minutes);
    if (is_type(f, "ROPE-BREAK") || is_type(f, "PATTERN-TOW")) {
        charge_fixed_tow(f, to, cat, minutes, club_aircraft, sink);
        sink.flight_end();
        return;
    }
    if (f->towheight > 0)
        charge_tow(f, to, cat, sink);
    to.each([&](charges &t) { add(t.flight_min, minutes); });
    if (is_type(f, "INSTRUCTIONAL")) {
        int32_t instruction = instruction_price(hours, cat, club_aircraft);
        to.each([&](charges &t) {
            t.inst_count++;
            add(t.instruction, instruction);
            add(t.inst_min, minutes);
        });
        if (instruction != 0) {
            sink.charge_line("Instruction:", instruction);
            add_salestax(ch, instruction_tax, cat, instruction, true);
        }
    }
    if (club_aircraft) {
        int32_t rental = rental_price(hours, cat, plane);
        to.each([&](charges &t) {
            add(t.rental, rental);
            t.rental_count++;
            add(t.rental_min, minutes);
        });
        sink.charge_line("Rental:", rental);
        add_salestax(ch, flight_tax, cat, rental, true);
    }
    sink.flight_end();
}

void charge_gas(gas *g, charges *ch, customer *c, StatementSink &sink) {
    sink.fuel(g);
    if (gas_price(g->grade, g->gallons, c) != g->charge) {
        printf("? Price of gas has changed since %s sheet: %d line: %d\n", date_text(g->date),
               g->sheet, g->line);
        printf("    Old price is being used.\n");
    }
    add(ch->gas, g->charge);
    add(ch->gallons, g->gallons);
    add_salestax(ch, gas_tax, categoryOnDate(g->date, c), g->charge, false);
}

void charge_misc(misc *m, charges *ch, StatementSink &sink) {
    sink.misc_line(m);
    if (m->charge > 0) {
        add(ch->misc_charge, m->charge);
        ch->misc_charge_count++;
    } else if (m->charge < 0) {
        add(ch->misc_credit, m->charge);
        ch->misc_credit_count++;
    }
    add_to_breakdown(ch, m->why, m->charge, 1);
    if (m->taxable)
        add_salestax(ch, misc_tax, categoryOnDate(m->date, m->customer), m->charge, false);
}

// Charges first, then credits, each under its heading when there is one.
void charge_all_misc(customer *c, charges *ch, const DateRange &range, StatementSink &sink) {
    int charge_count = 0, credit_count = 0;
    for (const misc *m : c->misc) {
        if (!range.contains(m->date))
            continue;
        charge_count += m->charge > 0;
        credit_count += m->charge < 0;
    }
    for (int sign : {1, -1}) {
        if ((sign > 0 ? charge_count : credit_count) == 0)
            continue;
        sink.section(sign > 0 ? StatementSection::misc_charges : StatementSection::misc_credits);
        for (misc *m : c->misc)
            if ((sign > 0 ? m->charge > 0 : m->charge < 0) && range.contains(m->date))
                charge_misc(m, ch, sink);
    }
    sink.section(StatementSection::misc_end);
}

void charge_finance(customer *c, charges *ch, StatementSink &sink) {
    int32_t unpaid =
        wrap32(int64_t{wrap32(int64_t{ch->prev_balance} + ch->misc_credit)} - ch->payments);
    int32_t fee = finance_price(unpaid, c->category);
    if (fee == 0)
        return;
    ch->financeCharges = fee;
    sink.finance(unpaid, fee);
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

void add_salestax(charges *ch, PriceItem &item, const char *category_name, int32_t amount,
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

int32_t tow_price(int32_t towheight, const char *cat) {
    int32_t per_height = wrap32(int64_t{lookup_rate(thousand, cat, true)} * towheight) / 10;
    return wrap32(int64_t{wrap32(int64_t{lookup_rate(hookup, cat, true)} + per_height)} + 5) / 10;
}

int32_t instruction_price(int32_t hours, const char *cat, bool club_aircraft) {
    return calc_price(hours, cat, club_aircraft ? club_instruction : private_instruction,
                      &minimum_time, &ground_time);
}

int32_t rental_price(int32_t hours, const char *cat, PriceItem &plane) {
    return calc_price(hours, cat, plane, &minimum_time, nullptr);
}

int32_t fixed_tow_price(bool rope_break, const char *cat) {
    return rate_to_cents(lookup_rate(rope_break ? rope_break_fee : pattern_tow_fee, cat, true));
}

int32_t finance_price(int32_t unpaid, const char *cat) {
    if (rate_to_cents(lookup_rate("FINANCE-THRESHOLD", cat, false)) > unpaid)
        return 0;
    int32_t fee = tax_on(lookup_rate("FINANCE-CHARGE", cat, false), unpaid);
    if (fee <= 0)
        return 0;
    int32_t minimum = rate_to_cents(lookup_rate("MIN-FINANCE-CHARGE", cat, false));
    return minimum > fee ? minimum : fee;
}

void bill_customer(customer *c, charges *total, const DateRange &range, bool finance,
                   bool accumulate, StatementSink *to) {
    StatementSink &sink = to != nullptr ? *to : silent;
    if (c->charges == nullptr) {
        c->charges = static_cast<charges *>(errmalloc(sizeof(charges)));
        *c->charges = charges{};
    }
    charges *ch = c->charges;
    clear_charge(ch);
    sink.begin(c);
    // A customer's records lie far apart in memory: the next one is fetched
    // while this one is charged.
    for (flight *f : c->flights) {
        __builtin_prefetch(f->next);
        if (range.contains(f->date))
            charge_flight(f, ch, accumulate, sink);
    }
    sink.section(StatementSection::fuel);
    for (gas *g : c->gas) {
        __builtin_prefetch(g->next);
        if (range.contains(g->date))
            charge_gas(g, ch, c, sink);
    }
    charge_all_misc(c, ch, range, sink);
    sink.section(StatementSection::payments);
    bool finance_exported = false;
    for (payment *p : c->payments) {
        if (finance_mark(p)) {
            finance_exported = true;
        } else if (range.contains(p->date)) {
            sink.payment_line(p);
            add(ch->payments, p->amount);
            ch->payment_count++;
        }
    }
    ch->prev_balance = c->balance;
    // The period's finance charge, once exported, is charged again only
    // with the exported records.
    if (finance && (!finance_exported || db.payments_quicken))
        charge_finance(c, ch, sink);
    add_charges(total, ch);
    sink.end(ch);
}

void charge_account(customer *c, charges *total, const char *start, const char *end,
                    const char *heading, const char *trailer, bool accumulate, bool print,
                    bool finance) {
    if (c == nullptr)
        return;
    StatementPrinter printer(heading, trailer, start, end);
    bill_customer(c, total, date_range(start, end), finance, accumulate,
                  print ? &printer : nullptr);
}
