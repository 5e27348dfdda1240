// The price list, per-category costs, rate lookup and the two pricing
// formulas that turn a rate and a quantity into cents.
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "db/db.h"

namespace {

const char *const default_category = "DEFAULT";

// A statement prices each flight several times over, so the sorted list's
// tree walk of string compares is answered instead by one probe of an open
// table (a few dozen items, mostly found at the first slot). The table is
// remade whenever the price list has changed since.
class ItemsByName {
  public:
    price *find(const char *name) {
        if (version_ != db.price_list.version())
            rebuild();
        size_t length = 0;
        uint32_t h = hash(name, length);
        for (size_t i = h & mask_;; i = (i + 1) & mask_) {
            const Slot &s = slots_[i];
            if (s.item == nullptr)
                return nullptr;
            if (s.hash == h && s.length == length && memcmp(s.item->name, name, length) == 0)
                return s.item;
        }
    }

  private:
    struct Slot {
        uint32_t hash = 0;
        size_t length = 0;
        price *item = nullptr;
    };

    // Item names are short words that differ near one end or the other
    // ("TOW-SALESTAX", "INS-SALESTAX"): their length and first and last
    // eight bytes make the hash, a few instructions whatever the name.
    static uint32_t hash(const char *name, size_t &length) {
        length = strlen(name);
        uint64_t head = 0, tail = 0;
        memcpy(&head, name, length < 8 ? length : 8);
        if (length > 8)
            memcpy(&tail, name + length - 8, 8);
        uint64_t h = head * 0x9E3779B97F4A7C15ULL ^ (tail + length) * 0xC2B2AE3D27D4EB4FULL;
        return static_cast<uint32_t>(h >> 32);
    }

    void rebuild() {
        size_t size = 16;
        while (size < db.price_list.size() * 4)
            size *= 2;
        slots_.assign(size, Slot{});
        mask_ = size - 1;
        for (price *p : db.price_list) {
            Slot s;
            s.hash = hash(p->name, s.length);
            s.item = p;
            size_t i = s.hash & mask_;
            while (slots_[i].item != nullptr)
                i = (i + 1) & mask_;
            slots_[i] = s;
        }
        version_ = db.price_list.version();
    }

    std::vector<Slot> slots_ = std::vector<Slot>(1);
    size_t mask_ = 0;
    uint64_t version_ = 0;
};
ItemsByName by_name;

price *find_item(const char *name) {
    return by_name.find(name);
}

bool is_empty(const char *text) {
    return text == nullptr || text[0] == '\0';
}

} // namespace

price *fc_item(const char *name) {
    if (name == nullptr)
        name = "";
    if (price *item = find_item(name))
        return item;

    price *item = static_cast<price *>(errmalloc(sizeof(price)));
    item->name = alloc_str(name);
    item->cat = nullptr;
    item->fastkey = 0;
    return db.price_list.insert(item->name, item);
}

category *find_category(category *cat_list, const char *name) {
    if (name == nullptr)
        return nullptr;
    for (category *cat = cat_list; cat != nullptr; cat = cat->next)
        if (cat->name != nullptr && strcmp(cat->name, name) == 0)
            return cat;
    return nullptr;
}

bool set_price(price *item, const char *category_name, int32_t cost, int line) {
    if (item == nullptr || is_empty(category_name))
        return false;
    category *cat = find_category(item->cat, category_name);
    if (cat == nullptr) {
        cat = static_cast<category *>(errmalloc(sizeof(category)));
        cat->name = fc_category(category_name);
        cat->cost = cost;
        cat->is_default = strcmp(category_name, default_category) == 0;
        cat->next = item->cat; // newest category first
        item->cat = cat;
        return true;
    }
    if (cat->cost == cost)
        return false;
    printf("? Changing price. Old price: %ld.%ld New price: %ld.%ld\n", (long)(cat->cost / 1000),
           (long)(cat->cost % 1000), (long)(cost / 1000), (long)(cost % 1000));
    if (line != 0)
        printf("    On line %d\n", line);
    cat->cost = cost;
    return true;
}

namespace {

int32_t rate_of(const price *item, const char *item_name, const char *category_name, bool report) {
    if (item_name == nullptr) {
        if (report)
            printf("? No item to price.\n");
        return 0;
    }
    if (item_name[0] == '\0') {
        if (report)
            printf("? item \"\" has no price.\n");
        return 0;
    }
    if (item == nullptr) {
        if (report)
            printf("? No price for item \"%s\"\n", item_name);
        return 0;
    }
    const char *wanted = category_name ? category_name : default_category;
    int32_t fallback = 0;
    for (category *cat = item->cat; cat != nullptr; cat = cat->next) {
        if (cat->name == nullptr)
            continue;
        // Category names are interned, so the same pointer mostly answers;
        // a first letter that differs settles most of the rest without a
        // library call.
        if (cat->name == wanted || (cat->name[0] == wanted[0] && strcmp(cat->name, wanted) == 0))
            return cat->cost;
        if (cat->is_default)
            fallback = cat->cost;
    }
    // Neither the customer's category nor DEFAULT priced here: silently free.
    return fallback;
}

} // namespace

int32_t lookup_rate(const char *item_name, const char *category_name, bool report) {
    price *item = is_empty(item_name) ? nullptr : find_item(item_name);
    return rate_of(item, item_name, category_name, report);
}

price *PriceItem::find() {
    if (version_ != db.price_list.version()) {
        item_ = is_empty(name_) ? nullptr : find_item(name_);
        version_ = db.price_list.version();
    }
    return item_;
}

int32_t lookup_rate(PriceItem &item, const char *category_name, bool report) {
    return rate_of(item.find(), item.name(), category_name, report);
}

const char *categoryOnDate(date_t date, customer *c) {
    (void)date;
    if (c == nullptr)
        return nullptr;
    // The prior category is kept with the customer and written back to the
    // customer file, but this version prices every transaction at the
    // current category whatever its date. Billing results depend on that.
    return c->category;
}

int32_t gas_price(const char *grade, int gallons, customer *c) {
    const char *cat = c ? c->category : nullptr;
    int32_t rate = lookup_rate(grade, cat, false);
    if (rate == 0 && grade != nullptr && (strcmp(grade, "100") == 0 || strcmp(grade, "80") == 0)) {
        std::string item = std::string("GAS") + grade;
        rate = lookup_rate(item.c_str(), cat, false);
    }
    if (rate == 0)
        rate = lookup_rate(grade, cat, true); // again, to say why it is free
    int32_t amount = wrap32(int64_t{gallons} * rate);
    return (amount / 10 + 5) / 10;
}

int32_t calc_price(int32_t quantity, const char *category_name, PriceItem &item, PriceItem *minimum,
                   PriceItem *extra) {
    int32_t q = quantity;
    if (minimum != nullptr) {
        int32_t least = lookup_rate(*minimum, category_name, true);
        if (q < least)
            q = least;
    }
    if (extra != nullptr)
        q = wrap32(int64_t{q} + lookup_rate(*extra, category_name, true));
    int32_t rate = lookup_rate(item, category_name, true);
    int32_t amount = wrap32(wrap32(int64_t{rate} * q) + int64_t{5000});
    return amount / 10000;
}
