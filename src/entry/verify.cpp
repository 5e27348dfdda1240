// VERIFY: the period's three history files read once, line by line, so
// that each finding can name its line; nothing is loaded into the lists.
// "VERIFY NAME" writes the findings into the file NAME.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "conio/iosubs.h"
#include "db/file_lines.h"
#include "entry/entry.h"
#include "entry/verify.h"

namespace {

enum { LINE_MAX_TEXT = 4096 };

using dbfile::Fields;

int32_t number(const char *text) {
    int32_t value = 0;
    dbfile::scan_int32(text, value);
    return value;
}

int32_t clock_minutes(const char *text) {
    const char *colon = strchr(text, ':');
    return colon == nullptr ? 0 : number(text) * 60 + number(colon + 1);
}

// Calls `record` with each line that holds a record, its number and the
// version and section ("$GAS", "$MISC", ...) it stands in.
template <typename Record> void each_record(const char *name, Record record) {
    FILE *in = fopen(name, "r");
    if (in == nullptr)
        return;
    char line[LINE_MAX_TEXT];
    char section[16] = "";
    int version = 1;
    int line_number = 0;
    while (fgets(line, sizeof line, in) != nullptr) {
        if (line[0] == 26) // Ctrl-Z: not a line, as the readers count
            continue;
        line_number++;
        line[strcspn(line, "\r\n")] = '\0';
        if (strchr(line, '!') != nullptr || is_blank(line))
            continue;
        if (line[strspn(line, " \t")] == '$') {
            int v = 0;
            if (dbfile::scan_version(line, v))
                version = v;
            else
                snprintf(section, sizeof section, "%s", line + strspn(line, " \t"));
            continue;
        }
        Fields field(line);
        record(field, line_number, version, section);
    }
    fclose(in);
}

void verify_flights(Verifier &check) {
    dbfile::DateCache dates;
    each_record(db.daysheetfile, [&](Fields &field, int line, int version, const char *) {
        FlightFacts f;
        bool ok = false;
        f.date = dates.convert(field[1], ok);
        f.number = number(field[2]);
        f.account = uc_string(field[3]);
        f.c = lookup_account(f.account, false);
        f.plane = field[4];
        int type = translate_flight_type(field[6]);
        f.type = type == 5 ? 0 : type;
        int next = 10;
        if (version >= 2)
            f.towplane = uc_string(field[next++]);
        float height = strtof(field[next++], nullptr);
        f.towheight = std::isfinite(height) ? (int)(((double)height + .05) * 10) : 0;
        f.start = clock_minutes(field[next++]);
        f.end = clock_minutes(field[next]);
        check.flight(db.daysheetfile, line, f);
    });
    check.day_sheets(db.daysheetfile);
}

void verify_gas(Verifier &check) {
    each_record(db.gashistfile, [&](Fields &field, int line, int, const char *section) {
        char *account = field[4];
        normalize_name(account);
        customer *c = lookup_account(account, false);
        if (strcmp(section, "$GAS") == 0)
            check.gas_sale(db.gashistfile, line, account, c, field[6]);
        else if (strcmp(section, "$MISC") == 0)
            check.misc_line(db.gashistfile, line, account, c);
    });
}

void verify_payments(Verifier &check) {
    each_record(db.payhistfile, [&](Fields &field, int line, int version, const char *) {
        char *account = uc_string(field[4]);
        customer *c =
            version >= 3 ? lookup_account(account, false) : find_cust(account, uc_string(field[5]));
        check.payment(db.payhistfile, line, account, c, number(field[2]), number(field[3]));
    });
}

void verify_period(FILE *out) {
    Verifier check(out);
    verify_flights(check);
    verify_gas(check);
    verify_payments(check);
    check.email_addresses();
    if (check.count() == 0)
        fprintf(out, "Nothing found to check before billing.\n");
    else
        fprintf(out, "%ld finding%s.\n", check.count(), check.count() == 1 ? "" : "s");
}

} // namespace

void do_verify() {
    maybe_read();
    if (!i_restOfLinePending()) {
        verify_period(stdout);
        return;
    }
    char *name = get_filename("Output file", "");
    FILE *file = open_o_file(name, "output");
    if (file != nullptr) {
        verify_period(file);
        close_o_file(file, name, "output");
    }
    errfree(name);
}
