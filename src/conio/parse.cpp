// Keyword tables and lookup, character classes, the field scanner of the
// file readers, and the parsers of dates, times, phone numbers and file
// names. Nothing here reads the console.
#include <cctype>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "conio/iosubs.h"
#include "conio/parse_internal.h"

const char *const yesno[] = {"NO", "YES", nullptr};
const char *const months[] = {"January",  "February", "March",  "April",     "May",
                              "June",     "July",     "August", "September", "October",
                              "November", "December", nullptr};
const char *const ucmonths[] = {"JANUARY",  "FEBRUARY", "MARCH",  "APRIL",     "MAY",
                                "JUNE",     "JULY",     "AUGUST", "SEPTEMBER", "OCTOBER",
                                "NOVEMBER", "DECEMBER", nullptr};

namespace {

constexpr size_t kFieldMax = 200;

struct ParseState {
    char field[kFieldMax + 1] = "";
    char date_string[40] = "";
    char qdate_string[40] = "";
};
ParseState ps;

bool is_blank_char(char c) {
    return c == ' ' || c == '\t' || c == '\n';
}

// Asked of every character of every field read from a history file: the
// separator sets are a character or two, so a plain loop beats a strchr call.
bool is_separator(const char *separators, char c) {
    if (c == '\0')
        return false;
    for (const char *s = separators; *s != '\0'; ++s)
        if (*s == c)
            return true;
    return false;
}

// Start of field count + 1, or null when the text ends inside one of the
// first count fields.
const char *skip_fields(const char *separators, const char *text, int count, bool skipRuns) {
    const char *p = text;
    for (int i = 0; i < count; i++) {
        while (*p != '\0' && !is_separator(separators, *p))
            p++;
        if (*p == '\0')
            return nullptr;
        p++;
        if (skipRuns) {
            while (is_separator(separators, *p))
                p++;
        }
    }
    return p;
}

// Splits text into blank-separated words; returns how many were found
// (at most max). Each word is cut at kFieldMax characters.
int split_words(const char *text, char words[][kFieldMax + 1], int max) {
    int n = 0;
    const char *p = text;
    while (n < max) {
        while (is_blank_char(*p))
            p++;
        if (*p == '\0')
            break;
        size_t len = 0;
        while (*p != '\0' && !is_blank_char(*p)) {
            if (len < kFieldMax)
                words[n][len++] = *p;
            p++;
        }
        words[n][len] = '\0';
        n++;
    }
    return n;
}

// ---- A small scanf for the fixed patterns of times and phone numbers ----
// Only ' ' (any white space), literal characters, %d, %Nd and %s are
// understood. Unlike sscanf, an over-long number saturates instead of
// being undefined.

bool scan_space(char c) {
    return isspace((unsigned char)c) != 0;
}

int scan(const char *text, const char *format, int *values) {
    const char *s = text;
    int assigned = 0;
    for (const char *f = format; *f != '\0'; f++) {
        if (*f == ' ') {
            while (scan_space(*s))
                s++;
            continue;
        }
        if (*f != '%') {
            if (*s != *f)
                return assigned;
            s++;
            continue;
        }
        f++;
        int width = 0;
        while (isdigit((unsigned char)*f))
            width = width * 10 + (*f++ - '0');
        if (width == 0)
            width = INT_MAX;
        while (scan_space(*s))
            s++;
        if (*f == 's') {
            if (*s == '\0')
                return assigned;
            while (*s != '\0' && !scan_space(*s))
                s++;
            assigned++;
            continue;
        }
        // %d
        int used = 0;
        bool negative = false;
        if ((*s == '-' || *s == '+') && used < width) {
            negative = *s == '-';
            s++;
            used++;
        }
        long value = 0;
        int digits = 0;
        while (used < width && isdigit((unsigned char)*s)) {
            if (value < 100000000)
                value = value * 10 + (*s - '0');
            else
                value = 999999999;
            s++;
            used++;
            digits++;
        }
        if (digits == 0)
            return assigned;
        values[assigned++] = (int)(negative ? -value : value);
    }
    return assigned;
}

} // namespace

// A whole word of optional sign and up to nine digits.
bool parse_strict_int(const char *text, long *value) {
    const char *p = text;
    bool negative = false;
    if (*p == '-' || *p == '+')
        negative = *p++ == '-';
    int digits = 0;
    long v = 0;
    while (isdigit((unsigned char)*p)) {
        if (++digits > 9)
            return false;
        v = v * 10 + (*p++ - '0');
    }
    if (digits == 0 || *p != '\0')
        return false;
    *value = negative ? -v : v;
    return true;
}

// ---- Character classes ---------------------------------------------------------

char *uc_string(char *text) {
    if (text == nullptr)
        return nullptr;
    // The locale's own table, fetched once: a call to toupper per byte was
    // a measurable part of reading a million flights' accounts.
    const int32_t *upper = *__ctype_toupper_loc();
    for (char *p = text; *p != '\0'; p++)
        *p = (char)upper[(unsigned char)*p];
    return text;
}

bool is_blank(const char *text) {
    if (text == nullptr)
        return true;
    for (; *text != '\0'; text++) {
        if (!is_blank_char(*text))
            return false;
    }
    return true;
}

bool is_number(const char *text) {
    if (text == nullptr)
        return true;
    const char *p = text;
    while (is_blank_char(*p))
        p++;
    while (isdigit((unsigned char)*p))
        p++;
    while (is_blank_char(*p))
        p++;
    return *p == '\0';
}

bool is_word(const char *text) {
    return text == nullptr || (strchr(text, ' ') == nullptr && strchr(text, '\t') == nullptr);
}

// ---- Fields ----------------------------------------------------------------------

const char *i_getField(const char *separators, const char *text, int n, bool skipRuns) {
    if (separators == nullptr)
        separators = " \t";
    ps.field[0] = '\0';
    if (text == nullptr || n < 1)
        return ps.field;
    const char *p = skip_fields(separators, text, n - 1, skipRuns);
    if (p == nullptr)
        return ps.field;
    size_t len = 0;
    while (p[len] != '\0' && !is_separator(separators, p[len]) && len < kFieldMax)
        len++;
    memcpy(ps.field, p, len);
    ps.field[len] = '\0';
    return ps.field;
}

char *i_afterField(const char *separators, const char *text, int n, bool skipRuns) {
    if (separators == nullptr)
        separators = " \t";
    if (text == nullptr)
        return alloc_str("");
    const char *p = skip_fields(separators, text, n < 0 ? 0 : n, skipRuns);
    return alloc_str(p);
}

// ---- Keywords -----------------------------------------------------------------------

int find_command(const char *word, const char *const *table) {
    if (word == nullptr)
        return -1;
    if (table == nullptr)
        return -2;
    size_t length = strlen(word);
    int first = -1;
    int prefixes = 0;
    for (int i = 0; table[i] != nullptr; i++) {
        if (strcmp(table[i], word) == 0)
            return i;
        if (strncmp(table[i], word, length) == 0) {
            if (prefixes++ == 0)
                first = i;
        }
    }
    if (prefixes > 1)
        return -1;
    return prefixes == 1 ? first : -2;
}

// ---- Dates ---------------------------------------------------------------------------

bool ok_date(int month, int day, int *year) {
    if (month > 12 || month < 0 || *year < 0 || day < 0)
        return false;
    int longest;
    switch (month) {
    case 2:
        longest = 29;
        break;
    case 4:
    case 6:
    case 9:
    case 11:
        longest = 30;
        break;
    default:
        longest = 31;
        break;
    }
    if (day > longest)
        return false;
    if (*year >= 55 && *year <= 99)
        *year += 1900;
    else if (*year < 55)
        *year += 2000;
    return true;
}

bool parse_date(const char *text, int *month, int *day, int *year) {
    *month = 0;
    *day = 0;
    *year = -1;
    char copy[kFieldMax + 1];
    snprintf(copy, sizeof copy, "%s", text != nullptr ? text : "");
    uc_string(copy);
    for (char *p = copy; *p != '\0'; p++) {
        if (*p == '-' || *p == '/' || *p == ',' || *p == '.')
            *p = ' ';
    }
    if (is_blank(copy))
        return ok_date(0, 0, year);
    if (is_number(copy)) {
        // Held past any day, so that no longer number wraps to a valid one.
        long number = strtol(copy, nullptr, 10);
        *day = number > 99 ? 99 : (int)number;
        return ok_date(*month, *day, year);
    }

    char words[3][kFieldMax + 1];
    int count = split_words(copy, words, 3);
    if (count == 1) {
        int m = find_command(words[0], ucmonths);
        if (m < 0)
            return false;
        *month = m + 1;
        return true;
    }
    long first, second;
    int m = find_command(words[0], ucmonths);
    if (m >= 0) {
        *month = m + 1;
        if (!parse_strict_int(words[1], &second))
            return false;
        *day = (int)second;
    } else if ((m = find_command(words[1], ucmonths)) >= 0) {
        *month = m + 1;
        if (!parse_strict_int(words[0], &first))
            return false;
        *day = (int)first;
    } else {
        if (!parse_strict_int(words[0], &first) || !parse_strict_int(words[1], &second))
            return false;
        *month = (int)first;
        *day = (int)second;
    }
    if (count == 3) {
        long y;
        if (!parse_strict_int(words[2], &y))
            return false;
        *year = (int)y;
    }
    return ok_date(*month, *day, year);
}

date_t i_convertDateToTime(const char *text, bool *ok) {
    if (text == nullptr) {
        if (ok != nullptr)
            *ok = false;
        return 0;
    }
    int month, day, year;
    bool parsed = parse_date(text, &month, &day, &year);
    if (ok != nullptr)
        *ok = parsed;
    if (year < 1900)
        printf("BUG: Converting %s to internal form got a year of %d\n"
               "The year should always be greater than 1900\n",
               text, year);
    struct tm date = {};
    date.tm_mday = day;
    date.tm_mon = month - 1;
    date.tm_year = year - 1900;
    date.tm_isdst = 0;
    return mktime(&date);
}

namespace {

bool local_date(date_t time, struct tm *date) {
    return localtime_r(&time, date) != nullptr;
}

} // namespace

const char *i_convertTimeToString(date_t time) {
    struct tm date;
    if (!local_date(time, &date))
        date = tm{};
    snprintf(ps.date_string, sizeof ps.date_string, "%d-%d-%d", date.tm_mon + 1, date.tm_mday,
             date.tm_year + 1900);
    return ps.date_string;
}

const char *i_convertTimeToQstring(date_t time) {
    struct tm date;
    if (!local_date(time, &date))
        date = tm{};
    snprintf(ps.qdate_string, sizeof ps.qdate_string, "%02d/%02d/%02d", date.tm_mon + 1,
             date.tm_mday, date.tm_year + 1900);
    return ps.qdate_string;
}

int date_compare(const char *a, const char *b) {
    if (a == nullptr || b == nullptr)
        return 0;
    int am, ad, ay, bm, bd, by;
    if (!parse_date(a, &am, &ad, &ay) || !parse_date(b, &bm, &bd, &by))
        return 0;
    if (ay != by)
        return ay > by ? 1 : -1;
    if (am != bm)
        return am > bm ? 1 : -1;
    if (ad != bd)
        return ad > bd ? 1 : -1;
    return 0;
}

// ---- Times ------------------------------------------------------------------------------

bool parse_time(const char *text, int *hour, int *minute) {
    if (text == nullptr)
        return false;
    int values[4];
    int h, m;
    int got = scan(text, "%d %d", values);
    if (got != 2)
        got = scan(text, "%d : %d", values);
    if (got == 2) {
        h = values[0];
        m = values[1];
    } else if (got == 1) {
        m = abs(values[0]) % 100;
        h = values[0] / 100;
    } else {
        return false;
    }
    *hour = h % 24;
    *minute = m % 60;
    return h >= 0 && h <= 23 && m >= 0 && m <= 59;
}

// ---- Phone numbers -------------------------------------------------------------------------

namespace {

struct PhonePattern {
    const char *format;
    bool area;
    bool extension;
};

// Tried in this order; the first that consumes the whole text wins.
const PhonePattern kPhonePatterns[] = {
    {" ( %3d ) %3d - %4d X %d %s", true, true},
    {" ( %3d ) %3d- %4d X %d %s", true, true},
    {" ( %3d ) %3d-%4d X %d %s", true, true},
    {" ( %3d ) %3d %4d X %d %s", true, true},
    {" %3d %3d - %4d X %d %s", true, true},
    {" ( %3d ) %3d - %4d %s", true, false},
    {" ( %3d ) %3d- %4d %s", true, false},
    {" ( %3d ) %3d-%4d %s", true, false},
    {" ( %3d ) %3d %4d %s", true, false},
    {" %3d %3d - %4d %s", true, false},
    {"%3d - %4d X %d %s", false, true},
    {" %3d %4d X %d %s", false, true},
    {" %3d %3d %4d X %d %s", true, true},
    {"%3d - %4d %s", false, false},
    {" %3d %4d %s", false, false},
    {" %3d %3d %4d %s", true, false},
};

bool is_international(const char *text) {
    char words[1][kFieldMax + 1];
    return split_words(text, words, 1) == 1 && strcmp(words[0], "011") == 0;
}

} // namespace

bool parse_phone(const char *text, int *area, int *exchange, int *number, int *extension) {
    if (text == nullptr)
        return false;
    for (const PhonePattern &pattern : kPhonePatterns) {
        int values[5];
        int numbers = 2 + (pattern.area ? 1 : 0) + (pattern.extension ? 1 : 0);
        if (scan(text, pattern.format, values) != numbers)
            continue;
        int i = 0;
        *area = pattern.area ? values[i++] : 0;
        *exchange = values[i++];
        *number = values[i++];
        *extension = pattern.extension ? values[i++] : 0;
        return *area >= 0 && *area <= 999 && *exchange >= 1 && *exchange <= 999 && *number >= 0 &&
               *number <= 9999 && *extension >= 0 && *extension <= 99999;
    }
    return false;
}

bool is_valid_phone(const char *text) {
    if (text == nullptr)
        return false;
    if (is_international(text))
        return true;
    int area, exchange, number, extension;
    return parse_phone(text, &area, &exchange, &number, &extension);
}

char *normalize_phone(const char *text) {
    int area, exchange, number, extension;
    // Anything the patterns do not fit, an international number among them,
    // is kept as typed.
    if (text == nullptr || !parse_phone(text, &area, &exchange, &number, &extension))
        return alloc_str(text);
    char result[64];
    int n;
    if (area != 0)
        n = snprintf(result, sizeof result, "(%03d)%03d-%04d", area, exchange, number);
    else
        n = snprintf(result, sizeof result, "%03d-%04d", exchange, number);
    if (extension != 0)
        snprintf(result + n, sizeof result - (size_t)n, " X%d", extension);
    return alloc_str(result);
}

// ---- File names -----------------------------------------------------------------------------

bool parse_filename(const char *text, char *base, char *extension) {
    base[0] = '\0';
    extension[0] = '\0';
    if (text == nullptr)
        return false;
    char copy[kFieldMax + 1];
    snprintf(copy, sizeof copy, "%s", text);
    const char *start = copy;
    while (is_blank_char(*start))
        start++;
    bool extension_only = *start == '.';
    for (char *p = copy; *p != '\0'; p++) {
        if (*p == '.')
            *p = ' ';
    }
    char words[2][kFieldMax + 1];
    int count = split_words(copy, words, 2);
    if (count == 0)
        return false;
    if (extension_only) {
        strcpy(extension, words[0]);
        return true;
    }
    strcpy(base, words[0]);
    if (count > 1)
        strcpy(extension, words[1]);
    return true;
}
