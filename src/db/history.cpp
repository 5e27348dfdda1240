// The period's history files: reading the day sheet and the gas and misc
// history, the loaders that keep them in memory, loading the master files
// on demand, saving them, and rewriting the three history files after
// transactions were removed.
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "conio/iosubs.h"
#include "db/db.h"
#include "db/file_lines.h"

namespace {

using dbfile::DateCache;
using dbfile::Fields;

enum { LINE_MAX_TEXT = 200, CTRL_Z = 26 };

// The lines of the file being read that were reported and read with a
// default; a later rewrite keeps a copy of such a file first.
struct BadLines {
    int line = 0;
    int last_counted = -1;
    int count = 0;
};
BadLines bad;

void start_counting() {
    bad = BadLines{};
}

__attribute__((format(printf, 1, 2))) void bad_value(const char *format, ...) {
    va_list args;
    va_start(args, format);
    vprintf(format, args);
    va_end(args);
    if (bad.last_counted != bad.line) {
        bad.count++;
        bad.last_counted = bad.line;
    }
}

// The lines of a history file, read a few ahead of the one handed out. A
// club of tens of thousands of customers makes each line's account lookup
// wait on memory; started for the lines ahead, those waits overlap with the
// work on the current line instead of following it.
class LinesAhead {
  public:
    // An index that fits in the processor's cache has nothing to wait
    // for, and the guesses would only cost time.
    LinesAhead(FILE *file, int account_field)
        : file_(file), account_field_(db.cust_exact.size() > kCachedNames ? account_field : 0) {
        for (int i = 0; i < kAhead; i++)
            fill(ring_[i]);
    }

    // The next line that counts, or null at the end: a line starting with
    // Ctrl-Z is skipped without advancing the line number.
    char *next(int &line_number) {
        Line &line = ring_[at_];
        if (!line.read)
            return nullptr;
        memcpy(current_, line.text, sizeof current_);
        line_number = line.number;
        bad.line = line_number;
        fill(line);
        at_ = (at_ + 1) % kAhead;
        // The line after this one fetches its record, the one after that
        // its slot (just read in by fill).
        const Line &after = ring_[at_];
        if (after.read && account_field_ > 0)
            db.cust_exact.fetch_record(after.hint);
        return current_;
    }

  private:
    static constexpr int kAhead = 2;
    static constexpr size_t kCachedNames = 4096;
    struct Line {
        char text[LINE_MAX_TEXT + 4];
        int number = 0;
        bool read = false;
        uint32_t hint = 0;
    };

    void fill(Line &line) {
        line.read = false;
        while (fgets(line.text, LINE_MAX_TEXT + 2, file_) != nullptr) {
            if (line.text[0] == CTRL_Z)
                continue;
            line.number = ++numbered_;
            line.read = true;
            if (account_field_ > 0) {
                line.hint = hint_of(line.text);
                db.cust_exact.fetch_slot(line.hint);
            }
            return;
        }
    }

    uint32_t hint_of(const char *text) const {
        const char *field = text;
        for (int n = 1; n < account_field_; n++) {
            field = strchr(field, '\t');
            if (field == nullptr)
                return 0;
            field++;
        }
        return account_hint(field, strcspn(field, "\t\n"));
    }

    FILE *file_;
    int account_field_;
    Line ring_[kAhead];
    int at_ = 0;
    int numbered_ = 0;
    char current_[LINE_MAX_TEXT + 4];
};

date_t read_date(DateCache &cache, const char *field, int line_number) {
    bool ok = false;
    date_t value = cache.convert(field, ok);
    if (!ok)
        bad_value("? Date \"%s\" is in bad format on line %d\n", field, line_number);
    return value;
}

// The scanf conversions of the file formats, done by hand: they run on
// nearly every field of every line, and a value too large for its field
// must be reported, not wrapped.
bool scan_long(const char *text, long &value, const char **end = nullptr) {
    int32_t v = 0;
    if (!dbfile::scan_int32(text, v, end))
        return false;
    value = v;
    return true;
}

int read_int(const char *field, bool &ok) {
    long value = 0;
    ok = scan_long(field, value);
    return ok ? (int)value : -1;
}

// A walk-in sale's "#receipt" account; a receipt beyond the field is
// reported, not wrapped or dropped in silence.
int32_t receipt_number(const char *account, int line_number) {
    long number = 0;
    if (account[0] != '#')
        return 0;
    if (!scan_long(account + 1, number)) {
        bad_value("? Bad receipt number \"%s\" on line %d.\n", account, line_number);
        return 0;
    }
    return (int32_t)number;
}

// Unknown accounts are billed to CASH so that no charge is lost.
customer *account_or_cash(const char *account, int line_number) {
    customer *c = lookup_account(account, false);
    if (c == nullptr) {
        bad_value("? No customer to match \"%s\" on line %d.\n", account, line_number);
        printf("    CASH account assumed.\n");
        c = fc_cust("CASH", "", true);
    }
    return c;
}

// The flights of one date already held, by customer and number, for the
// duplicate warning: an open-addressing table, so that a club with a million
// flights costs one probe per flight and no allocation per flight.
class FlightKeySet {
  public:
    FlightKeySet() : slots_(64) {}

    // True when the key was not there yet.
    bool insert(const customer *c, int number) {
        if ((used_ + 1) * 2 > slots_.size())
            grow();
        Slot &slot = find(slots_, c, number);
        if (slot.c != nullptr)
            return false;
        slot = Slot{c, number};
        used_++;
        return true;
    }

  private:
    // The date is the set's own, so a slot holds only what tells the
    // flights of one day apart: the tables are a fair part of the memory a
    // large club's day sheet is read with.
    struct Slot {
        const customer *c = nullptr; // null marks a free slot
        int number = 0;
    };

    static uint64_t mix(uint64_t x) {
        x ^= x >> 30;
        x *= 0xbf58476d1ce4e5b9ULL;
        x ^= x >> 27;
        x *= 0x94d049bb133111ebULL;
        return x ^ (x >> 31);
    }

    static Slot &find(std::vector<Slot> &slots, const customer *c, int number) {
        uint64_t key = mix((uint64_t)(uintptr_t)c) ^ mix((uint64_t)(uint32_t)number << 40);
        size_t mask = slots.size() - 1;
        for (size_t i = (size_t)key & mask;; i = (i + 1) & mask) {
            Slot &slot = slots[i];
            if (slot.c == nullptr || (slot.c == c && slot.number == number))
                return slot;
        }
    }

    void grow() {
        std::vector<Slot> bigger(slots_.size() * 2);
        for (const Slot &slot : slots_)
            if (slot.c != nullptr)
                find(bigger, slot.c, slot.number) = slot;
        slots_.swap(bigger);
    }

    std::vector<Slot> slots_;
    size_t used_ = 0;
};

// Day sheets are entered day by day, so one table per date keeps the table
// being filled small enough to stay in the processor's cache.
class FlightKeyIndex {
  public:
    // True when no flight of that customer, date and number was seen yet.
    bool insert(const customer *c, date_t date, int number) {
        if (current_ == nullptr || date != current_date_) {
            current_ = &by_date_[date];
            current_date_ = date;
        }
        return current_->insert(c, number);
    }

  private:
    std::unordered_map<date_t, FlightKeySet> by_date_;
    FlightKeySet *current_ = nullptr;
    date_t current_date_ = 0;
};

// Whole gallons, then optionally "." and one digit of tenths: the number
// of values found, as "%d.%1d" would count them.
int scan_gallons(const char *field, int &whole, int &tenth) {
    long w = 0;
    const char *rest = nullptr;
    if (!scan_long(field, w, &rest))
        return 0;
    whole = (int)w;
    if (*rest != '.')
        return 1;
    rest++;
    while (isspace((unsigned char)*rest))
        rest++;
    if (!isdigit((unsigned char)*rest))
        return 1;
    tenth = *rest - '0';
    return 2;
}

bool is_directive(const char *line) {
    while (!dbfile::is_decimal(*line) && isspace((unsigned char)*line))
        line++;
    return *line == '$';
}

float read_float(const char *field, bool &ok) {
    // Tow heights are written as up to six digits and one decimal. Taken as
    // tenths and divided once, such a field rounds to the very float strtof
    // gives (both are the float nearest the same decimal, and the tenths
    // are exact), at a small part of its cost; anything else goes to strtof.
    int32_t tenths = 0;
    const char *p = field;
    for (; dbfile::is_decimal(*p) && p - field < 6; p++)
        tenths = tenths * 10 + (*p - '0');
    if (p != field && *p == '\0') {
        ok = true;
        return static_cast<float>(tenths);
    }
    if (p != field && p[0] == '.' && dbfile::is_decimal(p[1]) && p[2] == '\0') {
        ok = true;
        return static_cast<float>(tenths * 10 + (p[1] - '0')) / 10.0f;
    }
    char *stop = nullptr;
    float value = strtof(field, &stop);
    ok = stop != field && std::isfinite(value);
    return ok ? value : 0;
}

bool read_clock(const char *field, int32_t &minutes) {
    long hours = 0;
    long mins = 0;
    const char *colon = nullptr;
    if (!scan_long(field, hours, &colon) || *colon != ':' || !scan_long(colon + 1, mins))
        return false;
    int64_t total = (int64_t)hours * 60 + mins;
    if (total < INT32_MIN || total > INT32_MAX)
        return false;
    minutes = (int32_t)total;
    return true;
}

// A record's texts go where the record goes: they are dropped with it.
char *keep_text(const char *text) {
    return alloc_str_batch(text, strlen(text));
}

void close_history(FILE *file, const char *name) {
    bool read_error = ferror(file) != 0;
    if (fclose(file) != 0) {
        printf("? Unable to close daysheet data file \"%s\".\n", name);
        read_error = true;
    }
    note_file_read(name, read_error, bad.count);
}

} // namespace

void readFlights(const char *file) {
    FILE *in = fopen(file, "r");
    if (in == nullptr) {
        note_file_read(file, errno != ENOENT, 0);
        printf("? Unable to read daysheet file \"%s\"\n", file);
        return;
    }
    printf("Reading day sheet file: \"%s\"\n", file);
    start_counting();

    // Seed the duplicate test with what is already loaded (the companion
    // file, when it was read first).
    FlightKeyIndex seen;
    for (customer *c : db.cust_list)
        for (flight *f : c->flights)
            seen.insert(c, f->date, f->number);

    DateCache dates;
    std::vector<flight *> read; // linked onto the customers at the end
    int version = 1;
    int line_number = 0;
    LinesAhead lines(in, /*account_field=*/3);
    while (char *line = lines.next(line_number)) {
        size_t length = strlen(line);
        if (length > 0)
            line[length - 1] = '\0';
        if (strchr(line, '!') != nullptr || is_blank(line))
            continue;
        int v = 0;
        if (is_directive(line) && dbfile::scan_version(line, v)) {
            version = v;
            if (v > 2) {
                printf("? Expected version number %d found %d.\n", 2, v);
                version = 2;
            }
            continue;
        }

        Fields field(line);
        flight *f = (flight *)errmalloc_batch(sizeof(flight));
        f->next = nullptr;
        f->exported = db.reading_exported;
        f->date = read_date(dates, field[1], line_number);
        bool ok = false;
        f->number = read_int(field[2], ok);
        if (!ok)
            bad_value("? Looking for flight number on line %d. Got \"%s\"\n", line_number,
                      field[2]);

        char *account = uc_string(field[3]);
        customer *c = account_or_cash(account, line_number);
        f->customer = c;
        f->invoice = receipt_number(account, line_number);
        read.push_back(f);

        f->plane = keep_text(field[4]);
        f->pilot = keep_text(field[5]);
        int type = translate_flight_type(field[6]);
        if (type == 5) {
            if (field[6][0] == '\0')
                bad_value("? Missing type of flight on line %d\n", line_number);
            else
                bad_value("? Unrecognized type of flight \"%s\" on line %d\n", field[6],
                          line_number);
            type = 0;
        }
        f->type = (char)type;
        f->cfi = keep_text(field[7]);
        f->passenger = keep_text(field[8]);
        f->towpilot = keep_text(field[9]);

        int next = 10;
        f->towplane = nullptr;
        if (version >= 2)
            f->towplane = fc_tug(field[next++], true);

        // Read in single precision on purpose: 0.95 lands on 9, not 10.
        const char *height_text = field[next++];
        float height = read_float(height_text, ok);
        double tenths = ((double)height + .05) * 10;
        if (ok && tenths > -1e9 && tenths < 1e9) {
            f->towheight = (int)tenths;
        } else {
            bad_value("? Bad tow height \"%s\" on line %d.\n", height_text, line_number);
            f->towheight = 25;
        }

        const char *start_text = field[next++];
        const char *end_text = field[next++];
        bool start_ok = read_clock(start_text, f->start);
        if (!start_ok)
            bad_value("? Bad start time \"%s\" on line %d.", start_text, line_number);
        bool end_ok = read_clock(end_text, f->end);
        if (!end_ok)
            bad_value("? Bad end time \"%s\" on line %d.", end_text, line_number);
        if (!start_ok || !end_ok) {
            f->start = 0;
            f->end = 0;
        }

        if (!seen.insert(c, f->date, f->number))
            printf("? Error %s %d: Suspicious duplicate flight on %s number %d for %s, %s\n", file,
                   line_number, i_convertTimeToString(f->date), f->number, c->lastname,
                   c->firstname);
    }
    add_flights(read);
    close_history(in, file);
}

namespace {

enum class GasSection { NONE, MISC, GAS };

// Sheet, line and account are common to both sections; the account is
// rotated to "first last" order before the lookup.
struct GasLineStart {
    date_t date;
    int sheet;
    int line;
    customer *c;
    int32_t invoice;
};

GasLineStart read_gas_line_start(Fields &field, DateCache &dates, int line_number) {
    GasLineStart s;
    s.date = read_date(dates, field[1], line_number);
    bool ok = false;
    s.sheet = read_int(field[2], ok);
    if (!ok)
        bad_value("? Looking for sheet number on line %d. Got \"%s\"\n", line_number, field[2]);
    s.line = read_int(field[3], ok);
    if (!ok)
        bad_value("? Looking for line number on line %d. Got \"%s\"\n", line_number, field[3]);
    char *account = field[4];
    normalize_name(account);
    s.c = account_or_cash(account, line_number);
    s.invoice = receipt_number(account, line_number);
    return s;
}

int32_t read_charge(const char *field, int line_number, const char *file) {
    long charge = 0;
    if (!scan_long(field, charge)) {
        bad_value("? Unable to find charge on line %d in \"%s\"\n", line_number, file);
        return 0;
    }
    return (int32_t)charge;
}

} // namespace

void readGas(const char *file) {
    FILE *in = fopen(file, "r");
    if (in == nullptr) {
        note_file_read(file, errno != ENOENT, 0);
        printf("? Unable to read gas history file \"%s\"\n", file);
        return;
    }
    printf("Reading gas history file: \"%s\"\n", file);
    start_counting();

    DateCache dates;
    std::vector<misc *> miscs_read; // linked onto the customers at the end
    std::vector<gas *> sales_read;
    GasSection section = GasSection::NONE;
    int version = 1;
    int line_number = 0;
    LinesAhead lines(in, /*account_field=*/4);
    while (char *line = lines.next(line_number)) {
        size_t length = strlen(line);
        if (length > 0 && line[length - 1] == '\n')
            line[length - 1] = '\0';
        // Only truly empty lines are skipped here; a line of blanks inside a
        // section is read (and reported) like any other record.
        if (line[0] == '!' || line[0] == '\0')
            continue;
        int v = 0;
        if (is_directive(line) && dbfile::scan_version(line, v)) {
            version = v;
            if (v > 2) {
                printf("? Expected version number %d found %d.\n", 2, v);
                version = 2;
            }
            continue;
        }
        if (strcmp(line, "$GAS") == 0) {
            section = GasSection::GAS;
            continue;
        }
        if (strcmp(line, "$MISC") == 0) {
            section = GasSection::MISC;
            continue;
        }
        if (line[0] == '$') {
            section = GasSection::NONE;
            continue;
        }
        if (section == GasSection::NONE)
            continue;

        Fields field(line);
        GasLineStart s = read_gas_line_start(field, dates, line_number);
        if (section == GasSection::MISC) {
            misc *m = (misc *)errmalloc_batch(sizeof(misc));
            m->date = s.date;
            m->sheet = s.sheet;
            m->line = s.line;
            m->customer = s.c;
            m->invoice = s.invoice;
            m->next = nullptr;
            m->why = nullptr;
            m->exported = db.reading_exported;
            miscs_read.push_back(m);
            int next = 5;
            m->taxable = 0;
            if (version >= 2) {
                const char *flag = field[next++];
                if (strcmp(flag, "Y") == 0)
                    m->taxable = 1;
                else if (strcmp(flag, "N") != 0)
                    bad_value("? Bad format tax flag on line %d\n", line_number);
            }
            m->charge = read_charge(field[next++], line_number, file);
            m->why = keep_text(field[next]);
        } else {
            gas *g = (gas *)errmalloc_batch(sizeof(gas));
            g->exported = db.reading_exported;
            g->date = s.date;
            g->sheet = s.sheet;
            g->line = s.line;
            g->customer = s.c;
            g->invoice = s.invoice;
            g->plane = nullptr;
            g->pilot = nullptr;
            g->next = nullptr;
            sales_read.push_back(g);
            g->charge = read_charge(field[5], line_number, file);
            namelist *grade = fc_gas_grade(field[6], false);
            g->grade = grade != nullptr ? grade->name : "GAS100";
            int whole = 0;
            int tenth = 0;
            int got = scan_gallons(field[7], whole, tenth);
            int64_t tenths = (int64_t)whole * 10 + (got == 2 ? tenth : 0);
            if (got != 0 && tenths >= INT32_MIN && tenths <= INT32_MAX) {
                g->gallons = (int)tenths;
            } else {
                bad_value("? Unable to find gallons on line %d in \"%s\"\n", line_number, file);
                g->gallons = 0;
            }
            g->plane = keep_text(field[8]);
            g->pilot = keep_text(field[9]);
        }
    }
    add_miscs(miscs_read);
    add_gas_sales(sales_read);
    close_history(in, file);
}

void do_r_flights(bool quicken) {
    if (db.flights_read && db.flights_quicken == (char)quicken)
        return;
    finish_pending_rewrite();
    db.flights_quicken = (char)quicken;
    free_flights();
    if (quicken) {
        db.reading_exported = 1;
        readFlights(db.daysheetqufile);
        db.reading_exported = 0;
    }
    readFlights(db.daysheetfile);
    db.flights_read = 1;
}

void do_r_gas(bool quicken) {
    if (db.gas_read && db.gas_quicken == (char)quicken)
        return;
    finish_pending_rewrite();
    db.gas_quicken = (char)quicken;
    free_gas();
    if (quicken) {
        db.reading_exported = 1;
        readGas(db.gashistqufile);
        db.reading_exported = 0;
    }
    readGas(db.gashistfile);
    db.gas_read = 1;
}

void maybe_read() {
    finish_pending_rewrite();
    if (db.price_list.empty())
        do_r_price();
    if (db.abbrevs.empty())
        do_r_abbrev();
    if (db.cust_list.empty())
        do_r_cust();
}

void do_save() {
    do_w_abbrev();
    do_w_custs();
    do_w_prices();
    do_w_balances();
}
