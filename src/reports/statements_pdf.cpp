// WRITE to a file named *.pdf: the BILLS output (the prepared statements
// file) or one STATEMENT as PDF, for printing at home or at a copy shop.
// Every page is made from the statement's text lines as the text output
// holds them; the PDF is written under a temporary name and renamed.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "billing/statement_pdf.h"
#include "conio/iosubs.h"
#include "reports/reports.h"

namespace {

// A document to be written under `pdf_name`, with the file it goes to;
// nullptr (reported) when either cannot be had.
StatementPdf *open_pdf(SafeFile &sf, const char *pdf_name) {
    if (safe_open(sf, pdf_name) == nullptr) {
        log_error("? Unable to open %s file \"%s\"\n", "output", pdf_name);
        return nullptr;
    }
    StatementPdf *pdf = statement_pdf_new();
    if (pdf == nullptr)
        safe_abort(sf);
    return pdf;
}

// Ends the document into its file; false (reported) when the file is not
// there whole.
bool close_pdf(SafeFile &sf, StatementPdf *pdf, const char *pdf_name) {
    if (statement_pdf_end(pdf, sf.fp) && safe_commit(sf))
        return true;
    safe_abort(sf);
    log_error("? Unable to close %s file \"%s\"\n", "output", pdf_name);
    return false;
}

void report_written(const char *pdf_name, int statements, int pages) {
    printf("%d statements (%d pages) written to %s\n", statements, pages, pdf_name);
}

// The statements file holds the statements, each ended by a form feed,
// then the period's totals and the account lists: the last two parts are
// not statements. Read a part at a time; the document holds every page
// until it is written out at the end.
bool statements_to_pdf(const char *source, const char *pdf_name) {
    FILE *in = fopen(source, "r");
    if (in == nullptr) {
        log_error("? Unable to open %s\n", source);
        return false;
    }
    SafeFile sf;
    StatementPdf *pdf = open_pdf(sf, pdf_name);
    if (pdf == nullptr) {
        fclose(in);
        return true;
    }
    char *heading = alloc_file(db.headfile, "heading", false);
    int heading_lines = heading_line_count(heading);
    errfree(heading);
    std::string parts[3];
    int held = 0, statements = 0, pages = 0;
    char *buffer = nullptr;
    size_t capacity = 0;
    ssize_t got;
    while ((got = getdelim(&buffer, &capacity, '\f', in)) > 0) {
        parts[held].assign(buffer, static_cast<size_t>(got));
        if (parts[held].back() == '\f')
            parts[held].pop_back();
        if (++held < 3)
            continue;
        pages += statement_pdf_add(pdf, parts[0], statement_name(parts[0], heading_lines));
        statements++;
        std::swap(parts[0], parts[1]);
        std::swap(parts[1], parts[2]);
        held = 2;
    }
    free(buffer);
    bool read_ok = ferror(in) == 0;
    fclose(in);
    if (statements == 0) {
        statement_pdf_free(pdf);
        safe_abort(sf);
        printf("? No statements in %s; nothing written to %s\n", source, pdf_name);
    } else if (close_pdf(sf, pdf, pdf_name)) {
        report_written(pdf_name, statements, pages);
    }
    return read_ok;
}

} // namespace

void w_bills_pdf(const char *pdf_name) {
    for (;;) {
        char *name = get_filename("Filename", db.statementfile);
        bool done = name[0] == '\0' || statements_to_pdf(name, pdf_name);
        errfree(name);
        if (done)
            return;
    }
}

void w_statement_pdf(const char *pdf_name) {
    char *text = nullptr;
    size_t length = 0;
    FILE *memory = open_memstream(&text, &length);
    if (memory == nullptr)
        return;
    FILE *previous = set_o_file(memory);
    w_stmnt();
    o_newline(0);
    set_o_file(previous);
    fclose(memory);
    std::string statement(text, length);
    free(text);
    if (statement.find_first_not_of(" \n") == std::string::npos)
        return; // no customer chosen
    SafeFile sf;
    StatementPdf *pdf = open_pdf(sf, pdf_name);
    if (pdf == nullptr)
        return;
    // The single statement has an empty heading: one empty line.
    int pages = statement_pdf_add(pdf, statement, statement_name(statement, 1));
    if (close_pdf(sf, pdf, pdf_name))
        report_written(pdf_name, 1, pages);
}
