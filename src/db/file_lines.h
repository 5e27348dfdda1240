// Small helpers shared by the data-file readers.
#pragma once

#include <cctype>
#include <cstdint>
#include <cstring>
#include <string>
#include <unordered_map>

#include "conio/iosubs.h"

namespace dbfile {

// Any line holding a "!" is a comment in the data files.
inline bool is_comment(const char *line) {
    return strchr(line, '!') != nullptr;
}

inline std::string tab_field(const char *line, int n) {
    return i_getField("\t", line, n, false);
}

inline std::string upper(std::string text) {
    uc_string(text.data());
    return text;
}

// Digits are '0' to '9' in every locale, so they are tested without the
// library call; a field mostly starts with one, and only other characters
// are asked whether they are blanks.
inline bool is_decimal(char c) {
    return c >= '0' && c <= '9';
}

// Leading blanks, a sign and digits, as "%ld" reads them, leaving `p` past
// the digits. The magnitude stops growing just beyond the 32-bit range, so
// no number overflows however long. False when no digit is there.
inline bool scan_digits(const char *&p, bool &negative, int64_t &magnitude) {
    while (!is_decimal(*p) && isspace(static_cast<unsigned char>(*p)))
        p++;
    negative = *p == '-';
    if (*p == '-' || *p == '+')
        p++;
    if (!is_decimal(*p))
        return false;
    magnitude = 0;
    while (is_decimal(*p)) {
        if (magnitude <= int64_t{INT32_MAX} + 1)
            magnitude = magnitude * 10 + (*p - '0');
        p++;
    }
    return true;
}

// Reads a signed decimal number as "%ld" would, but only when it fits the
// 32-bit fields the records hold: a larger value does not read at all, so
// the reader reports the line instead of storing a wrapped number. `end`
// receives where it stopped.
inline bool scan_int32(const char *text, int32_t &value, const char **end = nullptr) {
    const char *p = text;
    bool negative;
    int64_t magnitude;
    if (!scan_digits(p, negative, magnitude))
        return false;
    int64_t v = negative ? -magnitude : magnitude;
    if (v > INT32_MAX || v < INT32_MIN)
        return false;
    value = static_cast<int32_t>(v);
    if (end != nullptr)
        *end = p;
    return true;
}

// The number sscanf's "%d" would read, held to the 32-bit range: sscanf
// would store a longer one as some other number. False when no number is
// there. The readers' version checks then report a held number as the bad
// version it is.
inline bool scan_int_held(const char *text, int &value) {
    const char *p = text;
    bool negative;
    int64_t magnitude;
    if (!scan_digits(p, negative, magnitude))
        return false;
    int64_t v = negative ? -magnitude : magnitude;
    value = static_cast<int32_t>(v > INT32_MAX ? INT32_MAX : v < INT32_MIN ? INT32_MIN : v);
    return true;
}

// " $VERSION %d" as sscanf matches it, with the number held as above.
inline bool scan_version(const char *line, int &version) {
    const char *p = line;
    while (isspace(static_cast<unsigned char>(*p)))
        p++;
    if (strncmp(p, "$VERSION", 8) != 0)
        return false;
    return scan_int_held(p + 8, version);
}

// One line of a history file cut into its tab-separated fields, in place.
// Empty fields count: two tabs in a row enclose an empty field. Fields past
// the end of the line read as empty text.
class Fields {
  public:
    enum { MAX = 16 };
    explicit Fields(char *text) {
        // Fields are short: one plain pass costs less than a strchr call each.
        char *p = text;
        while (count_ < MAX) {
            field_[count_++] = p;
            while (*p != '\t' && *p != '\0')
                ++p;
            if (*p == '\0')
                break;
            *p++ = '\0';
        }
    }
    // Numbered from 1; always writable.
    char *operator[](int n) {
        static char empty[1];
        empty[0] = '\0';
        return n >= 1 && n <= count_ ? field_[n - 1] : empty;
    }

  private:
    char *field_[MAX] = {};
    int count_ = 0;
};

// A period file holds only a few dozen distinct dates; remembering their
// conversions spares the calendar arithmetic (and the time zone lookup)
// on every line.
class DateCache {
  public:
    date_t convert(const char *field, bool &ok) {
        // Day sheets are written day by day: most lines repeat the date of
        // the line before, which one compare answers.
        if (last_ != nullptr && strcmp(last_->first.c_str(), field) == 0) {
            ok = last_->second.ok;
            return last_->second.value;
        }
        auto found = known_.find(field);
        if (found == known_.end()) {
            Converted c;
            c.value = i_convertDateToTime(field, &c.ok);
            if (known_.size() >= 4096)
                known_.clear();
            found = known_.emplace(field, c).first;
        }
        last_ = &*found;
        ok = found->second.ok;
        return found->second.value;
    }

  private:
    struct Converted {
        date_t value = 0;
        bool ok = false;
    };
    std::unordered_map<std::string, Converted> known_;
    // An entry of known_: its nodes stay put until the map is cleared, and
    // a clear is always followed by the emplace that sets this anew.
    const std::pair<const std::string, Converted> *last_ = nullptr;
};

} // namespace dbfile
