// The interactive questions: each shows its prompt and default, answers
// "?" with help, validates the answer and asks again until it is usable.
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "conio/completion.h"
#include "conio/iosubs.h"
#include "conio/parse_internal.h"

namespace {

constexpr size_t kNameMax = 200;

bool is(const char *text, const char *what) {
    return strcmp(text, what) == 0;
}

const char *or_empty(const char *text) {
    return text != nullptr ? text : "";
}

} // namespace

// ---- Words, lines and menus -------------------------------------------------------

char *get_commandWord(const char *prompt, const char *def, bool upperCase) {
    char *line = getuser(prompt, def, upperCase);
    char *word = alloc_str(i_getField(" \t", line, 1, false));
    i_giveBackLine(i_afterField(" \t", line, 1, true));
    errfree(line);
    return word;
}

char *get_word(const char *prompt, const char *def, bool upperCase) {
    def = or_empty(def);
    for (;;) {
        char *word = get_commandWord(prompt, def, upperCase);
        if (is(word, "?")) {
            printf("Enter a word (a string containing no spaces).\n");
            if (!is_blank(def))
                printf("Enter tilde ~ to leave the word blank.\n");
            errfree(word);
            continue;
        }
        // With a blank default an empty answer already means empty, so the
        // tilde is handed back as it stands.
        if (is(word, "~") && !is_blank(def)) {
            errfree(word);
            return alloc_str("");
        }
        return word;
    }
}

char *get_line(const char *prompt, const char *def, bool upperCase, bool allowTilde) {
    def = or_empty(def);
    for (;;) {
        char *line = getuser(prompt, def, upperCase);
        if (is(line, "?")) {
            printf("Enter a line of text.\n");
            if (!is_blank(def) && allowTilde)
                printf("Enter tilde ~ to leave the line blank.\n");
            errfree(line);
            continue;
        }
        if (allowTilde && is(line, "~")) {
            errfree(line);
            return alloc_str("");
        }
        return line;
    }
}

int get_list(const char *prompt, const char *def, const char *const *table, bool allowTilde) {
    CompletionScope offer(complete_from_table, CompletionSpan::WORD, table);
    for (;;) {
        char *word = get_commandWord(prompt, def, true);
        if (is(word, "~")) {
            if (allowTilde) {
                errfree(word);
                return -1;
            }
            word[0] = '\0';
        }
        int position = find_command(word, table);
        if (position >= 0) {
            errfree(word);
            return position;
        }
        if (is(word, "?")) {
            for (int i = 0; table[i] != nullptr; i++)
                printf("%s\n", table[i]);
        } else if (position == -1) {
            printf("? Ambiguous - please type a longer string - \"%s\"\n", word);
        } else {
            printf("? Unrecognized \"%s\"\n", word);
        }
        errfree(word);
    }
}

char *get_namelist(const char *prompt, const char *def, namelist *list, bool allowTilde) {
    size_t count = 0;
    for (namelist *n = list; n != nullptr; n = n->next)
        count++;
    const char **table = (const char **)errmalloc((count + 1) * sizeof(char *));
    size_t i = 0;
    for (namelist *n = list; n != nullptr; n = n->next)
        table[i++] = n->name;
    table[count] = nullptr;

    int position = get_list(prompt, def, table, allowTilde);
    errfree(table);
    if (position < 0)
        return nullptr;
    namelist *chosen = list;
    while (position-- > 0)
        chosen = chosen->next;
    return chosen->name;
}

bool get_yesno(const char *prompt, const char *def) {
    return get_list(prompt, def, yesno, false) == 1;
}

// ---- Dates -------------------------------------------------------------------------------

char *get_date(const char *prompt, const char *def) {
    def = or_empty(def);
    int def_month, def_day, def_year;
    if (!parse_date(def, &def_month, &def_day, &def_year))
        printf("? Improper format for previous date: \"%s\"\n", def);

    for (;;) {
        char *answer = getuser(prompt, def, true);
        if (is(answer, "?")) {
            printf("Enter a date in the form mm-dd-yy or mm-dd-yyyy.\n");
            errfree(answer);
            continue;
        }
        int month, day, year;
        bool ok = parse_date(answer, &month, &day, &year);
        if (ok) {
            if (month == 0)
                month = def_month;
            if (day == 0)
                day = def_day;
            if (year < 1)
                year = def_year;
            // The parts taken from the default must still make a date
            // (no default at all, or February 31 from "FEB" after 1-31).
            ok = month >= 1 && day >= 1 && year >= 1 && ok_date(month, day, &year);
        }
        if (!ok) {
            printf("? Improper format for a date: \"%s\"\n", answer);
            errfree(answer);
            continue;
        }
        if (year < kFirstYear || year > kLastYear) {
            printf("? A date must lie between 1-1-%d and 12-31-%d: \"%s\"\n", kFirstYear, kLastYear,
                   answer);
            errfree(answer);
            continue;
        }
        errfree(answer);
        char text[64];
        snprintf(text, sizeof text, "%d-%s-%02d", day, months[month - 1], year);
        return alloc_str(text);
    }
}

// ---- Times and numbers -------------------------------------------------------------------

long get_time(const char *prompt, long old) {
    long old_hour = (old / 60) % 24;
    long old_minute = old % 60;
    char def[32];
    snprintf(def, sizeof def, "%ld:%02ld", old_hour, old_minute);
    for (;;) {
        char *word = get_commandWord(prompt, def, true);
        if (is(word, "?")) {
            printf("A time in the format hh:mm (24 hour clock).\n");
            printf("\tIf only minutes are supplied they are treated as new\n");
            printf("\tminutes with the same hour. If the new minutes are\n");
            printf("\tless than the old the hour is increased by one.\n");
            errfree(word);
            continue;
        }
        int hour, minute;
        if (!parse_time(word, &hour, &minute)) {
            printf("? Improper format for a time: \"%s\"\n", word);
            errfree(word);
            continue;
        }
        if (strlen(word) < 3) {
            // Minutes only; deliberately not wrapped past midnight.
            hour = (int)old_hour + (old_minute > minute ? 1 : 0);
        }
        errfree(word);
        return (long)hour * 60 + minute;
    }
}

long get_number(const char *prompt, long def) {
    char def_text[32];
    snprintf(def_text, sizeof def_text, "%ld", def);
    for (;;) {
        char *word = get_commandWord(prompt, def_text, true);
        if (is(word, "?")) {
            printf("Enter a number.\n");
            errfree(word);
            continue;
        }
        if (word[0] == '\0') {
            errfree(word);
            return def;
        }
        char *end;
        errno = 0;
        long value = strtol(word, &end, 10);
        if (*end != '\0' || errno == ERANGE ||
            !(isdigit((unsigned char)word[0]) || word[0] == '-' || word[0] == '+')) {
            printf("? Improper format for a number: \"%s\"\n", word);
            errfree(word);
            continue;
        }
        errfree(word);
        return value;
    }
}

namespace {

enum class Fixed { ok, bad_format, negative };

bool all_digits(const char *text) {
    if (*text == '\0')
        return false;
    for (; *text != '\0'; text++) {
        if (!isdigit((unsigned char)*text))
            return false;
    }
    return true;
}

// The first `places` digits of a fraction, missing ones counting as 0.
long fraction_value(const char *fraction, int places) {
    long value = 0;
    size_t length = strlen(fraction);
    for (int i = 0; i < places; i++)
        value = value * 10 + ((size_t)i < length ? fraction[i] - '0' : 0);
    return value;
}

Fixed parse_fixed(const char *word, int places, bool allowNegative, long *result) {
    if (places < 0)
        places = 0;
    if (places > 9)
        places = 9;
    long scale = 1;
    for (int i = 0; i < places; i++)
        scale *= 10;

    // Minus, point, fraction: no whole part, so the negative check does not
    // apply, and without allowNegative the fraction is taken from -1.
    if (word[0] == '-' && word[1] == '.' && all_digits(word + 2)) {
        long fraction = fraction_value(word + 2, places);
        *result = allowNegative ? -fraction : -(-scale + fraction);
        return Fixed::ok;
    }

    long whole = 0;
    const char *fraction = "";
    const char *point = strchr(word, '.');
    if (point == word) {
        if (!all_digits(word + 1))
            return Fixed::bad_format;
        fraction = word + 1;
    } else {
        char whole_text[kNameMax + 1];
        size_t length = point != nullptr ? (size_t)(point - word) : strlen(word);
        if (length > kNameMax)
            return Fixed::bad_format;
        memcpy(whole_text, word, length);
        whole_text[length] = '\0';
        if (!parse_strict_int(whole_text, &whole))
            return Fixed::bad_format;
        if (point != nullptr && point[1] != '\0') {
            if (!all_digits(point + 1))
                return Fixed::bad_format;
            fraction = point + 1;
        }
    }
    // A whole part of -0 is zero and so counts as positive.
    if (whole < 0 && !allowNegative)
        return Fixed::negative;
    long magnitude;
    if (__builtin_mul_overflow(labs(whole), scale, &magnitude) ||
        __builtin_add_overflow(magnitude, fraction_value(fraction, places), &magnitude))
        return Fixed::bad_format;
    *result = whole < 0 ? -magnitude : magnitude;
    return Fixed::ok;
}

} // namespace

long get_fixed_number(const char *prompt, int places, const char *def, bool allowNegative,
                      const char *meaning) {
    def = or_empty(def);
    for (;;) {
        char *word = get_commandWord(prompt, def, true);
        if (is(word, "?")) {
            printf("Enter a number with decimal and fraction.\n");
            if (meaning != nullptr)
                printf("%s\n", meaning);
            errfree(word);
            continue;
        }
        long value = 0;
        Fixed verdict = parse_fixed(word, places, allowNegative, &value);
        if (verdict == Fixed::bad_format)
            printf("? Bad format for a number: \"%s\"\n", word);
        else if (verdict == Fixed::negative)
            printf("? Negative number not allowed.\n");
        errfree(word);
        if (verdict == Fixed::ok)
            return value;
    }
}

double get_float(const char *prompt, double def, bool allowNegative) {
    char def_text[64];
    snprintf(def_text, sizeof def_text, "%f", def);
    for (;;) {
        char *word = get_commandWord(prompt, def_text, true);
        if (is(word, "?")) {
            printf("Enter a floating point number.\n");
            errfree(word);
            continue;
        }
        char *end;
        double value = strtod(word, &end);
        if (word[0] == '\0' || *end != '\0' || !std::isfinite(value)) {
            printf("? Bad format for a number: \"%s\"\n", word);
        } else if (value < 0 && !allowNegative) {
            printf("? Negative number not allowed.\n");
        } else {
            errfree(word);
            return value;
        }
        errfree(word);
    }
}

// ---- Phone numbers and file names ------------------------------------------------------------

char *get_phone(const char *prompt, const char *def) {
    for (;;) {
        char *answer = getuser(prompt, def, true);
        if (is(answer, "~")) {
            answer[0] = '\0';
            return answer;
        }
        if (is(answer, "?")) {
            printf("Enter a phone number in the form (aaa)eee-nnnn\n");
            printf("Followed by an optional extention Xnnnnn\n");
            printf("Enter \"~\" if no phone number is desired.\n");
            errfree(answer);
            continue;
        }
        if (answer[0] == '\0')
            return answer;
        if (is_valid_phone(answer)) {
            char *normal = normalize_phone(answer);
            errfree(answer);
            return normal;
        }
        printf("Phone number \"%s\" is not a US style phone number.\n", answer);
        if (get_yesno("Use number anyway", "N"))
            return answer;
        errfree(answer);
    }
}

char *get_filename(const char *prompt, const char *def) {
    def = or_empty(def);
    char def_base[kNameMax + 1], def_ext[kNameMax + 1];
    parse_filename(def, def_base, def_ext);
    size_t shown_size = strlen(or_empty(prompt)) + strlen(def_base) + strlen(def_ext) + 8;
    char *shown = (char *)errmalloc(shown_size);
    snprintf(shown, shown_size, "%s [%s.%s]", or_empty(prompt), def_base, def_ext);

    CompletionScope offer(complete_file_names, CompletionSpan::WORD);
    char *result = nullptr;
    while (result == nullptr) {
        // A plain word read: the "?" and "~" answers are this routine's own.
        char *word = get_commandWord(shown, "", false);
        char base[kNameMax + 1], ext[kNameMax + 1];
        if (word[0] == '\0') {
            result = alloc_str(def);
        } else if (is(word, "~")) {
            result = alloc_str("");
        } else if (is(word, "?")) {
            printf("Enter the name of a file.\n");
            printf("Enter \"~\" if no name is desired.\n");
        } else if (!parse_filename(word, base, ext)) {
            printf("? Bad format for filename \"%s\"\n", word);
        } else {
            const char *b = base[0] != '\0' ? base : def_base;
            const char *e = ext[0] != '\0' ? ext : def_ext;
            size_t size = strlen(b) + strlen(e) + 2;
            result = (char *)errmalloc(size);
            snprintf(result, size, "%s.%s", b, e);
        }
        errfree(word);
    }
    errfree(shown);
    return result;
}
