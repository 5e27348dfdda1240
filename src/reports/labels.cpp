// Mailing labels and the member data-update sheets.

#include <cstdio>

#include "conio/iosubs.h"
#include "reports/reports.h"

namespace {

const char *text(const char *s) {
    return s ? s : "";
}

void blank_lines(long n) {
    for (long i = 0; i < n; i++)
        o_newline(0);
}

} // namespace

void w_lbl(customer *c, long lines) {
    if (!c) {
        o_lstring("No customer.", 0, false);
        o_newline(0);
        blank_lines(lines - 1);
        return;
    }
    o_lstring(text(c->firstname), 0, false);
    o_lstring(text(c->lastname), 0, true);
    o_newline(0);
    long used = 1;
    for (const char *line : c->addr) {
        if (!line || !*line)
            break;
        o_lstring(line, 0, false);
        o_newline(0);
        used++;
    }
    // The next label starts after at least one empty line, even when the
    // address fills the label.
    blank_lines(lines - used > 1 ? lines - used : 1);
}

void w_labels() {
    maybe_read();
    long def = lookup_rate("DEFAULT-LINES-PER-LABEL", "DEFAULT", false) / 1000;
    if (def == 0)
        def = 6;
    long lines;
    for (;;) {
        lines = get_number("Number of lines per label", def);
        // The upper bound named in the message is itself refused, as labels
        // have always been asked for. Below two lines the sample label and
        // the blank lines after an address would run on without end.
        if (lines >= 2 && lines < 66)
            break;
        printf("? Lines per label must be between 2 and 66.\n");
    }
    while (get_yesno("Print sample label", "NO")) {
        for (int i = 0; i < 2; i++) {
            o_lstring("********", 0, false);
            o_newline(0);
        }
        blank_lines(lines - 2);
    }
    int count = w_selectedClassOrFlag("Mailing label customers", w_lbl, lines);
    o_note("%d mailing labels output.\n", count);
}

namespace {

// A label, its value (if any) at column 20, and the blank line that
// leaves room for the member's corrections.
void item(const char *label, const char *value) {
    o_lstring(label, 0, false);
    if (value)
        o_lstring(value, 20, true);
    o_newline(0);
    o_newline(0);
}

} // namespace

void w_information_sheet(customer *c, long) {
    item("Please make corrections and return this sheet", nullptr);
    o_lstring("Your Name:", 0, false);
    o_lstring(text(c->firstname), 20, true);
    o_lstring(text(c->lastname), 0, true);
    o_newline(0);
    o_newline(0);
    item("Billing Category:", text(c->category));
    o_lstring("Local Address:", 0, false);
    bool any = false;
    for (const char *line : c->addr) {
        if (!line || !*line)
            break;
        o_lstring(line, 20, true);
        o_newline(0);
        any = true;
    }
    if (!any)
        o_newline(0);
    blank_lines(2);
    item("Spouse's Name:", text(c->spouse));
    item("Home Phone:", text(c->phone[0]));
    item("Work Phone:", text(c->phone[1]));
    item("Local Phone:", text(c->phone[2]));
    // Left blank on purpose: room for a second local address.
    item("Local Address:", nullptr);
    item("eMail Address:", text(c->eMail));
    item("Contest Number:", text(c->contestNumber));
    item("Extra Info:", text(c->info));
    o_formfeed();
}

void w_data_update_list() {
    maybe_read();
    int count = w_selectedClassOrFlag("Information sheets", w_information_sheet, 0);
    o_note("%d information sheets output.\n", count);
}
