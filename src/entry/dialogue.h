// What the ENTER dialogues share: the temporary file each one writes, the
// "Remember" step that appends it to its history file, and the questions
// they all ask (account, date, sheet, amount, "Is this line right?").
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>

#include "db/db.h"
#include "entry/entry.h"

// Makes `name` the output destination, replacing what it held; false when
// it cannot be opened (the formatter has reported it).
bool open_temporary(const char *name, const char *kind);
// The version and heading lines (each ending in a line end) into the
// temporary file.
void temporary_heading(const char *lines);
// Ends the record line just printed into the temporary file.
void end_record();
// Closes the temporary file; false when its lines did not reach the disk
// (the formatter has reported it), in which case nothing may be appended.
bool close_temporary();

// Asks whether to remember; on yes appends the temporary file to the
// family's history file and marks bills and times for recomputation; the
// family's records are read again at their next use.
void remember(const char *question, HistoryKind kind, const char *temporary);
// The append itself, with the same marks; false when the history could not
// take it (reported), in which case it is as it was.
bool remember_now(HistoryKind kind, const char *temporary);
// Before a dialogue overwrites `temporary`: when it holds record lines found
// in none of the family's history, its companion and the closed period's copy (a
// sheet cut off before "Remember"), says how many and offers to remember
// them first, or to discard them; false when they stay and the dialogue
// must not start.
bool settle_pending_sheet(const char *temporary, HistoryKind kind);

// Makes an answer the working record's field, freeing the field's old
// text (which may have been the answer's default).
void take_answer(char **field, char *answer);

// The history readers take lines of at most this many characters; a longer
// record line would come back as a record and a bogus one made of its tail.
enum { kRecordLineMax = 200 };
// Prints the working record as its file line (`o_*_struct`, tabbed).
using RecordPrinter = std::function<void()>;
// Asks a free-text field of the working record with `ask` until its record
// line, with the answer in *field, fits the files; each refusal is one
// "? ..." line naming the room left. The fields in `later` are asked after
// this one and count as empty, so that an answer never has to make room
// for the previous record's.
void ask_text(char **field, const std::function<char *()> &ask, const RecordPrinter &print,
              std::initializer_list<char **> later = {});
// Whether the finished record line fits; if not says so ("? ...").
bool record_fits(const RecordPrinter &print);

// Asks for an account until a customer results; *text keeps the typed
// answer, which is also the default of the question.
customer *ask_customer(const char *prompt, char **text, bool allow_add, const char *refusal);
// Asks a date with *text as default; *text becomes the answer.
date_t ask_date(const char *prompt, char **text);
// The record fields that take typed numbers are 32 bits wide: a number
// beyond them is refused ("? ...") and asked again, never stored wrapped.
// `get_number` and `get_fixed_number` with that check.
int32_t ask_number(const char *prompt, long def);
int32_t ask_fixed(const char *prompt, int places, const char *def, bool allowNegative);
// The number after `n`, running on as a signed 32-bit number does.
int32_t next_number(int32_t n);
// "Sheet number" until it is not 0.
int ask_sheet();
// The next line of a sheet: its number (0 when the sheet is done, `next`
// the default) and its date, echoed with the sheet and line numbers.
int ask_sheet_line(int next, int sheet, char **date_text, date_t *date);
// An amount in cents with two decimals; amounts of `limit` and more must be
// confirmed with `confirm` (default NO). With `refuse_negative` set a
// negative amount is refused with that message.
long ask_amount(const char *prompt, const char *def, long limit, const char *confirm,
                const char *refuse_negative);
// "Is this line right?"; prints "Ignoring line." on no.
bool line_is_right(bool default_yes);
// Cents as the dialogues echo them: "%ld.%02ld".
const char *cents_text(long cents);
