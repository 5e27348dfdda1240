// The summary of one customer, used by the customer lists, INFORMATION and
// the account prompt.
//
// The summary is printed straight into the file it is given rather than
// through the output formatter: it is called with the console while a report
// may be pending in another file, and must neither move that report's
// pending line nor restart its page count, nor gain the printer's carriage
// returns.

#include <cstdio>

#include "conio/iosubs.h"
#include "db/db.h"

namespace {

bool is_set(const char *text) {
    return text && *text;
}

void print_flags(const customer *c, FILE *file) {
    for (const namelist *f = c->flags; f; f = f->next) {
        if (f != c->flags)
            fprintf(file, "  ");
        fprintf(file, "%s", f->name ? f->name : "");
    }
}

} // namespace

void w_mbr_flags(const customer *c) {
    FILE *file = get_o_file();
    if (!c || !file)
        return;
    print_flags(c, file);
}

void w_mbr(const customer *c, bool full, FILE *file) {
    if (!file)
        return;
    if (!c) {
        fprintf(file, "No customer.\n");
        return;
    }

    fprintf(file, "%s, %s\t\t%s\t%s\n", c->lastname, c->firstname, c->category,
            c->cash ? "Cash" : "Credit");
    fprintf(file, "    Flags: ");
    print_flags(c, file);
    fprintf(file, "\n");
    if (!full)
        return;

    if (c->priorCategory && c->transitionDate != 0)
        fprintf(file, "\t\tWas %s before %s\n", c->priorCategory,
                i_convertTimeToString(c->transitionDate));
    if (is_set(c->info))
        fprintf(file, "    Info: %s\n", c->info);
    if (is_set(c->spouse))
        fprintf(file, "    Spouse: %s\n", c->spouse);
    if (is_set(c->contestNumber))
        fprintf(file, "    Contest Number: %s\n", c->contestNumber);
    if (is_set(c->eMail))
        fprintf(file, "    eMail: %s\n", c->eMail);
    static const char *const labels[3] = {"    Home:", "    Work:", "    Local:"};
    for (int i = 0; i < 3; i++) {
        if (is_set(c->phone[i])) {
            fprintf(file, "%s", labels[i]);
            fprintf(file, "  %s\n", c->phone[i]);
        }
    }
    if (is_set(c->addr[0])) {
        for (const char *line : c->addr)
            if (is_set(line))
                fprintf(file, "\t%s\n", line);
    } else {
        fprintf(file, "    No Address\n");
    }
    fprintf(file, "\n");
}
