// ENTER: the menu of dialogues, entry's module state, and what the
// dialogues share.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "conio/iosubs.h"
#include "db/db.h"
#include "entry/dialogue.h"
#include "entry/entry.h"

EntryState entry;

void entry_reset() {
    entry = EntryState{};
}

void do_enter() {
    static const char *const choices[] = {
        "ACCOUNT-BALANCE", "AIRPLANE-FLIGHTS", "GAS-SALES", "GLIDER-FLIGHTS",
        "MISC-CHARGES",    "MISC-CREDITS",     "PAYMENTS",  nullptr};
    switch (get_list("Choose what to enter", "GAS-SALES", choices, true)) {
    case 0:
        do_balance();
        break;
    case 1:
        do_flights(false);
        break;
    case 2:
        do_gas();
        break;
    case 3:
        do_flights(true);
        break;
    case 4:
        do_misc(true);
        break;
    case 5:
        do_misc(false);
        break;
    case 6:
        do_payments();
        break;
    default:
        break;
    }
}

// ---- The temporary file ----------------------------------------------------------

bool open_temporary(const char *name, const char *kind) {
    FILE *file = open_o_file(name, kind);
    if (file == nullptr) {
        set_o_file(stdout);
        return false;
    }
    set_tabs_allowed(false);
    entry.temp_file = file;
    entry.temp_name = name;
    entry.temp_kind = kind;
    return true;
}

void temporary_heading(const char *lines) {
    for (const char *end; (end = strchr(lines, '\n')) != nullptr; lines = end + 1) {
        o_lstring(std::string(lines, end).c_str(), 0, false);
        o_newline(0);
    }
}

void end_record() {
    o_newline(0);
}

bool close_temporary() {
    FILE *file = entry.temp_file;
    if (file == nullptr)
        return false;
    entry.temp_file = nullptr;
    if (close_o_file(file, entry.temp_name, entry.temp_kind) != 0) {
        set_o_file(stdout);
        return false;
    }
    return true;
}

void entry_close_temporary() {
    close_temporary();
}

void remember(const char *question, HistoryKind kind, const char *temporary) {
    // A failed append has reported itself and left the history as it was,
    // so what was computed from it still holds.
    if (get_yesno(question, "YES"))
        remember_now(kind, temporary);
}

bool remember_now(HistoryKind kind, const char *temporary) {
    if (club_read_only()) {
        printf("? The club is open read-only: nothing was remembered.\n");
        return false;
    }
    if (!append_to_history(kind, temporary))
        return false;
    db.month_ended = 0;
    db.bills_computed = 0;
    db.times_computed = 0;
    return true;
}

// ---- Questions -------------------------------------------------------------------

void take_answer(char **field, char *answer) {
    errfree(*field);
    *field = answer;
}

namespace {

// The record's file line as `print` makes it, measured in memory: the
// formatter's pending line is empty between records, so nothing else
// enters the measure.
long record_line_length(const RecordPrinter &print) {
    char *text = nullptr;
    size_t size = 0;
    FILE *memory = open_memstream(&text, &size);
    if (memory == nullptr)
        return 0;
    FILE *previous = set_o_file(memory);
    print();
    o_newline(0);
    set_o_file(previous);
    fclose(memory);
    long length = (long)strcspn(text, "\r\n");
    free(text);
    return length;
}

} // namespace

void ask_text(char **field, const std::function<char *()> &ask, const RecordPrinter &print,
              std::initializer_list<char **> later) {
    // The room is what the line leaves with this field and the later
    // ones empty.
    char empty[1] = "";
    std::vector<char **> blanked{field};
    blanked.insert(blanked.end(), later);
    std::vector<char *> kept;
    for (char **slot : blanked)
        kept.push_back(std::exchange(*slot, empty));
    long room = kRecordLineMax - record_line_length(print);
    for (size_t i = 0; i < blanked.size(); i++)
        *blanked[i] = kept[i];
    for (;;) {
        char *answer = ask();
        if ((long)strlen(answer) <= room) {
            take_answer(field, answer);
            return;
        }
        printf("? Too long for the history file: %ld characters are left for this line.\n",
               room > 0 ? room : 0);
        errfree(answer);
    }
}

bool record_fits(const RecordPrinter &print) {
    long length = record_line_length(print);
    if (length <= kRecordLineMax)
        return true;
    printf("? This line would be %ld characters long, more than the %d the history file "
           "holds; it is not kept.\n",
           length, (int)kRecordLineMax);
    return false;
}

customer *ask_customer(const char *prompt, char **text, bool allow_add, const char *refusal) {
    for (;;) {
        customer *c = nullptr;
        take_answer(text, get_account(prompt, *text, allow_add, &c, nullptr));
        if (c != nullptr)
            return c;
        printf("%s", refusal);
    }
}

date_t ask_date(const char *prompt, char **text) {
    take_answer(text, get_date(prompt, *text));
    return i_convertDateToTime(*text);
}

namespace {

bool fits_record(long value) {
    if (value >= INT32_MIN && value <= INT32_MAX)
        return true;
    printf("? Number too large to be stored.\n");
    return false;
}

} // namespace

int32_t ask_number(const char *prompt, long def) {
    for (;;) {
        long value = get_number(prompt, def);
        if (fits_record(value))
            return (int32_t)value;
    }
}

int32_t ask_fixed(const char *prompt, int places, const char *def, bool allowNegative) {
    for (;;) {
        long value = get_fixed_number(prompt, places, def, allowNegative);
        if (fits_record(value))
            return (int32_t)value;
    }
}

int32_t next_number(int32_t n) {
    return (int32_t)((int64_t)n + 1);
}

int ask_sheet() {
    for (;;) {
        int32_t sheet = ask_number("Sheet number", 0);
        if (sheet != 0)
            return sheet;
        printf("? Sheet number must be given.\n");
    }
}

int ask_sheet_line(int next, int sheet, char **date_text, date_t *date) {
    int line = ask_number("Next line number (0 if done)", next);
    if (line == 0)
        return 0;
    *date = ask_date("Purchase date (mm-dd) or (dd)", date_text);
    printf("Date: %s Sheet: %d Line: %d\n", *date_text, sheet, line);
    return line;
}

long ask_amount(const char *prompt, const char *def, long limit, const char *confirm,
                const char *refuse_negative) {
    for (;;) {
        long cents = ask_fixed(prompt, 2, def, refuse_negative != nullptr);
        if (cents < 0 && refuse_negative != nullptr) {
            printf("%s", refuse_negative);
            continue;
        }
        if (labs(cents) >= limit && !get_yesno(confirm, "NO"))
            continue;
        return cents;
    }
}

bool line_is_right(bool default_yes) {
    if (get_yesno("Is this line right?", default_yes ? "YES" : "NO"))
        return true;
    printf("Ignoring line.\n");
    return false;
}

const char *cents_text(long cents) {
    static char text[48];
    snprintf(text, sizeof text, "%ld.%02ld", cents / 100, cents % 100);
    return text;
}
