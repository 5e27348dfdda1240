// The checks of one record at a time: accounts, prices as the bill run
// would look them up, tows, fuel grades and payments; and the customers'
// e-mail addresses.
#include <cstdarg>
#include <cstring>
#include <iterator>

#include "conio/iosubs.h"
#include "entry/verify.h"

namespace {

enum { ROPE_BREAK = 3, PATTERN_TOW = 4, INSTRUCTIONAL = 2 };
// Payments from here on are confirmed at entry; without a check number
// they are the ones worth a second look.
enum { CONFIRMED_PAYMENT = 50000 };

std::string did_you_mean(const std::string &name) {
    return name.empty() ? "" : " (did you mean " + name + "?)";
}

bool has_address(const customer *c) {
    for (const char *line : c->addr)
        if (line != nullptr && !is_blank(line))
            return true;
    return false;
}

bool is_priced(const char *item) {
    return db.price_list.find(std::string_view(item)) != nullptr;
}

} // namespace

Verifier::Verifier(FILE *out) : out_(out) {
    for (const price *p : db.price_list)
        items_.emplace_back(p->name);
    // The tow planes the club has are those of the prices file; a name that
    // entry added to the table since is the one to look at.
    FILE *prices = fopen(db.pricefile, "r");
    if (prices == nullptr)
        return;
    char line[256];
    char name[65];
    while (fgets(line, sizeof line, prices) != nullptr)
        if (sscanf(line, " $TUG %64s", name) == 1)
            tugs_.emplace_back(uc_string(name));
    fclose(prices);
}

void Verifier::say(const char *file, int line, const char *format, ...) {
    count_++;
    if (file != nullptr)
        fprintf(out_, "%s line %d: ", file, line);
    va_list args;
    va_start(args, format);
    vfprintf(out_, format, args);
    va_end(args);
    fputc('\n', out_);
}

// Customers sort by last name, so a slip after the first letters lands
// next to the name meant: the neighbours are the candidates.
const std::string &Verifier::account_suggestion(const char *account) {
    auto [hit, added] = suggested_.try_emplace(account);
    if (!added)
        return hit->second;
    std::string last, first;
    parse_name(account, last, first);
    std::vector<std::string> near;
    for (const customer *c : db.cust_list.around(std::pair(last, first), 4))
        near.push_back(std::string(c->lastname) + "," + c->firstname);
    hit->second = did_you_mean(nearest_name((last + "," + first).c_str(), near));
    return hit->second;
}

bool Verifier::account_known(const char *file, int line, const char *account, customer *c) {
    if (c == nullptr) {
        say(file, line, "account \"%s\" is not in the customer file: billed to CASH%s", account,
            account_suggestion(account).c_str());
        return false;
    }
    if (!c->cash && strcmp(c->lastname, "CASH") != 0 && !has_address(c) &&
        addressless_seen_.insert(c).second)
        say(file, line, "%s %s has no address (added at an account prompt?)%s", c->firstname,
            c->lastname, account_suggestion(account).c_str());
    return true;
}

void Verifier::priced(const char *file, int line, const char *what, const char *item,
                      const customer *c, const std::vector<std::string> &names) {
    if (lookup_rate(item, c->category, false) != 0)
        return;
    say(file, line, "%s%s has no price for %s%s", what, item, c->category,
        did_you_mean(nearest_name(item, names)).c_str());
}

void Verifier::tow(const char *file, int line, const FlightFacts &f) {
    if (f.towplane[0] != '\0') {
        bool known = false;
        for (const std::string &tug : tugs_)
            known = known || tug == f.towplane;
        if (!known)
            say(file, line, "tow plane %s is not in the prices file%s", f.towplane,
                did_you_mean(nearest_name(f.towplane, tugs_)).c_str());
    }
    if (f.towheight > 0 && lookup_rate("HOOKUP", f.c->category, false) == 0 &&
        lookup_rate("THOUSAND", f.c->category, false) == 0)
        say(file, line, "tow has no price for %s (HOOKUP, THOUSAND)", f.c->category);
}

void Verifier::flight(const char *file, int line, const FlightFacts &f) {
    days_[f.date].push_back({f.number, line, plane_id(f.plane), f.start, f.end});
    if (f.end == f.start)
        say(file, line, "flight %d of %s lasted zero minutes", f.number,
            i_convertTimeToString(f.date));
    else if (f.end < f.start)
        say(file, line, "flight %d of %s landed before it took off", f.number,
            i_convertTimeToString(f.date));
    if (!account_known(file, line, f.account, f.c))
        return;
    const char *cat = f.c->category;
    const char *type = flight_types[f.type];
    if (f.type == ROPE_BREAK || f.type == PATTERN_TOW) {
        if (lookup_rate(type, cat, false) == 0)
            say(file, line, "%s flight prices nothing for %s", type, cat);
        return;
    }
    bool club_aircraft = lookup_rate(f.plane, cat, false) != 0;
    if (!club_aircraft) {
        std::string near = nearest_name(f.plane, items_);
        if (is_priced(f.plane) || !near.empty())
            priced(file, line, "", f.plane, f.c, items_);
        else if (private_seen_.insert(f.plane).second)
            say(file, line, "%s is not in the prices file: billed as a private aircraft", f.plane);
    }
    tow(file, line, f);
    bool tow_priced = f.towheight > 0 && (lookup_rate("HOOKUP", cat, false) != 0 ||
                                          lookup_rate("THOUSAND", cat, false) != 0);
    bool instruction = false;
    if (f.type == INSTRUCTIONAL) {
        const char *item = club_aircraft ? "INSTRUCTION" : "PVT-INSTRUCTION";
        instruction = lookup_rate(item, cat, false) != 0;
        if (!instruction)
            say(file, line, "INSTRUCTIONAL flight prices no instruction for %s (%s)", cat, item);
    }
    if (!club_aircraft && !tow_priced && !instruction)
        say(file, line, "%s flight prices nothing for %s", type, cat);
}

void Verifier::gas_sale(const char *file, int line, const char *account, customer *c,
                        const char *grade) {
    if (!account_known(file, line, account, c))
        return;
    if (fc_gas_grade(grade, false) == nullptr) {
        std::vector<std::string> grades;
        for (const namelist *g = db.gas_grades; g != nullptr; g = g->next)
            grades.emplace_back(g->name);
        say(file, line, "fuel grade %s is not in the prices file: sold as GAS100%s", grade,
            did_you_mean(nearest_name(grade, grades)).c_str());
        return;
    }
    std::string fallback = std::string("GAS") + grade;
    bool old_name = strcmp(grade, "100") == 0 || strcmp(grade, "80") == 0;
    if (old_name && lookup_rate(fallback.c_str(), c->category, false) != 0)
        return;
    priced(file, line, "fuel grade ", grade, c, {});
}

void Verifier::misc_line(const char *file, int line, const char *account, customer *c) {
    account_known(file, line, account, c);
}

void Verifier::payment(const char *file, int line, const char *account, customer *c, int32_t amount,
                       int32_t check) {
    if (!account_known(file, line, account, c))
        return;
    if (c->cash)
        say(file, line, "payment from %s %s, a cash customer", c->firstname, c->lastname);
    if (check == 0 && amount >= CONFIRMED_PAYMENT)
        say(file, line, "payment of $%ld.%02ld from %s %s has no check number", (long)amount / 100,
            (long)amount % 100, c->firstname, c->lastname);
}

void Verifier::email_addresses() {
    for (const customer *c : db.cust_list)
        if (c->eMail != nullptr && !is_blank(c->eMail) && !plausible_email(c->eMail))
            say(nullptr, 0, "Customer %s %s: e-mail address \"%s\" cannot be an address",
                c->firstname, c->lastname, c->eMail);
}
