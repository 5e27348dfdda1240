// The accounting export: the period's new charges as IIF invoices, one per
// customer, then the exported history moved into the "QU" files so that
// nothing is imported twice.

#include <cstdio>
#include <ctime>

#include "conio/iosubs.h"
#include "reports/reports.h"

namespace {

struct Split {
    const char *account;
    int32_t charges::*field;
};

// The order the accounting package lists the invoice lines in.
const Split splits[] = {
    {"Instruction", &charges::instruction},
    {"Tow", &charges::tow},
    {"Rental", &charges::rental},
    {"Gas", &charges::gas},
    {"Misc", &charges::misc_charge},
    {"CreditsMisc", &charges::misc_credit},
    {"Salestax", &charges::salestax},
    {"RopeBreak", &charges::rope_break_charge},
    {"PatternTow", &charges::pattern_tow_charge},
    {"Finance", &charges::financeCharges},
};

void field(const char *text) {
    o_lstring(text, 0, false);
    o_char('\t', 0, false);
}

void amount(long cents) {
    o_fixed_number(cents, 0, false, 10, 2);
    o_char('\t', 0, false);
}

// The first fields of every TRNS and SPL line, up to the account.
void line_start(const char *kind, const char *date, const char *account) {
    field(kind);
    field("INVOICE");
    field(date);
    field(account);
}

const char *export_date() {
    static char text[32];
    time_t when = (time_t)db.curDate;
    struct tm *t = localtime(&when);
    snprintf(text, sizeof text, "%02d/%02d/%02d", t->tm_mon + 1, t->tm_mday, t->tm_year + 1900);
    return text;
}

} // namespace

void w_quickbooksEntry(customer *c, long) {
    export_take(c);
    const charges *ch = c->charges;
    if (!ch)
        return;
    if (ch->next)
        log_error("Charges for %s, %s are a list\n", c->lastname, c->firstname);
    int32_t total = getNewCharges(c);
    if (total == 0)
        return;
    std::string name = std::string(c->lastname) + ", " + c->firstname;
    const char *date = export_date();

    line_start("TRNS", date, "Accounts Receivable");
    field(name.c_str());
    amount(total);
    o_char('\t', 0, false); // no memo
    o_lstring(name.c_str(), 0, false);
    o_newline(0);
    for (const Split &s : splits) {
        int32_t value = ch->*s.field;
        if (value == 0)
            continue;
        line_start("SPL", date, s.account);
        field(name.c_str());
        amount(-(long)value);
        o_lstring(s.account, 0, false);
        o_newline(0);
    }
    o_lstring("ENDTRNS", 0, false);
    o_newline(0);
}

void w_quickbooks() {
    if (club_read_only()) {
        printf("? The club is open read-only: QUICKBOOKS is not available.\n");
        return;
    }
    printf("Once data is written with this command and loaded into QUICKBOOKS\n"
           "it can not be loaded again. Only include the data previously written\n"
           "if you are sure it has not been loaded into QUICKBOOKS.\n");
    bool include = get_yesno("Include data previously written to QUICKBOOKS", "NO");
    do_bills(include ? 1 : 0, false);

    // The only tabs in the file are the field separators.
    bool tabs = set_tabs_allowed(false);
    static const char *const header[] = {"!TRNS\tTRNSTYPE\tDATE\tACCNT\tNAME\tAMOUNT\tMEMO\tADDR1",
                                         "!SPL\tTRNSTYPE\tDATE\tACCNT\tNAME\tAMOUNT\tMEMO",
                                         "!ENDTRNS"};
    for (const char *line : header) {
        o_lstring(line, 0, false);
        o_newline(0);
    }
    export_begin();
    int count = w_selectedClassOrFlag("Customers", w_quickbooksEntry, 0);
    set_tabs_allowed(tabs);
    printf("%d customers output.\n", count);

    // Only a committed export moves records, and the lists read before it
    // no longer match the files once it has.
    if (!export_commit())
        return;
    int left = export_left_for_later();
    free_flights();
    free_gas();
    free_all_payments();
    // The next export recomputes without asking whether to (the
    // statements file of this run stays valid for printing).
    billing.lastReadQuicken = -1;
    printf("History data updated to show what has been output to QUICKBOOKS\n");
    if (left > 0)
        printf("The records of %d customers were left for a later export.\n", left);
}
