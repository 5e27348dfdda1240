// Records and lists of the club database: name lists, fuel grades, the tow
// plane table, flight types, appending transactions, and freeing records.
#include <cctype>
#include <cstdio>
#include <cstring>

#include "db/db.h"

DbState db;

const char *const flight_types[] = {"OTHER",      "COMMERCIAL-RIDE", "INSTRUCTIONAL",
                                    "ROPE-BREAK", "PATTERN-TOW",     nullptr};
const char flight_type_id[] = "OCIRPU";

namespace {

// The new records of one customer in one batch, first to last.
template <class T> struct Run {
    customer *c = nullptr;
    T *first = nullptr;
    T *last = nullptr;
    int64_t added = 0; // what the run adds to a sum its customer keeps
};

// Finds the run of a customer in an open-addressing table of runs.
template <class T> Run<T> &run_of(std::vector<Run<T>> &runs, customer *c) {
    uint64_t x = (uint64_t)(uintptr_t)c;
    x ^= x >> 33;
    x *= 0xff51afd7ed558ccdULL;
    x ^= x >> 33;
    size_t mask = runs.size() - 1;
    for (size_t i = (size_t)x & mask;; i = (i + 1) & mask)
        if (runs[i].c == nullptr || runs[i].c == c)
            return runs[i];
}

// Builds each customer's run back to front, prepending every record, so
// that only the records of the batch (in order, and so in cache) and a
// small table are touched; appending one by one would store into each
// customer's previous record, which with many customers lies far out of
// cache. Each run is then hung after its customer's list.
// `add`, when given, is summed over each run and handed over once per run:
// a store per record into its customer would be the out-of-cache touch
// the runs avoid.
template <class T>
void append_batch(std::vector<T *> &batch, RecordList<T> customer::*list,
                  int32_t (*add)(const T *) = nullptr,
                  void (*hand_over)(customer *, int64_t) = nullptr) {
    std::vector<Run<T>> runs(64);
    size_t used = 0;
    for (size_t i = batch.size(); i-- > 0;) {
        T *rec = batch[i];
        if (rec->customer == nullptr)
            continue;
        if ((used + 1) * 2 > runs.size()) {
            std::vector<Run<T>> bigger(runs.size() * 2);
            for (const Run<T> &r : runs)
                if (r.c != nullptr)
                    run_of(bigger, r.c) = r;
            runs.swap(bigger);
        }
        Run<T> &run = run_of(runs, rec->customer);
        if (run.c == nullptr) {
            run.c = rec->customer;
            run.last = rec;
            used++;
        }
        rec->next = run.first;
        run.first = rec;
        if (add != nullptr)
            run.added += add(rec);
    }
    for (const Run<T> &r : runs) {
        if (r.c == nullptr)
            continue;
        (r.c->*list).append(r.first, r.last);
        if (hand_over != nullptr)
            hand_over(r.c, r.added);
    }
    batch.clear();
}

char *free_str(char *text) {
    return static_cast<char *>(errfree(text));
}

// Frees one kind of record of every customer. A list's next record lies
// far away in memory, so several customers' lists are walked side by side:
// their next records are fetched together instead of one after the other.
template <class T, class FreeOne>
void free_every_list(RecordList<T> customer::*list, FreeOne free_one) {
    constexpr int kWays = 8;
    T *cursor[kWays] = {};
    int active = 0;
    customer *c = db.cust_list.head();
    while (c != nullptr || active > 0) {
        for (T *&rec : cursor) {
            if (rec == nullptr) {
                while (c != nullptr && (c->*list).empty())
                    c = c->next;
                if (c == nullptr)
                    continue;
                rec = (c->*list).release();
                c = c->next;
                active++;
            }
            T *next = rec->next;
            if (next != nullptr)
                __builtin_prefetch(next);
            free_one(rec);
            rec = next;
            if (rec == nullptr)
                active--;
        }
    }
}

} // namespace

// ---- Name lists -------------------------------------------------------------------

namelist *fc_namelist_entry(namelist **list, const char *name, bool create, bool copy) {
    if (list == nullptr || name == nullptr || name[0] == '\0')
        return nullptr;
    namelist **link = list;
    while (*link != nullptr) {
        int cmp = strcmp(name, (*link)->name);
        if (cmp == 0)
            return *link;
        if (cmp < 0)
            break;
        link = &(*link)->next;
    }
    if (!create)
        return nullptr;
    namelist *node = static_cast<namelist *>(errmalloc(sizeof(namelist)));
    node->name = copy ? alloc_str(name) : const_cast<char *>(name);
    node->next = *link;
    *link = node;
    return node;
}

const char *fc_category(const char *name) {
    namelist *node = fc_namelist_entry(&db.category_names, name, true, true);
    return node ? node->name : nullptr;
}

namelist *fc_customer_flag(customer *c, const char *flagname, bool create) {
    if (c == nullptr)
        return nullptr;
    namelist *shared = fc_namelist_entry(&db.flag_names, flagname, create, true);
    if (shared == nullptr)
        return nullptr;
    // The customer's node points at the interned name, never a copy.
    return fc_namelist_entry(&c->flags, shared->name, create, false);
}

namelist *fc_gas_grade(const char *name, bool create) {
    if (name == nullptr || name[0] == '\0')
        return nullptr;
    namelist **link = &db.gas_grades;
    while (*link != nullptr) {
        if (strcmp((*link)->name, name) == 0)
            return *link;
        link = &(*link)->next;
    }
    if (!create)
        return nullptr;
    namelist *node = static_cast<namelist *>(errmalloc(sizeof(namelist)));
    node->name = alloc_str(name);
    node->next = nullptr;
    *link = node;
    return node;
}

towplane *fc_tug(const char *name, bool create) {
    // No tow plane takes no row: a row it held would be filled, tows and
    // all, by the next tow plane named.
    const char *given = name ? name : "";
    if (is_blank(given))
        return nullptr;
    // Cut to the row's size as the row will hold it; this runs per flight
    // read, so no formatted print.
    char wanted[sizeof(towplane::tugname)];
    size_t length = strnlen(given, sizeof wanted - 1);
    memcpy(wanted, given, length);
    wanted[length] = '\0';
    uc_string(wanted);

    for (towplane &row : db.tugList) {
        if (row.tugname[0] == '\0') {
            if (!create)
                return nullptr;
            snprintf(row.tugname, sizeof row.tugname, "%s", wanted);
            return &row;
        }
        if (strcmp(row.tugname, wanted) == 0)
            return &row;
    }
    if (create)
        printf("? ERROR: not enough room in table of towplanes for %s\n", given);
    return nullptr;
}

int translate_flight_type(const char *text) {
    if (text == nullptr || text[0] == '\0')
        return 0;
    if (text[1] == '\0') {
        if (text[0] == '-')
            return 0;
        for (int i = 0; i < 5; ++i)
            if (text[0] == flight_type_id[i])
                return i;
    }
    for (int i = 0; flight_types[i] != nullptr; ++i)
        if (strcmp(text, flight_types[i]) == 0)
            return i;
    return 5;
}

// ---- Appending transactions ---------------------------------------------------------

void add_flight(flight *f, customer *c) {
    if (f != nullptr && c != nullptr) {
        c->flights.append(f);
        c->tow_height_sum = wrap32(int64_t{c->tow_height_sum} + f->towheight);
    }
}

void add_gas(gas *g, customer *c) {
    if (g != nullptr && c != nullptr)
        c->gas.append(g);
}

void add_misc(misc *m, customer *c) {
    if (m != nullptr && c != nullptr)
        c->misc.append(m);
}

void add_payment(payment *p, customer *c) {
    if (p != nullptr && c != nullptr)
        c->payments.append(p);
}

void add_flights(std::vector<flight *> &batch) {
    // The sum wraps as the flights' heights added one by one would.
    append_batch<flight>(
        batch, &customer::flights, [](const flight *f) { return int32_t{f->towheight}; },
        [](customer *c, int64_t heights) {
            c->tow_height_sum = wrap32(int64_t{c->tow_height_sum} + wrap32(heights));
        });
}

void add_gas_sales(std::vector<gas *> &batch) {
    append_batch(batch, &customer::gas);
}

void add_miscs(std::vector<misc *> &batch) {
    append_batch(batch, &customer::misc);
}

void add_payments(std::vector<payment *> &batch) {
    append_batch(batch, &customer::payments);
}

// ---- Flights ------------------------------------------------------------------------

void free_flight_contents(flight *f) {
    if (f == nullptr)
        return;
    f->plane = free_str(f->plane);
    f->pilot = free_str(f->pilot);
    f->cfi = free_str(f->cfi);
    f->passenger = free_str(f->passenger);
    f->towpilot = free_str(f->towpilot);
}

void free_flight(flight *f) {
    if (f == nullptr)
        return;
    customer *c = f->customer;
    if (c == nullptr) {
        printf("BUG, flight without related customer\n");
        return;
    }
    if (!c->flights.remove(f)) {
        printf("?BUG, flight not found in list\n");
        return;
    }
    c->tow_height_sum = wrap32(int64_t{c->tow_height_sum} - f->towheight);
    free_flight_contents(f);
    errfree(f);
}

void free_customer_flights(customer *c) {
    if (c == nullptr)
        return;
    flight *f = c->flights.release();
    c->tow_height_sum = 0;
    while (f != nullptr) {
        flight *next = f->next;
        free_flight_contents(f);
        errfree(f);
        f = next;
    }
}

void free_flights() {
    if (!db.flights_read)
        return;
    free_every_list(&customer::flights, [](flight *f) {
        free_flight_contents(f);
        errfree(f);
    });
    for (customer *c : db.cust_list)
        c->tow_height_sum = 0;
    db.flights_read = 0;
}

// ---- Fuel sales and misc records -------------------------------------------------------

void free_gas_contents(gas *g) {
    if (g == nullptr)
        return;
    g->plane = free_str(g->plane);
    g->pilot = free_str(g->pilot);
}

void free_gas_charge(gas *g) {
    if (g == nullptr)
        return;
    customer *c = g->customer;
    if (c == nullptr) {
        printf("BUG, gas charge without related customer\n");
        return;
    }
    if (!c->gas.remove(g)) {
        printf("?BUG, gas charge not found in list\n");
        return;
    }
    free_gas_contents(g);
    errfree(g);
}

void free_customer_gas(customer *c) {
    if (c == nullptr)
        return;
    gas *g = c->gas.release();
    while (g != nullptr) {
        gas *next = g->next;
        free_gas_contents(g);
        errfree(g);
        g = next;
    }
}

void free_misc_contents(misc *m) {
    if (m == nullptr)
        return;
    m->why = free_str(m->why);
}

void free_misc_charge(misc *m) {
    if (m == nullptr)
        return;
    customer *c = m->customer;
    if (c == nullptr) {
        printf("BUG, misc charge without related customer\n");
        return;
    }
    if (!c->misc.remove(m)) {
        printf("?BUG, misc charge not found in list\n");
        return;
    }
    free_misc_contents(m);
    errfree(m);
}

void free_customer_misc(customer *c) {
    if (c == nullptr)
        return;
    misc *m = c->misc.release();
    while (m != nullptr) {
        misc *next = m->next;
        free_misc_contents(m);
        errfree(m);
        m = next;
    }
}

void free_gas() {
    if (!db.gas_read)
        return;
    // Fuel sales and misc records come from the same history file.
    free_every_list(&customer::gas, [](gas *g) {
        free_gas_contents(g);
        errfree(g);
    });
    free_every_list(&customer::misc, [](misc *m) {
        free_misc_contents(m);
        errfree(m);
    });
    db.gas_read = 0;
}

// ---- Payments -------------------------------------------------------------------------

void free_payment_contents(payment *p) {
    if (p == nullptr)
        return;
    p->note = free_str(p->note);
}

void free_payment(payment *p) {
    if (p == nullptr)
        return;
    customer *c = p->customer;
    if (c == nullptr) {
        printf("? BUG, payment without related customer\n");
        return;
    }
    if (!c->payments.remove(p)) {
        printf("?BUG, payment not found in list\n");
        return;
    }
    free_payment_contents(p);
    errfree(p);
}

void free_customer_payments(customer *c) {
    if (c == nullptr)
        return;
    payment *p = c->payments.release();
    while (p != nullptr) {
        payment *next = p->next;
        free_payment_contents(p);
        errfree(p);
        p = next;
    }
}

void free_all_payments() {
    if (!db.payments_read)
        return;
    free_every_list(&customer::payments, [](payment *p) {
        free_payment_contents(p);
        errfree(p);
    });
    db.payments_read = 0;
}

// ---- Charges ---------------------------------------------------------------------------

void free_misc_breakdown(misc_breakdown *list) {
    while (list != nullptr) {
        misc_breakdown *next = list->next;
        errfree(list);
        list = next;
    }
}

void free_customer_charges(customer *c) {
    if (c == nullptr || c->charges == nullptr)
        return;
    charges *ch = c->charges;
    if (ch->next != nullptr)
        printf("? Should not find a list of charges on a customer.");
    free_misc_breakdown(ch->misc_breakdown);
    errfree(ch->name);
    errfree(ch);
    c->charges = nullptr;
}

// ---- Customers ---------------------------------------------------------------------------

bool unlink_customer(customer *c) {
    if (!db.cust_list.remove(std::pair<std::string, std::string>(c->lastname, c->firstname), c))
        return false;
    db.cust_exact.erase(c->lastname, c->firstname, c);
    return true;
}

void free_customer(customer *c) {
    if (c == nullptr)
        return;
    free_customer_flights(c);
    free_customer_gas(c);
    free_customer_misc(c);
    free_customer_payments(c);
    free_customer_charges(c);

    errfree(c->lastname);
    errfree(c->firstname);
    errfree(c->info);
    errfree(c->contestNumber);
    errfree(c->spouse);
    free_namelist(c->flags, false); // the names belong to flag_names
    for (char *phone : c->phone)
        errfree(phone);
    errfree(c->eMail);
    for (char *line : c->addr)
        errfree(line);
    errfree(c);
}

void free_mcustomers() {
    customer *c = db.cust_list.release();
    db.cust_exact.clear();
    while (c != nullptr) {
        customer *next = c->next;
        free_customer(c);
        c = next;
    }
    db.cust_changed = 0;
}

// ---- Prices --------------------------------------------------------------------------------

void free_cat(category *cat) {
    errfree(cat);
}

bool unlink_price(price *p) {
    return db.price_list.remove(std::string_view(p->name), p);
}

void free_price(price *p) {
    if (p == nullptr)
        return;
    errfree(p->name);
    category *cat = p->cat;
    while (cat != nullptr) {
        category *next = cat->next;
        free_cat(cat);
        cat = next;
    }
    errfree(p);
}

void free_mprices() {
    price *p = db.price_list.release();
    while (p != nullptr) {
        price *next = p->next;
        free_price(p);
        p = next;
    }
    db.price_changed = 0;
}

// ---- Abbreviations ---------------------------------------------------------------------------

bool unlink_abbrev(abbrev *a) {
    return db.abbrevs.remove(std::string_view(a->name), a);
}

void free_abbrev(abbrev *a) {
    if (a == nullptr)
        return;
    errfree(a->name);
    errfree(a->lastname);
    errfree(a->firstname);
    errfree(a);
}

void free_mabbrevs() {
    abbrev *a = db.abbrevs.release();
    while (a != nullptr) {
        abbrev *next = a->next;
        free_abbrev(a);
        a = next;
    }
    db.abbrev_changed = 0;
}

// ---- Name lists --------------------------------------------------------------------------------

void free_namelist(namelist *list, bool free_names) {
    while (list != nullptr) {
        namelist *next = list->next;
        if (free_names)
            errfree(list->name);
        errfree(list);
        list = next;
    }
}

void free_mnames() {
    free_namelist(db.category_names, true);
    db.category_names = nullptr;
}

void free_flag_names() {
    db.always_bill_flag = nullptr;
    free_namelist(db.flag_names, true);
    db.flag_names = nullptr;
}

void free_gas_grades() {
    free_namelist(db.gas_grades, true);
    db.gas_grades = nullptr;
}

// ---- Whole database
// ------------------------------------------------------------------------------

void db_reset() {
    free_mcustomers();
    free_mabbrevs();
    free_mprices();
    free_mnames();
    free_flag_names();
    free_gas_grades();
    for (char *&key : db.nnumbers)
        key = free_str(key);

    char **owned[] = {
        &db.abbrevfile,    &db.pricefile,     &db.customerfile, &db.balancesfile,
        &db.statementfile, &db.headfile,      &db.trailfile,    &db.emailTempFile,
        &db.gashistfile,   &db.gashistqufile, &db.gastempfile,  &db.payhistfile,
        &db.payhistqufile, &db.paytempfile,   &db.daysheetfile, &db.daysheetqufile,
        &db.daytempfile,   &db.timesfile,     &db.emailSender,  &db.emailSendOnly,
        &db.emailServer,   &db.emailSubject,
    };
    for (char **slot : owned)
        *slot = free_str(*slot);

    db = DbState{};
}
