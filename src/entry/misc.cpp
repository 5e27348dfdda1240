// MISC-CHARGES and MISC-CREDITS: charges and credits for one customer, or
// for every customer of a billing category or with a flag, typed into the
// gas temporary file and appended to the gas history on "Remember".
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "conio/iosubs.h"
#include "db/db.h"
#include "entry/dialogue.h"
#include "entry/entry.h"

namespace {

// Whom a group line charges; with neither set it charges nobody, on
// purpose.
struct Group {
    bool active = false;
    const char *category = nullptr;
    const char *flag = nullptr;

    bool matches(customer *c) const {
        if (category != nullptr && c->category != nullptr && strcmp(c->category, category) == 0)
            return true;
        return flag != nullptr && fc_customer_flag(c, flag, false) != nullptr;
    }
};

void announce(bool is_charge, bool by_category, const char *name) {
    printf("%s all customers", is_charge ? "Charging" : "Crediting");
    if (name == nullptr)
        printf(".\n");
    else if (by_category)
        printf(" in category %s.\n", name);
    else
        printf(" with flag %s.\n", name);
}

Group ask_group(bool is_charge) {
    Group group;
    group.active = get_yesno("Apply charge/credit to more than one customer", "NO");
    if (!group.active)
        return group;
    if (get_yesno("Apply charge to all customers in a particular billing category", "YES")) {
        group.category = get_namelist("Billing category", "", db.category_names, true);
        announce(is_charge, true, group.category);
    }
    if (get_yesno("Apply charge/credit to all customers with a particular flag",
                  group.category != nullptr ? "NO" : "YES")) {
        group.flag = get_namelist("Flag", "", db.flag_names, true);
        announce(is_charge, false, group.flag);
    }
    return group;
}

// Each field keeps its last value as the default of the next line.
struct WorkingMisc {
    misc m{};
    char *account = alloc_str("");
    char *date_text = alloc_str(i_convertTimeToString(db.curDate));

    WorkingMisc() {
        m.why = alloc_str("");
        m.taxable = 1;
    }
    ~WorkingMisc() {
        free_misc_contents(&m);
        errfree(account);
        errfree(date_text);
    }
};

// A group line is written once per customer: the reason must fit beside
// the longest name among them.
customer *longest_named(const Group &group) {
    customer *longest = nullptr;
    size_t most = 0;
    for (customer *c : db.cust_list) {
        size_t length = strlen(c->lastname) + strlen(c->firstname);
        if (group.matches(c) && (longest == nullptr || length > most)) {
            longest = c;
            most = length;
        }
    }
    return longest;
}

void ask_amount_and_reason(WorkingMisc &w, const Group &group, bool is_charge) {
    long cents = ask_amount(is_charge ? "Amount of charge" : "Amount of credit", "0.00", 10000,
                            "More than $100.00 are you sure", nullptr);
    w.m.charge = (int32_t)(is_charge ? cents : -cents);
    if (group.active)
        w.m.customer = longest_named(group);
    ask_text(
        &w.m.why, [&w] { return get_line("Charge (credit) made for", w.m.why, false, true); },
        [&w] { o_misc_struct(&w.m, 0, false, true); });
    w.m.taxable = get_yesno("Is charge (credit) taxable", w.m.taxable ? "YES" : "NO") ? 1 : 0;
}

void echo(const WorkingMisc &w, const Group &group, bool is_charge) {
    const misc &m = w.m;
    if (group.active)
        printf("%s Sheet: %d Line: %d\nSeveral accounts are being charged\n", w.date_text, m.sheet,
               m.line);
    else
        printf("%s Sheet: %d Line: %d\nAccount: %s %s\n", w.date_text, m.sheet, m.line,
               m.customer->firstname, m.customer->lastname);
    printf("    %s", is_charge ? "Charge: " : "Credit: ");
    printf("%s", cents_text(labs((long)m.charge)));
    if (!m.taxable)
        printf(" NOT");
    printf(" Taxable For: %s\n", m.why);
}

// One record per customer of the group, in customer order; the count.
int write_group(misc &m, const Group &group) {
    int charged = 0;
    for (customer *c : db.cust_list) {
        if (!group.matches(c))
            continue;
        m.customer = c;
        o_misc_struct(&m, 0, false, true);
        end_record();
        charged++;
    }
    return charged;
}

} // namespace

void do_misc(bool is_charge) {
    maybe_read();
    if (!settle_pending_sheet(db.gastempfile, HistoryKind::GAS))
        return;
    Group group = ask_group(is_charge);
    WorkingMisc w;
    misc &m = w.m;
    m.sheet = ask_sheet();
    if (!open_temporary(db.gastempfile, "gas and misc charges"))
        return;
    temporary_heading(history_heading(HistoryHeading::MISC_SHEET));

    int next = 1;
    for (;;) {
        int line = ask_sheet_line(next, m.sheet, &w.date_text, &m.date);
        if (line == 0)
            break;
        next = line;
        m.line = line;
        if (!group.active)
            m.customer = ask_customer("Account (First Last)", &w.account, true,
                                      "? You must supply an account.\n");
        set_invoice_number(&m.invoice, group.active ? nullptr : w.account);
        ask_amount_and_reason(w, group, is_charge);
        echo(w, group, is_charge);
        if (!line_is_right(true) || !record_fits([&m] { o_misc_struct(&m, 0, false, true); }))
            continue;
        int charged = 1;
        if (group.active) {
            charged = write_group(m, group);
        } else {
            o_misc_struct(&m, 0, false, true);
            end_record();
        }
        next = next_number(line);
        if (group.active && charged > 0) {
            printf("%d customers charged.\n", charged);
            break;
        }
    }
    if (close_temporary())
        remember("Remember these charges/credits in the permanent history file", HistoryKind::GAS,
                 db.gastempfile);
}
