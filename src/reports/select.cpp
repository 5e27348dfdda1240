// The customer selection every multi-customer list and export starts with.

#include <cstring>

#include "conio/iosubs.h"
#include "reports/reports.h"

namespace {

const char *const cust_class[] = {"ALL", "CATEGORY", "FLAG", nullptr};
enum { CLASS_ALL, CLASS_CATEGORY, CLASS_FLAG };

bool is_default(const customer *c) {
    return c->category && strcmp(c->category, "DEFAULT") == 0;
}

bool selected(const customer *c, bool all, const char *category, const char *flag) {
    if (all)
        return true;
    if (category)
        return c->category && strcmp(c->category, category) == 0;
    return flag && has_flag(c, flag);
}

} // namespace

bool has_flag(const customer *c, const char *flagName) {
    for (const namelist *f = c->flags; f; f = f->next)
        if (f->name && strcmp(f->name, flagName) == 0)
            return true;
    return false;
}

int passOverCustomers(bool all, const char *category, const char *flag, bool excludeDefault,
                      customer_writer writer, long argument) {
    int count = 0;
    for (customer *c : db.cust_list) {
        if (!selected(c, all, category, flag))
            continue;
        if (excludeDefault && is_default(c))
            continue;
        writer(c, argument);
        count++;
    }
    return count;
}

int w_selectedClassOrFlag(const char *prompt, customer_writer writer, long argument) {
    bool excludeDefault = get_yesno("Exclude DEFAULT accounts", "YES");
    int which = get_list(prompt, "ALL", cust_class, true);
    const char *category = nullptr;
    const char *flag = nullptr;
    switch (which) {
    case CLASS_ALL:
        break;
    case CLASS_CATEGORY:
        category = get_namelist("Billing category", "DEFAULT", db.category_names, true);
        if (!category)
            return 0;
        break;
    case CLASS_FLAG:
        flag = get_namelist("Flag", "BOARDMEMBER", db.flag_names, true);
        if (!flag)
            return 0;
        break;
    default:
        return 0;
    }
    return passOverCustomers(which == CLASS_ALL, category, flag, excludeDefault, writer, argument);
}
