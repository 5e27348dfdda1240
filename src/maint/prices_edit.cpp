// ADD and CHANGE PRICE: an item's fast key and its cost in one billing
// category, kept in thousandths of a dollar.
#include <cstdint>
#include <cstring>
#include <string>

#include "maint/maint.h"

namespace {

// The table flight entry offers by number; an item that gives up its key
// must not stay listed under it.
void set_fast_key(price *item, int key) {
    if (item->fastkey >= 1 && item->fastkey <= FAST_KEYS) {
        char *&old = db.nnumbers[item->fastkey - 1];
        if (old && strcmp(old, item->name) == 0)
            old = static_cast<char *>(errfree(old));
    }
    item->fastkey = key;
    if (key >= 1 && key <= FAST_KEYS) {
        char *&entry = db.nnumbers[key - 1];
        errfree(entry);
        entry = alloc_str(item->name);
    }
}

void ask_fast_key(price *item) {
    for (;;) {
        long key = get_number("Fast key for this item/aircraft (0 if none)", item->fastkey);
        // The range is tested on the key the item had, not on the answer:
        // a new key of 12 is stored as it is.
        if (item->fastkey < 0 || item->fastkey > FAST_KEYS) {
            printf("? Fast key must be between 0 and %d.\n", FAST_KEYS);
            continue;
        }
        if (key < INT32_MIN || key > INT32_MAX) {
            printf("? A fast key can not be larger than %d.\n", INT32_MAX);
            continue;
        }
        if (key != item->fastkey) {
            set_fast_key(item, static_cast<int>(key));
            db.price_changed = 1;
        }
        return;
    }
}

long ask_cost(const price *item, const char *cat) {
    const category *node = find_category(item->cat, cat);
    long cost = node ? node->cost : 0;
    char shown[32];
    if (cost < 0)
        snprintf(shown, sizeof shown, "-%ld.%03ld", -cost / 1000, -cost % 1000);
    else
        snprintf(shown, sizeof shown, "%ld.%03ld", cost / 1000, cost % 1000);
    std::string meaning = std::string(item->name) + ": " + price_meaning(item->name);
    for (;;) {
        long amount = get_fixed_number("New price to charge", 3, shown, true, meaning.c_str());
        if (amount >= INT32_MIN && amount <= INT32_MAX)
            return amount;
        printf("? A price can be at most 2147483.647.\n");
    }
}

} // namespace

void add_price() {
    char *name = get_checked_word("Aircraft or service to price", "", "An item name", ITEM_NAME_MAX,
                                  FIELD_PLAIN);
    if (name[0] == '\0' || strcmp(name, "~") == 0) {
        errfree(name);
        return;
    }
    price *item = fc_item(name);
    errfree(name);
    ask_fast_key(item);
    const char *cat = get_namelist("Billing category", "DEFAULT", db.category_names, false);
    long amount = ask_cost(item, cat);
    if (set_price(item, cat, static_cast<int32_t>(amount), 0))
        mark_prices_changed();
}
