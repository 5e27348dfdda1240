// REMOVE: the menu, and the removal of an abbreviation, a customer or an
// item's prices. The transactions of the period are removed in
// remove_transactions.cpp.
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string>
#include <sys/stat.h>

#include "conio/iosubs.h"
#include "maint/maint.h"
#include "maint/remove.h"

namespace {

bool file_exists(const char *name) {
    struct stat st;
    return name != nullptr && stat(name, &st) == 0;
}

// Balances decide whether a customer may go. A balances file that is
// there but could not be read would make every balance look settled; the
// reader takes a file it can open but not read for an empty one, so the
// file is tried here too. A club without a balances file has none owing.
bool balances_known() {
    if (!file_exists(db.balancesfile))
        return true;
    bool readable = db.balances_read != 0;
    if (readable) {
        FILE *file = fopen(db.balancesfile, "r");
        readable = file != nullptr && (fgetc(file), ferror(file) == 0);
        if (file != nullptr)
            fclose(file);
    }
    if (readable)
        return true;
    printf("? \"%s\" could not be read; nothing was removed.\n", db.balancesfile);
    return false;
}

// Asks until an existing name or "~" is typed; nullptr for "~".
template <class List> auto ask_existing(const char *prompt, const List &list, const char *what) {
    for (;;) {
        char *word = get_word(prompt, "", true);
        if (strcmp(word, "~") == 0) {
            errfree(word);
            return decltype(list.head())(nullptr);
        }
        if (auto found = list.find(std::string_view(word))) {
            errfree(word);
            return found;
        }
        printf("? No such %s \"%s\". Type \"~\" to exit.\n", what, word);
        errfree(word);
    }
}

// A fast key of flight entry names an item by its name. With the item gone
// the key goes to the item a fresh read of the written prices file would
// give it, the last other item holding that key, or to none.
void forget_fast_key(const price *item) {
    if (item->fastkey < 1 || item->fastkey > FAST_KEYS)
        return;
    char *&entry = db.nnumbers[item->fastkey - 1];
    if (entry == nullptr || strcmp(entry, item->name) != 0)
        return;
    const price *heir = nullptr;
    for (const price *p : db.price_list)
        if (p != item && p->fastkey == item->fastkey)
            heir = p;
    if (heir != nullptr)
        replace_str(&entry, heir->name);
    else
        entry = static_cast<char *>(errfree(entry));
}

const char *const removes[] = {"ABBREVIATION",
                               "CATEGORY",
                               "CUSTOMER",
                               "FLAG",
                               "FLIGHTS",
                               "GAS-SALES",
                               "MISC-CHARGES-OR-CREDITS",
                               "PAYMENTS",
                               "PRICES",
                               "",
                               nullptr};

} // namespace

bool records_complete() {
    const char *name = unreadable_source();
    if (name == nullptr)
        return true;
    printf("? \"%s\" could not be read; nothing was removed.\n", name);
    return false;
}

void do_remove() {
    switch (get_list("Choose what to remove", "ABBREVIATION", removes, true)) {
    case 0:
        rmv_abbrev();
        break;
    case 1:
        printf("? Categories will automatically get removed when there are\n");
        printf("    no more customers of that category.\n");
        break;
    case 2:
        rmv_cust();
        break;
    case 3:
        printf("? Flags will automatically get removed when there are\n");
        printf("    no more customers with that flag.\n");
        break;
    case 4:
        rmv_flights();
        break;
    case 5:
        rmv_gas_sales();
        break;
    case 6:
        rmv_misc();
        break;
    case 7:
        rmv_payments();
        break;
    case 8:
        rmv_prices();
        break;
    default: // "~", or the menu's empty entry
        break;
    }
}

void rmv_abbrev() {
    maybe_read();
    abbrev *a = ask_existing("Abbreviation to remove", db.abbrevs, "abbreviation");
    if (a == nullptr)
        return;
    printf("Removing abbreviation \"%s\" lastname: \"%s\" firstname: \"%s\".\n", a->name,
           a->lastname, a->firstname);
    if (!unlink_abbrev(a)) {
        printf("? Data structure is bad, can not remove abbreviation.\n");
        printf("abbreviation should have been in list.\n");
        return;
    }
    free_abbrev(a);
    db.abbrev_changed = 1;
}

void rmv_prices() {
    maybe_read();
    price *item = ask_existing("Aircraft or service to remove prices for", db.price_list, "price");
    if (item == nullptr)
        return;
    printf("Removing prices for \"%s\"\n", item->name);
    if (!unlink_price(item)) {
        printf("? Data structure is bad, can not remove price.\n");
        printf("    price should have been in price list.\n");
        return;
    }
    forget_fast_key(item);
    free_price(item);
    // Bills computed with the item's prices no longer hold.
    mark_prices_changed();
}

void rmv_cust() {
    do_r_all();
    if (!records_complete() || !balances_known())
        return;
    customer *c = nullptr;
    int how = 0;
    errfree(get_account("Customer to remove (First Last)", "", false, &c, &how));
    if (c == nullptr || how == ACCOUNT_TILDE)
        return;

    // Records of the period, including those already exported, tie a
    // customer to the books: the first kind found is named.
    if (!c->payments.empty()) {
        printf("? This customer has made a payment in the current month and should not be "
               "removed.\n");
        return;
    }
    if (!c->flights.empty()) {
        printf("? This customer has made a flight in the current month and should not be "
               "removed.\n");
        return;
    }
    if (!c->gas.empty()) {
        printf("? This customer has bought gas in the current month and should not be "
               "removed.\n");
        return;
    }
    if (!c->misc.empty()) {
        printf("? This customer has a misc charge in the current month and should not be "
               "removed.\n");
        return;
    }
    // Money still owed either way keeps the customer, without a word: the
    // treasurer settles it with an adjustment and removes the customer the
    // month after.
    if (c->balance != 0)
        return;
    if (!get_yesno("Do you want to remove this customer", "NO"))
        return;

    if (!unlink_customer(c)) {
        printf("? Data structure is bad, can not remove customer.\n");
        printf("customer should have been in list.\n");
        return;
    }
    free_customer(c);
    db.cust_changed = 1;
}
