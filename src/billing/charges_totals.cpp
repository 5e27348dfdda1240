// The period totals: the named totals per aircraft and per billing category,
// the misc breakdown, the sums a statement ends with, and the reload that
// starts a bill run.
#include <cstdio>
#include <cstring>
#include <iterator>

#include "billing/billing.h"
#include "conio/iosubs.h"

namespace {

const char *intern_item(const char *name) {
    if (name == nullptr)
        return nullptr;
    auto found = billing.item_names.find(std::string_view(name));
    if (found == billing.item_names.end())
        found = billing.item_names.emplace(name).first;
    return found->c_str();
}

misc_breakdown *new_entry(const char *name, misc_breakdown *next) {
    auto *entry = static_cast<misc_breakdown *>(errmalloc(sizeof(misc_breakdown)));
    entry->next = next;
    entry->charge = 0;
    entry->count = 0;
    entry->item_name = name;
    return entry;
}

// A customer's own breakdown holds a handful of descriptions: the list is
// walked. The list is in descending byte order; the entry without a name
// sits apart at its end and takes no part in the comparisons.
misc_breakdown *find_in_list(charges *ch, const char *name) {
    misc_breakdown **link = &ch->misc_breakdown;
    while (*link != nullptr) {
        misc_breakdown *entry = *link;
        if (name == nullptr ? entry->item_name == nullptr
                            : entry->item_name != nullptr && strcmp(entry->item_name, name) == 0)
            return entry;
        if (name != nullptr && entry->item_name != nullptr && strcmp(entry->item_name, name) < 0)
            break;
        if (name != nullptr && entry->item_name == nullptr)
            break;
        link = &entry->next;
    }
    *link = new_entry(name, *link);
    return *link;
}

misc_breakdown *find_in_index(charges *ch, BreakdownIndex &index, const char *name) {
    if (name == nullptr) {
        if (index.unnamed == nullptr) {
            misc_breakdown **link = &ch->misc_breakdown;
            while (*link != nullptr)
                link = &(*link)->next;
            index.unnamed = *link = new_entry(nullptr, nullptr);
        }
        return index.unnamed;
    }
    auto after = index.named.lower_bound(std::string_view(name));
    if (after != index.named.end() && after->first == name)
        return after->second;
    misc_breakdown **link = &ch->misc_breakdown;
    if (after != index.named.begin())
        link = &std::prev(after)->second->next;
    *link = new_entry(name, *link);
    index.named.emplace_hint(after, std::string_view(name), *link);
    return *link;
}

} // namespace

void add_to_breakdown(charges *ch, const char *item_name, int32_t amount, int count) {
    const char *name = intern_item(item_name);
    auto index = billing.breakdown_index.find(ch);
    misc_breakdown *entry = index == billing.breakdown_index.end()
                                ? find_in_list(ch, name)
                                : find_in_index(ch, index->second, name);
    entry->charge = wrap32(int64_t{entry->charge} + amount);
    entry->count += count;
}

void index_total(const charges *ch) {
    billing.breakdown_index[ch];
}

void drop_total_index(const charges *ch) {
    billing.breakdown_index.erase(ch);
}

charges *fc_charge(const char *name, bool is_aircraft) {
    if (name == nullptr)
        name = "";
    auto after = billing.charges_index.lower_bound(name);
    if (after != billing.charges_index.end() && after->first == name)
        return after->second;
    charges **link = &billing.all_charges;
    if (after != billing.charges_index.begin())
        link = &std::prev(after)->second->next;
    auto *ch = static_cast<charges *>(errmalloc(sizeof(charges)));
    *ch = charges{};
    ch->name = alloc_str(name);
    ch->is_aircraft = is_aircraft ? 1 : 0;
    ch->next = *link;
    *link = ch;
    billing.charges_index.emplace_hint(after, ch->name, ch);
    index_total(ch);
    return ch;
}

void clear_charge(charges *ch) {
    if (ch == nullptr)
        return;
    free_misc_breakdown(ch->misc_breakdown);
    charges *next = ch->next;
    char *name = ch->name;
    *ch = charges{};
    ch->next = next;
    ch->name = name;
    auto index = billing.breakdown_index.find(ch);
    if (index != billing.breakdown_index.end())
        index->second = BreakdownIndex{};
}

void clear_all_charges() {
    for (customer *c : db.cust_list)
        clear_charge(c->charges);
    for (charges *ch = billing.all_charges; ch != nullptr; ch = ch->next)
        clear_charge(ch);
}

void free_charges(charges *list) {
    while (list != nullptr) {
        charges *next = list->next;
        if (list == billing.all_charges) {
            billing.charges_index.clear();
            billing.all_charges = nullptr;
        }
        drop_total_index(list);
        free_misc_breakdown(list->misc_breakdown);
        errfree(list->name);
        errfree(list);
        list = next;
    }
}

void add_charges(charges *to, const charges *from) {
    if (to == nullptr || from == nullptr)
        return;
    auto add = [](int32_t &sum, int32_t part) { sum = wrap32(int64_t{sum} + part); };
    add(to->instruction, from->instruction);
    to->inst_count += from->inst_count;
    to->inst_min = add32(to->inst_min, from->inst_min);
    add(to->tow, from->tow);
    to->tow_count += from->tow_count;
    to->tow_height = add32(to->tow_height, from->tow_height);
    add(to->rental, from->rental);
    to->rental_count += from->rental_count;
    to->rental_min = add32(to->rental_min, from->rental_min);
    to->flight_min = add32(to->flight_min, from->flight_min);
    add(to->salestax, from->salestax);
    add(to->gas, from->gas);
    to->gallons = add32(to->gallons, from->gallons);
    add(to->rope_break_charge, from->rope_break_charge);
    to->rope_break_count += from->rope_break_count;
    add(to->pattern_tow_charge, from->pattern_tow_charge);
    to->pattern_tow_count += from->pattern_tow_count;
    add(to->misc_charge, from->misc_charge);
    to->misc_charge_count += from->misc_charge_count;
    add(to->misc_credit, from->misc_credit);
    to->misc_credit_count += from->misc_credit_count;
    add(to->payments, from->payments);
    to->payment_count += from->payment_count;
    add(to->prev_balance, from->prev_balance);
    add(to->financeCharges, from->financeCharges);
    for (const misc_breakdown *entry = from->misc_breakdown; entry != nullptr; entry = entry->next)
        add_to_breakdown(to, entry->item_name, entry->charge, entry->count);
}

int32_t newCharges(const charges *ch) {
    int64_t sum = int64_t{ch->instruction} + ch->tow;
    sum = wrap32(sum + ch->rental);
    sum = wrap32(sum + ch->gas);
    sum = wrap32(sum + ch->rope_break_charge);
    sum = wrap32(sum + ch->financeCharges);
    sum = wrap32(sum + ch->misc_charge);
    sum = wrap32(sum + ch->salestax);
    return wrap32(sum + ch->pattern_tow_charge);
}

int32_t getNewCharges(const customer *c) {
    if (c == nullptr || c->charges == nullptr)
        return 0;
    return wrap32(int64_t{newCharges(c->charges)} + c->charges->misc_credit);
}

int32_t getCurrentBalance(const customer *c) {
    if (c == nullptr || c->charges == nullptr)
        return 0;
    return wrap32(int64_t{wrap32(int64_t{getNewCharges(c)} + c->charges->prev_balance)} -
                  c->charges->payments);
}

bool any_charges(const customer *c) {
    return c != nullptr && (c->balance != 0 || !c->flights.empty() || !c->gas.empty() ||
                            !c->misc.empty() || !c->payments.empty());
}

void chargesOverDates(bool force) {
    free_charges(billing.all_charges);
    billing.all_charges = nullptr;
    billing.charges_index.clear();
    if (get_yesno("Bills for specific dates only", "NO")) {
        char *start = get_date("Charges after and including (mm-dd-yy)",
                               billing.bills_started ? billing.bills_started
                                                     : i_convertTimeToString(db.curDate));
        replace_str(&billing.bills_started, start);
        errfree(start);
        char *end = get_date("Charges before and including (mm-dd-yy)",
                             billing.bills_ended ? billing.bills_ended : billing.bills_started);
        replace_str(&billing.bills_ended, end);
        errfree(end);
    } else {
        billing.bills_started = (char *)errfree(billing.bills_started);
        billing.bills_ended = (char *)errfree(billing.bills_ended);
    }
    maybe_read();
    clear_all_charges();
    // Each loader rereads only what changed: entry drops a list it has
    // appended to, and a different mode brings the exported records in or
    // out.
    do_r_balances();
    do_r_flights(force);
    do_r_payments(force);
    do_r_gas(force);
    fc_cust("CASH", "", true);
}
