// The console I/O library, the bottom layer: counted memory and the file
// utilities, line input with type-ahead, prompts and field parsers, the
// column-aware output formatter and its destinations, and log_error, through
// which every layer reports. Uses only the standard library and POSIX.
#pragma once

#include <cstddef>
#include <cstdio>
#include <ctime>
#include <string>

#include "conio/fileops.h"

// ---- Memory accounting and file utilities ----------------------------------

void *errmalloc(size_t size);
void *errfree(void *block); // always returns nullptr
// Counted like errmalloc, for the many small records of a data file that
// are dropped together; errfree takes them back like any other block.
void *errmalloc_batch(size_t size);
char *alloc_str_batch(const char *text, size_t length);
int set_max_malloc(int size);
void o_space();
char *alloc_str(const char *text);
char *alloc_file(const char *name, const char *kind, bool verbose);
bool copyfile(const char *name, FILE *out);
// These three return whether the destination now holds the new contents;
// on false it is as it was (failures are reported, except by
// append_to_file, which is silent).
bool copyfile_by_name(const char *from, const char *to);
bool append(const char *dest, const char *src);
bool append_to_file(const char *name, const char *data, size_t length);
int file_close(FILE *file, const char *name);
void notyet(const char *what);
const char *timestamp();

// The program's name (also its prompt) and the banner's version text, which
// reports stamp on their pages.
extern const char *const program_name;
extern const char *const program_version;

// "Error at <time>:\n  <message>\n" on standard output; every layer reports
// through it.
void log_error(const char *format, ...) __attribute__((format(printf, 1, 2)));

// Replaces *slot by a fresh copy of text, freeing the old one.
void replace_str(char **slot, const char *text);

// ---- Line input, indirect command files, command log ------------------------

char *getLineFromLogicalUser(char *buffer, int maxLength, const char *def);
char *getuser(const char *prompt, const char *def, bool upperCase);
void i_giveBackLine(char *text);
void i_ignoreRestOfLine(bool quiet);
// Whether words typed after the command word wait to answer the next
// prompt: a command that takes an optional argument asks only then.
bool i_restOfLinePending();
void i_endUserInput();
bool addIndirectFile(const char *name);
void closeCurrentIndirectFile();
void closeAllIndirectFiles();
bool establishLogFile(const char *name);
// Called when the console's input has ended; the shell installs its own.
// The default ends the program with status 0.
void i_setEndOfInputHandler(void (*handler)());

// ---- Keyword menus and field parsers ----------------------------------------

struct namelist {
    namelist *next;
    char *name;
};

extern const char *const yesno[];
extern const char *const months[];
extern const char *const ucmonths[];

char *get_commandWord(const char *prompt, const char *def, bool upperCase);
char *get_word(const char *prompt, const char *def, bool upperCase);
char *get_line(const char *prompt, const char *def, bool upperCase, bool allowTilde);
int find_command(const char *word, const char *const *table);
int get_list(const char *prompt, const char *def, const char *const *table, bool allowTilde);
char *get_namelist(const char *prompt, const char *def, namelist *list, bool allowTilde);
bool get_yesno(const char *prompt, const char *def);

char *get_date(const char *prompt, const char *def);
bool parse_date(const char *text, int *month, int *day, int *year);
bool ok_date(int month, int day, int *year);
// A day: the calendar time of its local midnight. It must be 64 bits wide
// so that every year a prompt takes (to 2054) and every year a file holds
// comes back as it was written.
using date_t = time_t;
static_assert(sizeof(date_t) >= 8, "dates past 2038 need a 64-bit calendar time");

// The years a date typed at a prompt may have.
enum { kFirstYear = 1955, kLastYear = 2054 };

date_t i_convertDateToTime(const char *text, bool *ok = nullptr);
const char *i_convertTimeToString(date_t time);
const char *i_convertTimeToQstring(date_t time);
int date_compare(const char *a, const char *b);

long get_time(const char *prompt, long old);
bool parse_time(const char *text, int *hour, int *minute);
long get_number(const char *prompt, long def);
// `meaning`, when given, is printed after the help line: what the number
// stands for at this question.
long get_fixed_number(const char *prompt, int places, const char *def, bool allowNegative,
                      const char *meaning = nullptr);
double get_float(const char *prompt, double def, bool allowNegative);

bool parse_phone(const char *text, int *area, int *exchange, int *number, int *extension);
bool is_valid_phone(const char *text);
char *normalize_phone(const char *text);
char *get_phone(const char *prompt, const char *def);

// base and extension receive at most 200 characters each (buffers of 201).
bool parse_filename(const char *text, char *base, char *extension);
char *get_filename(const char *prompt, const char *def);

const char *i_getField(const char *separators, const char *text, int n, bool skipRuns);
char *i_afterField(const char *separators, const char *text, int n, bool skipRuns);
char *uc_string(char *text);
bool is_blank(const char *text);
bool is_number(const char *text);
bool is_word(const char *text);

// ---- Output formatter and destinations --------------------------------------

FILE *set_o_file(FILE *file);
FILE *get_o_file();
FILE *open_o_file(const char *name, const char *kind);
FILE *open_append_file(const char *name, const char *kind);
int close_o_file(FILE *file, const char *name, const char *kind); // 0 on success
// Finishes the current output now, for a change that must not happen
// unless the output arrived whole: a file is flushed, synced and closed
// under its temporary name, which is handed over (with the name it is to
// take) to be placed by the caller's transaction, or dropped with it; a
// print job is ended. Output then goes to the console, and closing the
// file later only reports a failure again. The console gives empty names.
bool hand_over_o_file(std::string &temp_name, std::string &final_name);
bool set_tabs_allowed(bool flag);
bool set_insertReturn(bool flag);
// While `sink` is set, everything written to the current output is also
// appended to it, so a caller can tell what a file should hold. Returns the
// previous sink.
std::string *o_copy_to(std::string *sink);
// A console line that counts what a writer put into the current output: at
// the console at once, for a file only once the file is closed complete (a
// file that could not be written counts nothing).
void o_note(const char *format, ...) __attribute__((format(printf, 1, 2)));
// Writes the text unchanged (after the pending line), bypassing the layout.
void o_verbatim(const char *text);
// Drops every file still open through open_o_file as if the program had
// never opened it (a file written safely keeps its old contents, no
// temporary stays behind) and makes standard output current.
void o_abandon_open_files();

void o_char(char c, int col, bool force);
void o_lstring(const char *text, int col, bool force);
void o_rstring(const char *text, int col, bool force);
void o_lnumber(long n, int col, bool force, int radix);
void o_rnumber(long n, int col, bool force, int radix);
void o_fixed_number(long n, int col, bool force, int radix, int places);
void o_rmoney(long cents, int col, bool force);
void o_time_of_day(long minutes, int col, bool force);
void o_amount_of_time(long minutes, int col, bool force);
void o_rtime_of_day(long minutes, int col, bool force);
void o_ramount_of_time(long minutes, int col, bool force);
void o_tow_height(long h, int col, bool force);
void o_rtow_height(long h, int col, bool force);
void o_newline(int line);
void o_formfeed();
void o_lprintf(int col, bool force, const char *format, ...) __attribute__((format(printf, 3, 4)));
void o_quoted_lstring(const char *text, int col, bool force);
void o_lfloat(double value, int col, bool force);
void o_rfloat(double value, int col, bool force);
void o_ldate(int day, int month, int year, int col, bool force);
void o_unixTime(long time, int col, bool force);

// ---- Module state -------------------------------------------------------------

// Returns the library to its start-up state (for tests and RESET): drops
// type-ahead, indirect files and the log, empties the pending output line
// and makes standard output current. The allocation counters are kept.
void conio_reset();
