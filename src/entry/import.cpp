// IMPORT: a day's flights from a launch log's CSV file. Each row is put
// through the checks ENTER makes of a typed flight, an empty field taking
// ENTER's default; the rows taken are written into the day sheet temporary
// file as ENTER writes them and appended to the history on "Remember".
#include <cstdio>
#include <cstring>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "conio/iosubs.h"
#include "db/db.h"
#include "entry/aircraft.h"
#include "entry/csv_rows.h"
#include "entry/dialogue.h"
#include "entry/entry.h"
#include "entry/flight_index.h"
#include "entry/flight_rules.h"
#include "entry/import_columns.h"
#include "entry/verify.h"

namespace {

// A CSV file of a season's flights fits many times over.
constexpr long kFileMax = 64L << 20;

struct Taken {
    int line;
    flight f;
    std::string account;
};

// What one row is read into, and ENTER's defaults carried from row to row.
class RowReader {
  public:
    RowReader() { date_ = i_convertTimeToString(db.curDate); }
    ~RowReader() {
        for (Taken &t : taken)
            free_flight_contents(&t.f);
    }

    // "" when the row made a flight (then in `f`), else why not.
    std::string read(const std::vector<std::string> &row, const ColumnMap &map, flight &f,
                     std::string &account);
    std::vector<Taken> taken;

  private:
    std::string date_;
    int next_ = entry.flight_number;
    int type_ = 0;
    int32_t start_ = 540;
};

std::string upper(std::string text) {
    uc_string(text.data());
    size_t first = text.find_first_not_of(" \t");
    size_t last = text.find_last_not_of(" \t");
    return first == std::string::npos ? "" : text.substr(first, last - first + 1);
}

bool has_blank(const std::string &text) {
    return text.find_first_of(" \t") != std::string::npos;
}

// A date as ENTER takes it, the parts not given from `def`; also the
// year-first form spreadsheets write.
bool read_date(std::string text, const std::string &def, std::string &out) {
    int y = 0, m = 0, d = 0;
    if (sscanf(text.c_str(), "%4d-%2d-%2d", &y, &m, &d) == 3 && text.size() == 10)
        text = std::to_string(m) + "-" + std::to_string(d) + "-" + std::to_string(y);
    int month, day, year, def_month, def_day, def_year;
    if (!parse_date(text.c_str(), &month, &day, &year) ||
        !parse_date(def.c_str(), &def_month, &def_day, &def_year))
        return false;
    month = month == 0 ? def_month : month;
    day = day == 0 ? def_day : day;
    year = year < 1 ? def_year : year;
    if (month < 1 || day < 1 || year < 1 || !ok_date(month, day, &year) || year < kFirstYear ||
        year > kLastYear)
        return false;
    out = std::to_string(month) + "-" + std::to_string(day) + "-" + std::to_string(year);
    return true;
}

// A time as ENTER's question takes it: minutes alone keep the hour of
// `old`, one more when they are fewer than its minutes.
bool read_time(const std::string &text, int32_t old, int32_t &minutes) {
    int hour, minute;
    if (!parse_time(text.c_str(), &hour, &minute))
        return false;
    if (text.size() < 3)
        hour = (int)((old / 60) % 24) + (old % 60 > minute ? 1 : 0);
    minutes = hour * 60 + minute;
    return true;
}

// Tow height in thousands of feet with one decimal, as typed: "2", "2.5".
bool read_height(const std::string &text, long &tenths) {
    long whole = 0;
    int decimal = 0;
    char extra = 0;
    int got = sscanf(text.c_str(), "%ld.%1d%c", &whole, &decimal, &extra);
    if (got == 1 && text.find('.') == std::string::npos && whole >= 0 && whole < 100000) {
        tenths = whole * 10;
        return true;
    }
    if (got != 2 || whole < 0 || whole >= 100000 || decimal < 0)
        return false;
    tenths = whole * 10 + decimal;
    return true;
}

std::string RowReader::read(const std::vector<std::string> &row, const ColumnMap &map, flight &f,
                            std::string &account) {
    auto field = [&](ImportColumn c) { return upper(map.of(row, c)); };
    std::string text = field(COL_DATE);
    if (!read_date(text.empty() ? date_ : text, date_, date_))
        return "Improper format for a date: \"" + text + "\"";
    f.date = i_convertDateToTime(date_.c_str());

    text = field(COL_NUMBER);
    long number = next_;
    if (!text.empty() && (!is_number(text.c_str()) || sscanf(text.c_str(), "%ld", &number) != 1 ||
                          number <= 0 || number > INT32_MAX))
        return "flight number \"" + text + "\" is not a number from 1 up";
    f.number = (int)number;

    account = field(COL_ACCOUNT);
    f.customer = account.empty() ? nullptr : lookup_account(account.c_str(), true);
    if (f.customer == nullptr)
        return "Can not find account or abbreviation for \"" + account + "\".";
    set_invoice_number(&f.invoice, account.c_str());

    text = field(COL_AIRCRAFT);
    if (text.empty() || has_blank(text))
        return "aircraft \"" + text + "\" must be one word";
    const char *item = fast_key_item(text.c_str());
    replace_str(&f.plane, item != nullptr ? item : text.c_str());

    text = field(COL_TYPE);
    int type = text.empty() ? type_ : find_command(text.c_str(), flight_types);
    if (type < 0)
        return "unknown flight type \"" + text + "\"";
    f.type = (char)type;

    // The people as ENTER asks them for each type of flight.
    const char *lastname = f.customer->lastname;
    std::string pilot = field(COL_PILOT), passenger = field(COL_PASSENGER);
    if (type == 0) {
        replace_str(&f.pilot, pilot.empty() ? lastname : pilot.c_str());
        replace_str(&f.passenger, passenger.c_str());
        replace_str(&f.cfi, "");
    } else if (type == 1) {
        replace_str(&f.pilot, pilot.c_str());
        replace_str(&f.passenger, passenger.empty() ? lastname : passenger.c_str());
        replace_str(&f.cfi, "");
    } else {
        std::string student = !passenger.empty() ? passenger : pilot;
        replace_str(&f.pilot, student.empty() ? lastname : student.c_str());
        replace_str(&f.passenger, "");
        text = field(COL_INSTRUCTOR);
        if (has_blank(text))
            return "instructor \"" + text + "\" must be one word (initials)";
        replace_str(&f.cfi, text.c_str());
    }

    // Without anything of a tow it is an airplane flight.
    std::string towpilot = field(COL_TOWPILOT), tug = field(COL_TOWPLANE);
    std::string height = field(COL_TOWHEIGHT);
    f.towplane = nullptr;
    f.towheight = 0;
    if (has_blank(towpilot))
        return "tow pilot \"" + towpilot + "\" must be one word (initials)";
    replace_str(&f.towpilot, towpilot.c_str());
    if (!towpilot.empty() || !tug.empty() || !height.empty()) {
        const char *refusal = nullptr;
        f.towplane = towplane_answer(tug.c_str(), &refusal);
        if (refusal != nullptr)
            return refusal;
        long tenths = 0;
        if (!read_height(height.empty() ? default_tow_height(f.customer) : height, tenths))
            return "Bad format for a number: \"" + height + "\"";
        std::string why = tow_height_refusal(tenths);
        if (!why.empty())
            return why;
        f.towheight = (int)tenths;
    }

    text = field(COL_TAKEOFF);
    if (!read_time(text, start_, f.start))
        return "Improper format for a time: \"" + text + "\"";
    text = field(COL_LANDING);
    if (!read_time(text, f.start, f.end))
        return "Improper format for a time: \"" + text + "\"";
    std::string why = duration_refusal((long)f.end - f.start);
    if (!why.empty())
        return why;
    type_ = type;
    start_ = f.start;
    next_ = next_number(f.number);
    return "";
}

bool read_whole_file(const char *name, std::string &data) {
    FILE *file = fopen(name, "rb");
    if (file == nullptr) {
        printf("? Unable to read CSV file \"%s\"\n", name);
        return false;
    }
    char buffer[65536];
    size_t got;
    while ((got = fread(buffer, 1, sizeof buffer, file)) > 0 && (long)data.size() <= kFileMax)
        data.append(buffer, got);
    bool ok = !ferror(file) && (long)data.size() <= kFileMax;
    fclose(file);
    if (!ok)
        printf("? Unable to read CSV file \"%s\" (more than 64 MB?)\n", name);
    return ok;
}

} // namespace

void do_import() {
    maybe_read();
    char *name = get_commandWord("CSV file of flights (? for its columns)", "", false);
    if (strcmp(name, "?") == 0 || name[0] == '\0') {
        if (name[0] == '?')
            print_column_names();
        errfree(name);
        return;
    }
    std::string data;
    bool readable = read_whole_file(name, data);
    std::string shown = name;
    errfree(name);
    if (!readable)
        return;
    std::vector<CsvRow> rows = read_csv_rows(data.data(), data.size());
    ColumnMap map;
    if (rows.empty() || !rows[0].refusal.empty()) {
        printf("? The first line of \"%s\" must name the columns.\n", shown.c_str());
        return;
    }
    if (!map_columns(rows[0].fields, map))
        return;

    if (!start_day_sheet())
        return;

    RowReader reader;
    FlightIndex stored;
    std::set<std::tuple<const customer *, date_t, int>> imported;
    int refused = 0, duplicates = 0;
    for (size_t i = 1; i < rows.size(); i++) {
        const CsvRow &row = rows[i];
        Taken t{row.line, flight{}, ""};
        t.f.plane = alloc_str("");
        t.f.pilot = alloc_str("");
        t.f.cfi = alloc_str("");
        t.f.passenger = alloc_str("");
        t.f.towpilot = alloc_str("");
        std::string why =
            row.refusal.empty() ? reader.read(row.fields, map, t.f, t.account) : row.refusal;
        bool again = why.empty() && (stored.first(t.f.customer, t.f.date, t.f.number) != nullptr ||
                                     !imported.emplace(t.f.customer, t.f.date, t.f.number).second);
        if (!why.empty() || again) {
            if (again) {
                duplicates++;
                printf("? Line %d: flight %d of %s for %s %s may be a duplicate; not taken.\n",
                       row.line, t.f.number, i_convertTimeToString(t.f.date),
                       t.f.customer->firstname, t.f.customer->lastname);
            } else {
                refused++;
                printf("? Line %d: %s\n", row.line, why.c_str());
            }
            free_flight_contents(&t.f);
            continue;
        }
        o_flight_struct(&t.f, 0, false, true);
        end_record();
        reader.taken.push_back(t);
    }
    bool written = close_temporary();
    printf("%zu rows read, %zu taken, %d refused, %d duplicates.\n", rows.size() - 1,
           reader.taken.size(), refused, duplicates);

    Verifier check(stdout);
    for (const Taken &t : reader.taken) {
        FlightFacts facts{t.f.date,
                          t.f.number,
                          t.account.c_str(),
                          t.f.customer,
                          t.f.plane,
                          t.f.type,
                          t.f.towplane != nullptr ? t.f.towplane->tugname : "",
                          t.f.towheight,
                          t.f.start,
                          t.f.end};
        check.flight(shown.c_str(), t.line, facts);
    }
    check.day_sheets(shown.c_str());
    if (!reader.taken.empty())
        entry.flight_number = next_number(reader.taken.back().f.number);
    if (written && !reader.taken.empty())
        remember_day_sheet();
}
