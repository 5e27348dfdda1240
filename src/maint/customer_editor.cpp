// ADD CUSTOMER, CHANGE CUSTOMER and the customer editor, which the account
// prompt also opens for a customer it has just created.
#include <cstring>

#include "maint/maint.h"

namespace {

bool same_text(const char *a, const char *b) {
    return strcmp(a ? a : "", b ? b : "") == 0;
}

bool choose_category(customer *c) {
    const char *chosen = nullptr;
    while (!chosen) {
        chosen = get_namelist("Billing category", c->category, db.category_names, true);
        if (!chosen && get_yesno("Create a new category", "YES"))
            create_category();
    }
    printf("Billing category: %s\n", chosen);
    bool changed = !same_text(chosen, c->category);
    c->category = chosen;
    return changed;
}

bool choose_cash(customer *c) {
    printf("CREDIT accounts accumulate charges and are billed later.\n");
    printf("CASH accounts have already paid and are recorded for record\n");
    printf("  keeping only.\n");
    char cash = get_yesno("Is this a cash account", c->cash ? "YES" : "NO") ? 1 : 0;
    bool changed = cash != c->cash;
    c->cash = cash;
    return changed;
}

bool edit_phones(customer *c) {
    static const char *const prompts[3] = {"Home phone", "Work phone", "Local phone"};
    bool changed = false;
    for (int i = 0; i < 3; i++) {
        char *number = nullptr;
        for (;;) {
            number = get_phone(prompts[i], c->phone[i]);
            if (field_ok("A phone number", number, DATA_LINE_MAX, FIELD_NO_DASH) &&
                phones_fit(c, i, number))
                break;
            errfree(number);
        }
        if (update_phone(c, number, i))
            changed = true;
        printf("New phone number %s\n", number);
        errfree(number);
    }
    return changed;
}

bool edit_address(customer *c) {
    bool changed = false;
    for (int i = 0; i < 4; i++) {
        char prompt[32];
        snprintf(prompt, sizeof prompt, "Address line %d", i + 1);
        char *text = get_checked_line(prompt, c->addr[i], false, true, "An address line",
                                      DATA_LINE_MAX, FIELD_NO_DASH);
        if (update_address(c, text, i))
            changed = true;
        errfree(text);
    }
    return changed;
}

// A line of the record that may be absent: a blank answer stores none.
bool edit_optional(const char *prompt, const char *what, char **field) {
    char *text = get_checked_line(prompt, *field, false, true, what, DATA_LINE_MAX, FIELD_NO_DASH);
    bool changed = !same_text(text, *field);
    errfree(*field);
    if (is_blank(text)) {
        *field = nullptr;
        errfree(text);
    } else {
        *field = text;
    }
    return changed;
}

// The flag to attach, or null when the user declines to create one.
const char *choose_flag(const customer *c) {
    for (;;) {
        const char *flag =
            get_namelist("Choose flag (~ to add a flag to the list)", "", db.flag_names, true);
        if (flag) {
            if (flags_fit(c, flag))
                return flag;
            continue;
        }
        if (!get_yesno("Create a new flag", "YES"))
            return nullptr;
        create_flag();
    }
}

bool edit_flags(customer *c) {
    bool changed = false;
    if (c->flags) {
        printf("Current flags: ");
        fflush(stdout);
        w_mbr_flags(c);
        fflush(get_o_file());
        printf("\n");
    }
    if (get_yesno("Remove all flags", "NO")) {
        free_namelist(c->flags, false);
        c->flags = nullptr;
        changed = true;
    }
    while (get_yesno("Add a flag", "NO")) {
        changed = true;
        const char *flag = choose_flag(c);
        if (!flag)
            break;
        printf("Flag added: %s\n", flag);
        fc_customer_flag(c, flag, true);
    }
    return changed;
}

} // namespace

void modify_customer(customer *c) {
    if (!c)
        return;
    printf("Working on %s %s\n", c->firstname, c->lastname);
    bool changed = choose_category(c);
    changed |= choose_cash(c);
    changed |= edit_phones(c);
    changed |= edit_address(c);

    char *info = get_checked_line("Info line", c->info, false, true, "The info line", DATA_LINE_MAX,
                                  FIELD_NO_DASH);
    if (!same_text(info, c->info))
        changed = true;
    errfree(c->info);
    c->info = info;

    changed |= edit_optional("Contest Number", "The contest number", &c->contestNumber);
    changed |= edit_optional("Name of spouse", "The name of the spouse", &c->spouse);
    changed |= edit_optional("eMail Address", "The e-mail address", &c->eMail);
    changed |= edit_flags(c);
    if (changed) {
        db.cust_changed = 1;
        // Statements show the category, the address and the flags.
        db.bills_computed = 0;
    }
}

void add_cust() {
    char *first = get_checked_name("Full first name", "", true, CUSTOMER_NAMES_MAX);
    if (strcmp(first, "~") == 0) {
        errfree(first);
        return;
    }
    char *last = nullptr;
    for (;;) {
        last = get_checked_name("Full last name", "", true, CUSTOMER_NAMES_MAX);
        // The two names share one line of the balances file.
        if (strlen(first) + strlen(last) <= CUSTOMER_NAMES_MAX || strcmp(last, "~") == 0)
            break;
        printf("? The first and last names together can be at most %d characters long.\n",
               CUSTOMER_NAMES_MAX);
        errfree(last);
    }
    if (strcmp(last, "~") == 0) {
        errfree(first);
        errfree(last);
        return;
    }
    if (is_blank(first) && is_blank(last)) {
        printf("? blank names are not allowed\n");
        errfree(first);
        errfree(last);
        return;
    }
    customer *c = fc_cust(last, first, false);
    if (c) {
        printf("Customer already exists.\n");
    } else {
        printf("Creating new customer\n");
        c = fc_cust(last, first, true);
        db.cust_changed = 1;
    }
    errfree(first);
    errfree(last);
    modify_customer(c);
}

void chg_cust() {
    customer *c = nullptr;
    int how = 0;
    errfree(get_account("Customer name (First Last)", "", true, &c, &how));
    if (!c || how == ACCOUNT_ADDED)
        return;
    if (how == ACCOUNT_FOUND)
        printf("Existing account\n");
    modify_customer(c);
}
