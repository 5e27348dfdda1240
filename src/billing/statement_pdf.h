// Statements as PDF, for members who read them on a phone and for printing
// at home: the statement's own text lines set in Courier, so every column
// lines up as in the statements file. Pages are US Letter, placed so that
// the name line, which the statement puts on line 10, shows in the window
// of a #10 envelope. A statement longer than a page goes on over further
// pages, each headed by the customer's name and "continued"; the
// "New balance:" line is set in bold.
#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// A PDF document of any number of statements, one page group each.
struct StatementPdf;

// Null (reported) when the PDF library cannot start.
StatementPdf *statement_pdf_new();
// `text` is one statement as the statements file holds it, without its
// form feed; `name` heads its continuation pages. Returns its page count.
int statement_pdf_add(StatementPdf *pdf, std::string_view text, std::string_view name);
// Ends the document and frees it; its bytes go to `bytes`. False (reported
// with a "? " line) when the library failed anywhere.
bool statement_pdf_end(StatementPdf *pdf, std::string &bytes);

// The PDF of one statement.
bool statement_pdf(std::string_view text, std::string_view name, std::string &bytes);

// The customer's name on a statement's name line, which comes after the
// heading (`heading_lines` lines) and no earlier than line 10: its first
// words up to the gap before "Billing category:".
std::string statement_name(std::string_view text, int heading_lines);

// How many lines the formatter gives `heading` at the top of a statement.
int heading_line_count(const char *heading);

// Page geometry, for the tests that read the text back: a Courier
// character is 5.4 points wide at this size, and 80 columns stand in the
// middle of the page. 74 lines hold a busy member's month.
constexpr double kPdfFontSize = 9;
constexpr double kPdfCharWidth = kPdfFontSize * 0.6;
constexpr double kPdfLeftMargin = 16 * kPdfCharWidth;
constexpr int kPdfLinesPerPage = 74;
constexpr double kPdfLeading = 9.5;
// The first line's baseline, so that line 10 stands 2.14 inches from the
// top: in a #10 envelope's window (2.04 to 3.17 inches down the folded
// page, wherever the page sits in the envelope).
constexpr double kPdfFirstBaseline = 792 - (154 - 9 * kPdfLeading);

// ---- The layout both writers share -------------------------------------------

// Lays a statement out: its lines as they stand on paper (one byte a column
// in the fonts' Windows Latin 1 encoding), cut into pages. `put_page` gets
// each page's lines, and for every page after the first the header
// ("<name> continued") to set above them after an empty line. Returns the
// number of pages.
using PutStatementPage = std::function<void(const std::vector<std::string> &lines, size_t from,
                                            size_t to, const std::string *header)>;
int lay_out_statement(std::string_view text, std::string_view name, const PutStatementPage &put);
// The line set in bold.
bool statement_line_emphasised(const std::string &line);

// ---- Many statements streamed into one file ------------------------------------

// For a whole month's statements (tens of thousands of pages), written a
// page at a time so that neither memory nor time grows with what came
// before: only the pages' places in the file are kept. The same pages as
// statement_pdf_add, in the same standard fonts.
struct StatementPdfFile;
StatementPdfFile *statement_pdf_file_open(FILE *out);
int statement_pdf_file_add(StatementPdfFile *pdf, std::string_view text, std::string_view name);
// Writes the page tree and the cross-reference table and frees it; false
// when a write failed.
bool statement_pdf_file_close(StatementPdfFile *pdf);

struct customer;
// Asks the e-mail capture to attach this customer's statement as
// statement-<last name>-<period end>.pdf (the end, when the period has
// none, is the program's date), unless the prices file switched it off.
void attach_statement_pdf(const customer *c, const char *period_end);
