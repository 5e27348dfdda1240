// The column-aware output formatter and the output destinations.
//
// Reports build one pending line field by field, each field placed at a
// column, and end it with o_newline; the finished text goes to the current
// output file, which is the console, a disk file or the print spooler.

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <strings.h>
#include <sys/wait.h>
#include <unistd.h>

#include "conio/iosubs.h"
#include "conio/output_state.h"

extern char **environ;

namespace {

constexpr size_t kLineBytes = 203;
// Text that would make the pending line this long is written straight
// through instead of being kept, so the line buffer can never overflow.
constexpr size_t kLineLimit = 200;
constexpr int kTabWidth = 8;
// More fraction digits than this are all zeros for any long anyway.
constexpr int kMaxPlaces = 100;

// The printer of the club's old DOS machines; here it is the print spooler.
const char *const kPrinterDevice = "LPT1:";
const char *const kPrinterVariable = "VARNOK_PRINTER";
const char *const kDefaultSpooler = "lp";

// A file opened by open_o_file that needs more than fclose to finish: a
// file written through a temporary name, or the pipe to a print job.
struct OpenOutput {
    FILE *fp = nullptr;
    bool safe = false;
    SafeFile sf;
    pid_t spooler = -1;
    // Finished early by hand_over_o_file; closing then only reports.
    bool handed = false;
    bool handed_ok = false;
};

struct OutputState {
    FILE *cur_file = stdout;
    char cur_line[kLineBytes] = "";
    size_t cur_len = 0;    // strlen(cur_line), kept so appending is not a scan
    long cur_newlines = 0; // line ends inside cur_line, kept for the same reason
    int cur_col = 0;       // the column after cur_line, and its last character
    char cur_last = '\n';
    long cur_lcount = 1;
    char tabs_allowed = 0;
    char autoInsertReturn = 0;
    std::vector<OpenOutput> open_files;
    // Receives a copy of every byte written while set (o_copy_to).
    std::string *copy = nullptr;
    // Console lines that count what went into the open file (o_note).
    std::string notes;
    // While a print job is running a dead spooler must not kill the
    // program through SIGPIPE; the old disposition comes back afterwards.
    int spoolers_running = 0;
    struct sigaction saved_sigpipe {};
};

OutputState out;

const char *text_or_empty(const char *text) {
    return text != nullptr ? text : "";
}

void emit(const char *text, size_t length) {
    if (out.copy != nullptr)
        out.copy->append(text, length);
    if (out.cur_file != nullptr && length > 0)
        fwrite(text, 1, length, out.cur_file);
}

void emit(const char *text) {
    emit(text, strlen(text));
}

long count_newlines(const char *text, size_t length) {
    long n = 0;
    const char *end = text + length;
    for (const char *s = text; (s = static_cast<const char *>(memchr(s, '\n', end - s))); ++s)
        ++n;
    return n;
}

void clear_line() {
    out.cur_line[0] = '\0';
    out.cur_len = 0;
    out.cur_newlines = 0;
    out.cur_col = 0;
    out.cur_last = '\n';
}

void advance_column(const char *text, size_t length) {
    if (length == 0)
        return;
    // Most text holds neither a tab nor a line end: the column just moves on.
    // The fields are short, so a plain loop beats the library's set scan.
    size_t plain = 0;
    while (plain < length && text[plain] != '\t' && text[plain] != '\n')
        ++plain;
    if (plain == length) {
        out.cur_col += static_cast<int>(length);
        out.cur_last = text[length - 1];
        return;
    }
    for (const char *s = text; *s != '\0'; ++s) {
        if (*s == '\t')
            out.cur_col = (out.cur_col / kTabWidth + 1) * kTabWidth;
        else if (*s == '\n') {
            out.cur_col = 0;
            ++out.cur_newlines;
        } else
            ++out.cur_col;
        out.cur_last = *s;
    }
}

// `add` is strlen(text), which the callers mostly know already.
void write_string(const char *text, size_t add) {
    size_t have = out.cur_len;
    if (have + add >= kLineLimit) {
        emit(out.cur_line, have);
        out.cur_lcount += out.cur_newlines;
        clear_line();
        emit(text, add);
        out.cur_lcount += count_newlines(text, add);
        return;
    }
    // Fields are a few bytes: copied and looked at for tabs and line ends
    // in one pass, which costs less than a library copy and a scan.
    char *to = out.cur_line + have;
    bool plain = true;
    for (size_t i = 0; i < add; i++) {
        char c = text[i];
        to[i] = c;
        plain &= c != '\t' && c != '\n';
    }
    to[add] = '\0';
    out.cur_len = have + add;
    if (plain && add > 0) {
        out.cur_col += static_cast<int>(add);
        out.cur_last = text[add - 1];
    } else {
        advance_column(text, add);
    }
}

// Blanks up to a column (fewer than kLineBytes): nothing in them to scan for.
void write_blanks(size_t count) {
    size_t have = out.cur_len;
    if (have + count >= kLineLimit) {
        char fill[kLineBytes + 1];
        memset(fill, ' ', count);
        fill[count] = '\0';
        write_string(fill, count);
        return;
    }
    memset(out.cur_line + have, ' ', count);
    out.cur_line[have + count] = '\0';
    out.cur_len = have + count;
    out.cur_col += static_cast<int>(count);
    out.cur_last = ' ';
}

void write_char(char c) {
    char text[2] = {c, '\0'};
    write_string(text, c != '\0' ? 1 : 0);
}

struct Position {
    int column;
    char last; // last character of the pending line, '\n' when it is empty
};

Position cur_column() {
    return Position{out.cur_col, out.cur_last};
}

// Callers count columns from 1; 0 and 1 both mean "where we are".
char move_to_column(long col) {
    Position p = cur_column();
    long target = col - 1;
    long column = p.column;
    char last = p.last;
    if (!out.tabs_allowed && column < target && target - column < static_cast<long>(kLineBytes)) {
        write_blanks(static_cast<size_t>(target - column));
        return ' ';
    }
    // The filling goes in as one piece: a character at a time would rescan
    // the line for every blank of a wide report.
    char fill[kLineBytes + 1];
    size_t length = 0;
    while (column < target) {
        long stop = (column / kTabWidth + 1) * kTabWidth;
        if (out.tabs_allowed && stop <= target) {
            fill[length++] = '\t';
            column = stop;
            last = '\t';
        } else {
            fill[length++] = ' ';
            ++column;
            last = ' ';
        }
        if (length == kLineBytes) {
            fill[length] = '\0';
            write_string(fill, length);
            length = 0;
        }
    }
    fill[length] = '\0';
    if (length > 0)
        write_string(fill, length);
    return last;
}

void force_whitespace(char last, bool force) {
    if (force && last != ' ' && last != '\t' && last != '\n')
        write_char(' ');
}

void place_left(const char *text, size_t length, long col, bool force) {
    force_whitespace(move_to_column(col), force);
    write_string(text, length);
}

void place_left(const char *text, long col, bool force) {
    place_left(text, strlen(text), col, force);
}

void place_right(const char *text, size_t length, long col, bool force) {
    place_left(text, length, col - static_cast<long>(length) + 1, force);
}

void place_right(const char *text, long col, bool force) {
    place_right(text, strlen(text), col, force);
}

int checked_radix(int radix) {
    if (radix < 2 || radix > 36) {
        log_error("? Bad radix %d.\n", radix);
        return 10;
    }
    return radix;
}

unsigned long magnitude(long n) {
    return n < 0 ? 0UL - static_cast<unsigned long>(n) : static_cast<unsigned long>(n);
}

char digit_char(unsigned long value) {
    return static_cast<char>(value < 10 ? '0' + value : 'A' + (value - 10));
}

// Digits of value, most significant first; "0" for zero. buf holds 65
// bytes. Returns the number of digits.
size_t unsigned_to_string(unsigned long value, int radix, char *buf) {
    char reversed[65];
    size_t n = 0;
    do {
        reversed[n++] = digit_char(value % static_cast<unsigned long>(radix));
        value /= static_cast<unsigned long>(radix);
    } while (value != 0);
    size_t length = n;
    while (n > 0)
        *buf++ = reversed[--n];
    *buf = '\0';
    return length;
}

// buf holds 66 bytes: a sign and 64 binary digits. Returns the length.
size_t number_to_string(long n, int radix, char *buf) {
    radix = checked_radix(radix);
    size_t sign = n < 0 ? 1 : 0;
    if (sign != 0)
        *buf++ = '-';
    return sign + unsigned_to_string(magnitude(n), radix, buf);
}

// Whole units, a separator and the last `places` digits of a value that
// is not negative, as "%ld<separator>%0<places>ld" would write it; buf
// holds at least 48 bytes. Every flight line of a statement has two.
size_t format_split(unsigned long value, unsigned long unit, int places, char separator,
                    const char *suffix, char *buf) {
    char *p = buf + unsigned_to_string(value / unit, 10, buf);
    *p++ = separator;
    unsigned long part = value % unit;
    for (int i = places - 1; i >= 0; --i) {
        p[i] = digit_char(part % 10);
        part /= 10;
    }
    p += places;
    size_t tail = strlen(suffix);
    memcpy(p, suffix, tail + 1);
    return static_cast<size_t>(p - buf) + tail;
}

// Both return the length of the text in buf.
size_t format_minutes(long minutes, char *buf, size_t size) {
    if (minutes >= 0 && size >= 48)
        return format_split(static_cast<unsigned long>(minutes), 60, 2, ':', "", buf);
    snprintf(buf, size, "%ld:%02ld", minutes / 60, minutes % 60);
    return strlen(buf);
}

size_t format_tow_height(long h, char *buf, size_t size) {
    if (h >= 0 && size >= 48)
        return format_split(static_cast<unsigned long>(h), 10, 1, '.', "K", buf);
    snprintf(buf, size, "%ld.%1ldK", h / 10, h % 10);
    return strlen(buf);
}

void begin_output(FILE *fp) {
    out.cur_file = fp;
    out.cur_lcount = 1;
    clear_line();
    out.tabs_allowed = 0;
    out.autoInsertReturn = 0;
}

FILE *open_failed(const char *name, const char *kind) {
    log_error("? Unable to open %s file \"%s\"\n", text_or_empty(kind), text_or_empty(name));
    // Only a successful open starts afresh: the pending line and the line
    // count stay, and reach whatever destination is set next.
    out.cur_file = nullptr;
    return nullptr;
}

bool is_printer(const char *name) {
    return strcasecmp(name, kPrinterDevice) == 0;
}

std::vector<std::string> split_on_blanks(const char *text) {
    std::vector<std::string> words;
    std::string word;
    for (const char *s = text;; ++s) {
        if (*s == ' ' || *s == '\t' || *s == '\0') {
            if (!word.empty())
                words.push_back(word);
            word.clear();
            if (*s == '\0')
                break;
        } else {
            word += *s;
        }
    }
    return words;
}

void ignore_sigpipe() {
    if (out.spoolers_running++ > 0)
        return;
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigemptyset(&ignore.sa_mask);
    sigaction(SIGPIPE, &ignore, &out.saved_sigpipe);
}

void restore_sigpipe() {
    if (out.spoolers_running > 0 && --out.spoolers_running == 0)
        sigaction(SIGPIPE, &out.saved_sigpipe, nullptr);
}

// Starts the print command with a pipe to its standard input. The command
// line comes from VARNOK_PRINTER so that a club can name its own spooler.
// When the command cannot be started, *spawn_error says why.
FILE *start_spooler(pid_t *pid, int *spawn_error) {
    const char *command = getenv(kPrinterVariable);
    std::vector<std::string> words = split_on_blanks(text_or_empty(command));
    if (words.empty())
        words.emplace_back(kDefaultSpooler);
    std::vector<char *> argv;
    for (std::string &word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);

    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0)
        return nullptr;

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fds[0], STDIN_FILENO);
    posix_spawnattr_t attr;
    posix_spawnattr_init(&attr);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setsigdefault(&attr, &defaults);
    posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSIGDEF);

    // Whatever the console still holds belongs before the spooler's own
    // messages.
    fflush(stdout);
    int rc = posix_spawnp(pid, argv[0], &actions, &attr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attr);
    close(fds[0]);
    if (rc != 0) {
        close(fds[1]);
        *spawn_error = rc;
        return nullptr;
    }
    FILE *fp = fdopen(fds[1], "w");
    if (fp == nullptr) {
        close(fds[1]);
        waitpid(*pid, nullptr, 0);
        return nullptr;
    }
    ignore_sigpipe();
    return fp;
}

bool finish_spooler(FILE *fp, pid_t pid) {
    bool ok = ferror(fp) == 0;
    ok = fclose(fp) == 0 && ok;
    int status = 0;
    pid_t waited;
    do {
        waited = waitpid(pid, &status, 0);
    } while (waited < 0 && errno == EINTR);
    restore_sigpipe();
    return ok && waited == pid && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

OpenOutput *find_open(FILE *fp) {
    for (OpenOutput &entry : out.open_files)
        if (entry.fp == fp)
            return &entry;
    return nullptr;
}

void forget_open(FILE *fp) {
    for (auto it = out.open_files.begin(); it != out.open_files.end(); ++it)
        if (it->fp == fp) {
            out.open_files.erase(it);
            return;
        }
}

// Closes a file of any kind; false when its contents did not all arrive.
bool finish_file(FILE *file) {
    if (file == stdout || file == stderr)
        return fflush(file) == 0;
    OpenOutput *entry = find_open(file);
    if (entry == nullptr)
        return fclose(file) == 0;
    bool ok = entry->handed ? entry->handed_ok
              : entry->safe ? safe_commit(entry->sf)
                            : finish_spooler(entry->fp, entry->spooler);
    forget_open(file);
    return ok;
}

} // namespace

// ---- Destinations -------------------------------------------------------------

FILE *set_o_file(FILE *file) {
    FILE *previous = out.cur_file;
    out.cur_file = file;
    out.cur_lcount = 1;
    if (out.cur_line[0] != '\0') {
        emit(out.cur_line);
        clear_line();
    }
    return previous;
}

FILE *get_o_file() {
    return out.cur_file;
}

FILE *open_o_file(const char *name, const char *kind) {
    if (name == nullptr || *name == '\0')
        return open_failed(name, kind);
    OpenOutput entry;
    int spawn_error = 0;
    if (is_printer(name)) {
        entry.fp = start_spooler(&entry.spooler, &spawn_error);
    } else {
        // Written under a temporary name and renamed at close, so a report
        // that fails half-way never replaces the previous good copy.
        entry.safe = true;
        entry.fp = safe_open(entry.sf, name);
    }
    if (entry.fp == nullptr) {
        open_failed(name, kind);
        // A machine without the default spooler is common; the bare message
        // would not tell the treasurer what to set.
        if (spawn_error != 0) {
            const char *command = getenv(kPrinterVariable);
            if (split_on_blanks(text_or_empty(command)).empty())
                command = kDefaultSpooler;
            printf("? Could not start print command \"%s\": %s; %s names another.\n", command,
                   strerror(spawn_error), kPrinterVariable);
        }
        return nullptr;
    }
    out.open_files.push_back(entry);
    begin_output(entry.fp);
    return entry.fp;
}

bool hand_over_o_file(std::string &temp_name, std::string &final_name) {
    temp_name.clear();
    final_name.clear();
    FILE *file = out.cur_file;
    clear_line();
    OpenOutput *entry = find_open(file);
    if (entry == nullptr || entry->handed)
        return fflush(file) == 0;
    if (entry->safe) {
        entry->handed_ok = safe_prepare(entry->sf);
        if (entry->handed_ok) {
            temp_name = entry->sf.temp_name;
            final_name = entry->sf.final_name;
        }
    } else {
        entry->handed_ok = finish_spooler(entry->fp, entry->spooler);
    }
    entry->handed = true;
    // The stream is closed: what follows goes to the console.
    out.cur_file = stdout;
    return entry->handed_ok;
}

FILE *open_append_file(const char *name, const char *kind) {
    FILE *fp = open_appending(name);
    if (fp == nullptr)
        return open_failed(name, kind);
    begin_output(fp);
    return fp;
}

int close_o_file(FILE *file, const char *name, const char *kind) {
    out.cur_lcount = 1;
    clear_line();
    std::string notes;
    notes.swap(out.notes);
    // Nothing open (an earlier open failed): the console comes back.
    if (file != nullptr && !finish_file(file)) {
        log_error("? Unable to close %s file \"%s\"\n", text_or_empty(kind), text_or_empty(name));
        // The stream is gone even though the close failed.
        if (out.cur_file == file)
            out.cur_file = nullptr;
        return EOF;
    }
    out.cur_file = stdout;
    fputs(notes.c_str(), stdout);
    return 0;
}

void o_note(const char *format, ...) {
    char line[kLineBytes];
    va_list args;
    va_start(args, format);
    vsnprintf(line, sizeof line, format, args);
    va_end(args);
    if (out.cur_file == stdout)
        fputs(line, stdout);
    else
        out.notes += line;
}

std::string *o_copy_to(std::string *sink) {
    std::string *previous = out.copy;
    out.copy = sink;
    return previous;
}

void o_verbatim(const char *text) {
    if (out.cur_line[0] != '\0') {
        emit(out.cur_line);
        clear_line();
    }
    emit(text);
}

void o_abandon_open_files() {
    output_reset();
}

bool set_tabs_allowed(bool flag) {
    bool previous = out.tabs_allowed != 0;
    out.tabs_allowed = flag ? 1 : 0;
    return previous;
}

bool set_insertReturn(bool flag) {
    bool previous = out.autoInsertReturn != 0;
    out.autoInsertReturn = flag ? 1 : 0;
    return previous;
}

void output_reset() {
    for (OpenOutput &entry : out.open_files) {
        if (entry.handed)
            continue;
        if (entry.safe)
            safe_abort(entry.sf);
        else
            finish_spooler(entry.fp, entry.spooler);
    }
    out.open_files.clear();
    out.copy = nullptr;
    out.notes.clear();
    out.cur_file = stdout;
    out.cur_lcount = 1;
    clear_line();
    out.tabs_allowed = 0;
    out.autoInsertReturn = 0;
}

// ---- Line building ------------------------------------------------------------

void o_char(char c, int col, bool force) {
    force_whitespace(move_to_column(col), force);
    write_char(c);
}

void o_lstring(const char *text, int col, bool force) {
    place_left(text_or_empty(text), col, force);
}

void o_rstring(const char *text, int col, bool force) {
    place_right(text_or_empty(text), col, force);
}

void o_lnumber(long n, int col, bool force, int radix) {
    char text[72];
    place_left(text, number_to_string(n, radix, text), col, force);
}

void o_rnumber(long n, int col, bool force, int radix) {
    char text[72];
    place_right(text, number_to_string(n, radix, text), col, force);
}

void o_fixed_number(long n, int col, bool force, int radix, int places) {
    radix = checked_radix(radix);
    if (places < 0)
        places = 0;
    if (places > kMaxPlaces)
        places = kMaxPlaces;
    unsigned long value = magnitude(n);
    char fraction[kMaxPlaces + 1];
    for (int i = places - 1; i >= 0; --i) {
        fraction[i] = digit_char(value % static_cast<unsigned long>(radix));
        value /= static_cast<unsigned long>(radix);
    }
    fraction[places] = '\0';
    char whole[66];
    unsigned_to_string(value, radix, whole);
    char text[sizeof whole + kMaxPlaces + 3];
    snprintf(text, sizeof text, "%s%s.%s", n < 0 ? "-" : "", whole, fraction);
    place_left(text, col, force);
}

void o_rmoney(long cents, int col, bool force) {
    // "$12.34", or "$(12.34)" for a credit, built from the right: a bill run
    // writes millions of amounts.
    char text[48];
    char *p = text + sizeof text;
    *--p = '\0';
    bool credit = cents < 0;
    unsigned long value = magnitude(cents);
    if (credit)
        *--p = ')';
    *--p = digit_char(value % 10);
    value /= 10;
    *--p = digit_char(value % 10);
    value /= 10;
    *--p = '.';
    do {
        *--p = digit_char(value % 10);
        value /= 10;
    } while (value != 0);
    if (credit)
        *--p = '(';
    *--p = '$';
    long edge = col;
    // The ")" hangs one column out so credits and debits line up.
    if (credit && col != 0)
        ++edge;
    place_right(p, static_cast<size_t>(text + sizeof text - 1 - p), edge, force);
}

void o_time_of_day(long minutes, int col, bool force) {
    char text[48];
    place_left(text, format_minutes(minutes, text, sizeof text), col, force);
}

void o_amount_of_time(long minutes, int col, bool force) {
    char text[48];
    place_left(text, format_minutes(minutes, text, sizeof text), col, force);
}

void o_rtime_of_day(long minutes, int col, bool force) {
    char text[48];
    place_right(text, format_minutes(minutes, text, sizeof text), col, force);
}

void o_ramount_of_time(long minutes, int col, bool force) {
    char text[48];
    place_right(text, format_minutes(minutes, text, sizeof text), col, force);
}

void o_tow_height(long h, int col, bool force) {
    char text[48];
    place_left(text, format_tow_height(h, text, sizeof text), col, force);
}

void o_rtow_height(long h, int col, bool force) {
    char text[48];
    place_right(text, format_tow_height(h, text, sizeof text), col, force);
}

void o_newline(int line) {
    if (out.autoInsertReturn)
        write_char('\r');
    while (line > out.cur_lcount) {
        ++out.cur_lcount;
        emit("\n");
    }
    ++out.cur_lcount;
    out.cur_lcount += out.cur_newlines;
    // The line and its end in one write; the buffer has room past the limit.
    out.cur_line[out.cur_len] = '\n';
    emit(out.cur_line, out.cur_len + 1);
    clear_line();
}

void o_formfeed() {
    emit(out.cur_line);
    if (out.autoInsertReturn)
        emit("\r");
    emit("\n\f");
    clear_line();
    out.cur_lcount = 1;
}

void o_lprintf(int col, bool force, const char *format, ...) {
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    int length = vsnprintf(nullptr, 0, format, args);
    va_end(args);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    if (length > 0)
        vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    place_left(text.c_str(), col, force);
}

void o_quoted_lstring(const char *text, int col, bool force) {
    std::string quoted = "\"";
    quoted += text_or_empty(text);
    quoted += '"';
    place_left(quoted.c_str(), col, force);
}

void o_lfloat(double value, int col, bool force) {
    char text[400];
    snprintf(text, sizeof text, "%f", value);
    place_left(text, col, force);
}

void o_rfloat(double value, int col, bool force) {
    char text[400];
    snprintf(text, sizeof text, "%f", value);
    place_right(text, col, force);
}

void o_ldate(int day, int month, int year, int col, bool force) {
    // Months outside 1..12 roll into the neighbouring years.
    long zero_based = static_cast<long>(month) - 1;
    long years = zero_based / 12;
    long rest = zero_based % 12;
    if (rest < 0) {
        rest += 12;
        --years;
    }
    o_lnumber(day, col, force, 10);
    o_char('-', 0, false);
    o_lstring(months[rest], 0, false);
    o_char('-', 0, false);
    // Placed like the day, so with force on a blank separates the year.
    o_lnumber(year + years, col, force, 10);
}

void o_unixTime(long time, int col, bool force) {
    time_t t = static_cast<time_t>(time);
    struct tm local {};
    char text[64] = "";
    tzset();
    if (localtime_r(&t, &local) != nullptr)
        strftime(text, sizeof text, "%a %d-%b-%Y %H:%M:%S", &local);
    place_left(text, col, force);
}
