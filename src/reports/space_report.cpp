// SPACE: how much memory the lists hold, record by record kind.
#include <cstring>

#include "conio/iosubs.h"
#include "reports/reports.h"

namespace {

long text_bytes(const char *text) {
    return text == nullptr ? 0 : static_cast<long>(strlen(text)) + 1;
}

void row(long count, const char *label, long bytes, long strings) {
    if (count >= 0)
        o_rnumber(count, 5, true, 10);
    o_rstring(label, 18, true);
    if (bytes >= 0)
        o_rnumber(bytes, 34, true, 10);
    if (strings >= 0)
        o_rnumber(strings, 50, true, 10);
    o_newline(0);
}

struct CustomerSpace {
    long customers = 0, flights = 0, gas = 0, misc = 0, payments = 0;
    long bytes = 0, strings = 0, flag_entries = 0;
};

CustomerSpace customer_space() {
    CustomerSpace s;
    for (const customer *c : db.cust_list) {
        s.customers++;
        for (const char *text :
             {c->lastname, c->firstname, c->info, c->contestNumber, c->spouse, c->phone[0],
              c->phone[1], c->phone[2], c->eMail, c->addr[0], c->addr[1], c->addr[2], c->addr[3]})
            s.strings += text_bytes(text);
        for (const namelist *f = c->flags; f != nullptr; f = f->next)
            s.flag_entries++;
        for (const flight *f : c->flights) {
            s.flights++;
            for (const char *text : {f->plane, f->pilot, f->cfi, f->passenger, f->towpilot})
                s.strings += text_bytes(text);
        }
        for (const gas *g : c->gas) {
            s.gas++;
            s.strings += text_bytes(g->plane) + text_bytes(g->pilot);
        }
        for (const misc *m : c->misc) {
            s.misc++;
            s.strings += text_bytes(m->why);
        }
        for (const payment *p : c->payments) {
            s.payments++;
            s.strings += p->note ? static_cast<long>(strlen(p->note)) : 0;
        }
        if (c->charges != nullptr) {
            s.bytes += 116;
            for (const misc_breakdown *b = c->charges->misc_breakdown; b != nullptr; b = b->next)
                s.bytes += 16;
        }
    }
    s.bytes += s.customers * 100 + s.flights * 60 + s.gas * 44 + s.misc * 36 + s.payments * 24;
    return s;
}

} // namespace

void w_space() {
    o_rstring("Count", 5, true);
    o_rstring("Item counted", 12, true);
    o_rstring("Bytes", 34, true);
    o_rstring("Related strings", 58, true);
    o_newline(0);

    long names = 0;
    for (const char *text :
         {db.abbrevfile,  db.pricefile,     db.customerfile,  db.balancesfile,  db.statementfile,
          db.headfile,    db.trailfile,     db.gashistfile,   db.gashistqufile, db.gastempfile,
          db.payhistfile, db.payhistqufile, db.paytempfile,   db.daysheetfile,  db.daysheetqufile,
          db.daytempfile, db.timesfile,     db.emailTempFile, db.emailSender,   db.emailSendOnly,
          db.emailServer, db.emailSubject})
        names += text_bytes(text);
    row(-1, "File names and date:", -1, names);

    long abbrevs = 0, abbrev_strings = 0;
    for (const abbrev *a : db.abbrevs) {
        abbrevs++;
        abbrev_strings += text_bytes(a->name) + text_bytes(a->lastname) + text_bytes(a->firstname);
    }
    row(abbrevs, "Abbreviations", abbrevs * 16, abbrev_strings);

    long name_count = 0, name_strings = 0;
    for (const namelist *list : {db.category_names, db.flag_names})
        for (const namelist *n = list; n != nullptr; n = n->next) {
            name_count++;
            name_strings += text_bytes(n->name);
        }
    row(name_count, "CATEGORY or FLAG names", -1, name_count * 8 + name_strings);

    long prices = 0, price_strings = 0, costs = 0;
    for (const price *p : db.price_list) {
        prices++;
        price_strings += text_bytes(p->name);
        for (const category *cat = p->cat; cat != nullptr; cat = cat->next)
            costs++;
    }
    row(prices, "Prices", prices * 16, price_strings);
    row(costs, "Categories", costs * 12, -1);
    // The time summaries are rebuilt by each TIMES run and not kept.
    row(0, "Instructors", -1, -1);
    row(0, "People", 0, 0);
    row(0, "Aircraft", -1, -1);
    row(0, "People", 0, 0);

    CustomerSpace s = customer_space();
    row(s.customers, "Customers", s.customers * 100, -1);
    row(s.flights, "Flights", s.flights * 60, -1);
    row(s.gas, "Gas charges", s.gas * 44, -1);
    row(s.misc, "Misc charges/credits", s.misc * 36, -1);
    row(s.payments, "Payments", s.payments * 24, -1);
    o_newline(0);
    row(-1, "All Customer", s.bytes, s.strings);

    long bytes = abbrevs * 16 + prices * 16 + costs * 12 + s.bytes + s.flag_entries * 8;
    long strings =
        names + abbrev_strings + name_count * 8 + name_strings + price_strings + s.strings;
    o_rstring("Space used", 18, true);
    o_rnumber(bytes, 34, true, 10);
    o_rnumber(strings, 50, true, 10);
    o_rnumber(bytes + strings, 65, true, 10);
    o_newline(0);
    o_rstring("space left", 18, true);
    o_newline(0);
    o_space();
}
