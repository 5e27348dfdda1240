// Statements as PDF, for members who read them on a phone and for printing
// at home: the statement's own text lines set in Courier, so every column
// lines up as in the statements file. Pages are US Letter, placed so that
// the name line, which the statement puts on line 10, shows in the window
// of a #10 envelope. A statement longer than a page goes on over further
// pages, each headed by the customer's name and "continued"; the
// "New balance:" line is set in bold.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

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
// The same, the bytes written to `out` a block at a time; false (reported)
// when the library failed, false without a report when a write did.
bool statement_pdf_end(StatementPdf *pdf, FILE *out);
// Frees the document unwritten.
void statement_pdf_free(StatementPdf *pdf);

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

struct customer;
// Asks the e-mail capture to attach this customer's statement as
// statement-<last name>-<period end>.pdf (the end, when the period has
// none, is the program's date), unless the prices file switched it off.
void attach_statement_pdf(const customer *c, const char *period_end);
