// The summary of one customer, used by the customer lists, INFORMATION and
// the account prompt.

#include <cstdarg>
#include <cstdio>
#include <string>

#include "conio/iosubs.h"
#include "db/db.h"
#include "reports/reports.h"

namespace {

// Formats like printf and hands the text to the output formatter, turning
// each line end into a formatter line end so that paging and carriage
// returns stay the formatter's business.
__attribute__((format(printf, 1, 2))) void mbr_printf(const char *format, ...) {
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    int length = vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    if (length > 0)
        vsnprintf(text.data(), text.size() + 1, format, args);
    va_end(args);

    size_t start = 0;
    for (;;) {
        size_t end = text.find('\n', start);
        std::string piece = text.substr(start, end == std::string::npos ? end : end - start);
        if (!piece.empty())
            o_lstring(piece.c_str(), 0, false);
        if (end == std::string::npos)
            break;
        o_newline(0);
        start = end + 1;
    }
}

bool is_set(const char *text) {
    return text && *text;
}

} // namespace

void w_mbr_flags(const customer *c) {
    if (!c)
        return;
    for (const namelist *f = c->flags; f; f = f->next) {
        if (f != c->flags)
            mbr_printf("  ");
        mbr_printf("%s", f->name ? f->name : "");
    }
}

void w_mbr(const customer *c, bool full, FILE *file) {
    if (!file)
        return;
    // Switching destinations restarts the page's line count, so stay put
    // when the summary goes to the current output anyway.
    FILE *previous = get_o_file();
    bool switched = previous != file;
    if (switched)
        set_o_file(file);
    if (!c) {
        mbr_printf("No customer.\n");
        if (switched)
            set_o_file(previous);
        return;
    }

    mbr_printf("%s, %s\t\t%s\t%s\n", c->lastname, c->firstname, c->category,
               c->cash ? "Cash" : "Credit");
    mbr_printf("    Flags: ");
    w_mbr_flags(c);
    mbr_printf("\n");

    if (full) {
        if (c->priorCategory && c->transitionDate != 0)
            mbr_printf("\t\tWas %s before %s\n", c->priorCategory,
                       i_convertTimeToString(c->transitionDate));
        if (is_set(c->info))
            mbr_printf("    Info: %s\n", c->info);
        if (is_set(c->spouse))
            mbr_printf("    Spouse: %s\n", c->spouse);
        if (is_set(c->contestNumber))
            mbr_printf("    Contest Number: %s\n", c->contestNumber);
        if (is_set(c->eMail))
            mbr_printf("    eMail: %s\n", c->eMail);
        static const char *const labels[3] = {"    Home:", "    Work:", "    Local:"};
        for (int i = 0; i < 3; i++) {
            if (is_set(c->phone[i])) {
                mbr_printf("%s", labels[i]);
                mbr_printf("  %s\n", c->phone[i]);
            }
        }
        if (is_set(c->addr[0])) {
            for (const char *line : c->addr)
                if (is_set(line))
                    mbr_printf("\t%s\n", line);
        } else {
            mbr_printf("    No Address\n");
        }
        mbr_printf("\n");
    }
    if (switched)
        set_o_file(previous);
}
