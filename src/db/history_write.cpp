// The history files' own form, written straight from the records: the
// family's heading, then one tab-separated line per record. The export and
// DBOUT write every record of the period through here, so a line is built
// in a buffer without the column formatter, with the same bytes the
// formatter's tabbed form gives.
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>
#include <sys/stat.h>

#include "conio/iosubs.h"
#include "db/db.h"
#include "db/record_warmer.h"

namespace {

using Keep = std::function<bool(const customer *, bool exported)>;

void text(std::string &line, const char *s) {
    if (s != nullptr)
        line += s;
}

void number(std::string &line, long n) {
    char buf[24];
    line.append(buf, std::to_chars(buf, buf + sizeof buf, n).ptr);
}

void tab(std::string &line) {
    line += '\t';
}

// Receipt numbers stand in for the name of a walk-in customer.
void account(std::string &line, int32_t invoice, const customer *c) {
    if (invoice != 0) {
        line += '#';
        number(line, invoice);
    } else if (c != nullptr) {
        text(line, c->lastname);
        line += ',';
        text(line, c->firstname);
    }
}

void tenths(std::string &line, long value) {
    long magnitude = value < 0 ? -value : value;
    if (value < 0)
        line += '-';
    number(line, magnitude / 10);
    line += '.';
    number(line, magnitude % 10);
}

// "%ld:%02ld" of the hours and minutes, a negative remainder unpadded.
void clock(std::string &line, long minutes) {
    number(line, minutes / 60);
    line += ':';
    long rest = minutes % 60;
    if (rest >= 0 && rest < 10)
        line += '0';
    number(line, rest);
}

// Texts, each followed by its tab.
void texts(std::string &line, std::initializer_list<const char *> fields) {
    for (const char *field : fields) {
        text(line, field);
        tab(line);
    }
}

void line_of(std::string &line, const flight *f) {
    line += record_date_text(f->date);
    tab(line);
    number(line, f->number);
    tab(line);
    account(line, f->invoice, f->customer);
    tab(line);
    texts(line, {f->plane, f->pilot});
    int type = f->type;
    char id = type >= 0 && type <= 5 ? flight_type_id[type] : 'U';
    if (id != '\0')
        line += id;
    tab(line);
    texts(line, {f->cfi, f->passenger, f->towpilot, f->towplane ? f->towplane->tugname : ""});
    tenths(line, f->towheight);
    tab(line);
    clock(line, f->start);
    tab(line);
    clock(line, f->end);
    tab(line);
}

// The date, sheet, line and account a fuel sale and a misc line begin with.
template <class T> void sheet_start(std::string &line, const T *r) {
    line += record_date_text(r->date);
    tab(line);
    number(line, r->sheet);
    tab(line);
    number(line, r->line);
    tab(line);
    account(line, r->invoice, r->customer);
    tab(line);
}

void line_of(std::string &line, const gas *g) {
    sheet_start(line, g);
    number(line, g->charge);
    tab(line);
    text(line, g->grade);
    tab(line);
    tenths(line, g->gallons);
    tab(line);
    texts(line, {g->plane});
    text(line, g->pilot);
}

void line_of(std::string &line, const misc *m) {
    sheet_start(line, m);
    line += m->taxable ? 'Y' : 'N';
    tab(line);
    number(line, m->charge);
    tab(line);
    text(line, m->why);
}

void line_of(std::string &line, const payment *p) {
    line += record_date_text(p->date);
    tab(line);
    number(line, p->amount);
    tab(line);
    number(line, p->check);
    tab(line);
    account(line, 0, p->customer);
    tab(line);
    text(line, p->note);
}

const char kVersion2[] = "$VERSION 2\n";
const char kMiscSection[] =
    "$MISC\n!Date\t\tSheet\tLine\tAccount\t\tTax\tCents\tCharge (credit) is for\n";
const char kGasSection[] =
    "$GAS\n!Date\t\tSheet\tLine\tAccount\t\tCents\tGrade\tGallons\tPlane\tPilot\n";
const char kPaymentsHeading[] = "$VERSION 3\n$PAYMENTS\n!Date\tCents\tCheck\tAccount\t\tNote\n";
const char kFlightsHeading[] =
    "$VERSION 2\n!Date\t\tNumber\tAccount\t\t\tPlane\tPilot\tType\tCFI\tPass\n";
// A day sheet being entered has always had its own column line.
const char kSheetHeading[] =
    "$VERSION 2\n!Date\tNumber\tAccount\t\tPlane\tPilot\tType\tCFI\tPass\n";
const std::string kFuelSheetHeading = std::string(kVersion2) + kGasSection;
const std::string kMiscSheetHeading = std::string(kVersion2) + kMiscSection;

// Lines gather in a buffer written a block at a time; a heading goes out
// only once a record follows it, unless the file must have one anyway.
class Writer {
  public:
    Writer(FILE *out, const Keep &keep) : out_(out), keep_(keep) {}
    ~Writer() { flush(); }

    void heading(const char *lines) { buf_ += lines; }

    // Every customer's records of one list that `keep` takes, in customer
    // order; `lead` goes before the first of them.
    template <class T> void records(RecordList<T> customer::*list, const char *lead = "") {
        RecordWarmer warmer(RecordWarmer::list_of<T>());
        for (const customer *c : db.cust_list) {
            warmer.reach(c);
            if ((c->*list).empty())
                continue;
            bool keep_live = keep_(c, false), keep_exported = keep_(c, true);
            if (!keep_live && !keep_exported)
                continue;
            for (const T *rec : c->*list) {
                if (!(rec->exported ? keep_exported : keep_live))
                    continue;
                if (count_++ == 0)
                    buf_ += lead;
                line_of(buf_, rec);
                buf_ += '\n';
                if (buf_.size() >= kBlock)
                    flush();
            }
        }
    }

    long count() const { return count_; }
    bool ok() const { return ok_; }
    void flush() {
        if (!buf_.empty() && fwrite(buf_.data(), 1, buf_.size(), out_) != buf_.size())
            ok_ = false;
        buf_.clear();
    }

  private:
    static constexpr size_t kBlock = 1 << 16;
    FILE *out_;
    const Keep &keep_;
    std::string buf_;
    long count_ = 0;
    bool ok_ = true;
};

// The family's records `keep` takes with their heading; with
// `always_heading`, the heading alone when no record is taken.
bool write_family(FILE *out, HistoryKind kind, const Keep &keep, bool always_heading) {
    Writer w(out, keep);
    std::string lead;
    switch (kind) {
    case HistoryKind::GAS: {
        // The misc section comes first; the fuel section follows it
        // whenever the file has any record.
        lead = kMiscSheetHeading;
        if (always_heading)
            w.heading(lead.c_str());
        w.records(&customer::misc, always_heading ? "" : lead.c_str());
        if (always_heading || w.count() > 0)
            w.heading(kGasSection);
        else
            lead += kGasSection;
        w.records(&customer::gas, always_heading || w.count() > 0 ? "" : lead.c_str());
        break;
    }
    case HistoryKind::PAYMENTS:
        if (always_heading)
            w.heading(kPaymentsHeading);
        w.records(&customer::payments, always_heading ? "" : kPaymentsHeading);
        break;
    case HistoryKind::FLIGHTS:
        if (always_heading)
            w.heading(kFlightsHeading);
        w.records(&customer::flights, always_heading ? "" : kFlightsHeading);
        break;
    }
    w.flush();
    return w.ok() && (always_heading || w.count() > 0);
}

template <class T> bool any_record(RecordList<T> customer::*list, const Keep &keep) {
    for (const customer *c : db.cust_list) {
        if ((c->*list).empty())
            continue;
        bool keep_live = keep(c, false), keep_exported = keep(c, true);
        for (const T *rec : c->*list)
            if (rec->exported ? keep_exported : keep_live)
                return true;
    }
    return false;
}

} // namespace

const char *history_heading(HistoryHeading h) {
    switch (h) {
    case HistoryHeading::DAY_SHEET:
        return kSheetHeading;
    case HistoryHeading::FUEL_SHEET:
        return kFuelSheetHeading.c_str();
    case HistoryHeading::MISC_SHEET:
        return kMiscSheetHeading.c_str();
    case HistoryHeading::PAYMENTS:
        return kPaymentsHeading;
    }
    return "";
}

const char *record_date_text(date_t date) {
    // A period's records share a few dozen dates, met in any order when
    // written customer by customer: each is worked out once. 61 is prime
    // and does not divide a day's seconds, so 61 days in a row never share
    // an entry.
    struct Known {
        date_t date = 0;
        bool set = false;
        char text[48] = "";
    };
    static Known known[61];
    Known &k = known[static_cast<uint64_t>(date) % 61];
    if (!k.set || k.date != date) {
        int month = 0, day = 0, year = 0;
        parse_date(i_convertTimeToString(date), &month, &day, &year);
        snprintf(k.text, sizeof k.text, "%d-%d-%d", month, day, year);
        k.date = date;
        k.set = true;
    }
    return k.text;
}

bool history_has(HistoryKind kind, const Keep &keep) {
    switch (kind) {
    case HistoryKind::GAS:
        return any_record(&customer::gas, keep) || any_record(&customer::misc, keep);
    case HistoryKind::PAYMENTS:
        return any_record(&customer::payments, keep);
    case HistoryKind::FLIGHTS:
        return any_record(&customer::flights, keep);
    }
    return false;
}

bool write_history(FILE *out, HistoryKind kind, const Keep &keep) {
    write_family(out, kind, keep, true);
    return ferror(out) == 0;
}

bool stage_history(FileTransaction &t, const char *name, HistoryKind kind, const Keep &keep,
                   const char *before) {
    SafeFile sf;
    if (safe_open(sf, name) == nullptr)
        return false;
    bool ok = before == nullptr || copyfile(before, sf.fp);
    bool wrote = ok && write_family(sf.fp, kind, keep, false);
    if (ok && !wrote && before == nullptr)
        fputs("!Start of billing cycle\n", sf.fp);
    if (!ok || ferror(sf.fp)) {
        safe_abort(sf);
        return false;
    }
    return t.place(sf);
}

const char *history_file(HistoryKind kind) {
    return kind == HistoryKind::GAS        ? db.gashistfile
           : kind == HistoryKind::PAYMENTS ? db.payhistfile
                                           : db.daysheetfile;
}

const char *qu_file(HistoryKind kind) {
    return kind == HistoryKind::GAS        ? db.gashistqufile
           : kind == HistoryKind::PAYMENTS ? db.payhistqufile
                                           : db.daysheetqufile;
}

bool append_to_history(HistoryKind kind, const char *sheet) {
    if (!append(history_file(kind), sheet))
        return false;
    // The list read before no longer matches its file: the next use
    // reads it again.
    switch (kind) {
    case HistoryKind::GAS:
        free_gas();
        break;
    case HistoryKind::PAYMENTS:
        free_all_payments();
        break;
    case HistoryKind::FLIGHTS:
        free_flights();
        break;
    }
    return true;
}

bool stage_move_to_qu(FileTransaction &t, HistoryKind kind, const Keep &moving) {
    const char *history = history_file(kind);
    const char *qu = qu_file(kind);
    struct stat st;
    if (stat(history, &st) != 0 || !history_has(kind, moving))
        return true; // nothing of it moves
    bool had_qu = stat(qu, &st) == 0;
    return stage_history(t, qu, kind, moving, had_qu ? qu : nullptr) &&
           stage_history(t, history, kind, [&moving](const customer *c, bool exported) {
               return !exported && !moving(c, false);
           });
}
