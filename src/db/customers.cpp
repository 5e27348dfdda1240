// Finding customers by name, the abbreviation list, and the two prompts
// that ask for a name or an account.
//
// cust_list is sorted by last and first name; the exact-name index beside
// it answers the lookups of names typed or read in full.

#include <cctype>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>

#include "db/completion.h"
#include "db/db.h"

void (*modify_customer_hook)(customer *c) = nullptr;

namespace {

enum { ACCOUNT_NAMES_MAX = 200 - 2 - 11 };

customer *new_customer(const char *lastname, const char *firstname) {
    auto *c = static_cast<customer *>(errmalloc(sizeof(customer)));
    c->next = nullptr;
    c->flights = {};
    c->gas = {};
    c->misc = {};
    c->payments = {};
    c->tow_height_sum = 0;
    c->charges = nullptr;
    c->balance = 0;
    c->lastname = alloc_str(lastname);
    c->firstname = alloc_str(firstname);
    c->category = fc_category(strcmp(lastname, "CASH") == 0 ? "CASH" : "DEFAULT");
    c->transitionDate = 0;
    c->priorCategory = nullptr;
    c->flags = nullptr;
    c->shareholder = 0;
    c->boardmember = 0;
    c->granite = 0;
    c->cash = 0;
    c->info = alloc_str("");
    c->contestNumber = nullptr;
    c->spouse = nullptr;
    for (char *&p : c->phone)
        p = alloc_str("");
    c->eMail = nullptr;
    for (char *&a : c->addr)
        a = alloc_str("");
    return c;
}

bool is_white(char ch) {
    return isspace(static_cast<unsigned char>(ch)) != 0;
}

// "LAST, FIRST" or "FIRST LAST", as parse_name reads it, as views into text.
void split_name(const char *text, std::string_view &lastname, std::string_view &firstname) {
    lastname = firstname = std::string_view();
    if (!text)
        return;
    if (const char *comma = strchr(text, ',')) {
        lastname = std::string_view(text, comma - text);
        const char *p = comma + 1;
        while (*p && is_white(*p))
            p++;
        firstname = p;
        return;
    }
    const char *p = text;
    while (*p && !is_white(*p))
        p++;
    if (*p) {
        firstname = std::string_view(text, p - text);
        while (*p && is_white(*p))
            p++;
        lastname = p;
        return;
    }
    lastname = text;
}

} // namespace

customer *fc_cust(const char *lastname, const char *firstname, bool create) {
    if (!lastname)
        lastname = "";
    if (!firstname)
        firstname = "";
    if (customer *exact = db.cust_exact.find(lastname, firstname))
        return exact;
    if (!create)
        return nullptr;
    customer *c = new_customer(lastname, firstname);
    db.cust_list.insert({lastname, firstname}, c);
    db.cust_exact.insert(lastname, firstname, c);
    return c;
}

customer *find_cust(const char *lastname, const char *firstname) {
    if (!lastname)
        lastname = "";
    if (!firstname)
        firstname = "";
    // An exact match wins wherever it stands, and no two prefix matches can
    // sort before it, so it is the answer without a walk.
    if (customer *exact = db.cust_exact.find(lastname, firstname))
        return exact;
    size_t last_len = strlen(lastname);
    size_t first_len = strlen(firstname);

    // Every customer whose last name starts with the given one sorts at or
    // after the given name with an empty first name, and nothing before that
    // point could stop the walk, so the walk may begin there.
    customer *c = db.cust_list.lower_bound(std::pair<std::string, std::string>(lastname, ""));

    customer *candidate = nullptr;
    for (; c; c = c->next) {
        if (strcmp(c->lastname, lastname) == 0 && strcmp(c->firstname, firstname) == 0)
            return c;
        if (strncmp(lastname, c->lastname, last_len) < 0)
            break;
        if (strncmp(lastname, c->lastname, last_len) == 0 &&
            strncmp(firstname, c->firstname, first_len) == 0) {
            if (!candidate) {
                candidate = c;
            } else {
                printf("? More than one customer matches the name \"%s %s\"\n", firstname,
                       lastname);
                printf("    Two of these customers are:\n");
                printf("\t\"%s %s\"\n", candidate->firstname, candidate->lastname);
                printf("\t\"%s %s\"\n", c->firstname, c->lastname);
                return nullptr;
            }
        }
    }
    return candidate;
}

customer *lookup_account(const char *text, bool use_abbrevs) {
    if (!text)
        text = "";
    if (text[0] == '#' || isdigit(static_cast<unsigned char>(text[0])))
        return fc_cust("CASH", "", true);
    if (use_abbrevs) {
        abbrev *a = fc_abbrev(text, nullptr, nullptr, false);
        if (a)
            return find_cust(a->lastname, a->firstname);
    }
    std::string_view lastname, firstname;
    split_name(text, lastname, firstname);
    // Nearly every account read from a history file is a name in full: the
    // index answers it without copying the two names out.
    if (customer *exact = db.cust_exact.find(lastname, firstname))
        return exact;
    return find_cust(std::string(lastname).c_str(), std::string(firstname).c_str());
}

uint32_t account_hint(const char *text, size_t length) {
    char upper[128];
    if (length >= sizeof upper)
        return 0;
    // Plain ASCII: a guess need not follow the locale the lookup does.
    for (size_t i = 0; i < length; i++) {
        char ch = text[i];
        upper[i] = ch >= 'a' && ch <= 'z' ? static_cast<char>(ch - 'a' + 'A') : ch;
    }
    upper[length] = '\0';
    std::string_view lastname, firstname;
    split_name(upper, lastname, firstname);
    return ExactNameIndex::hash_of(lastname, firstname);
}

void parse_name(const char *text, std::string &lastname, std::string &firstname) {
    std::string_view last, first;
    split_name(text, last, first);
    lastname.assign(last);
    firstname.assign(first);
}

void normalize_name(char *text) {
    if (!text)
        return;
    uc_string(text);
    if (strchr(text, ','))
        return;
    char *blank = text;
    while (*blank && *blank != ' ' && *blank != '\t' && *blank != '\n')
        blank++;
    if (!*blank)
        return;
    std::string first(text, blank);
    std::string rest(blank + 1);
    std::string result = rest;
    if (!rest.empty())
        result += ' ';
    result += first;
    // The result never exceeds the original: one blank is traded for one.
    memcpy(text, result.c_str(), result.size() + 1);
}

abbrev *fc_abbrev(const char *name, const char *lastname, const char *firstname, bool create) {
    if (!name || strcmp(name, "~") == 0)
        return nullptr;
    if (abbrev *known = db.abbrevs.find(std::string_view(name)))
        return known;
    if (!create)
        return nullptr;

    auto *a = static_cast<abbrev *>(errmalloc(sizeof(abbrev)));
    a->name = alloc_str(name);
    a->lastname = alloc_str(lastname);
    a->firstname = alloc_str(firstname);
    return db.abbrevs.insert(name, a);
}

char *get_name(const char *prompt, const char *def, bool allow_blank) {
    for (;;) {
        char *line = getuser(prompt, def, true);
        char bad = 0;
        // A "!" would turn the customer's name line into a comment of the
        // customer file, and the record would be lost at the next load.
        for (char *p = line; *p; p++) {
            if (*p == ',' || *p == '?' || *p == '!') {
                bad = *p;
                break;
            }
            if (is_white(*p))
                *p = ' ';
        }
        if (bad) {
            printf("? Names can not contain the character %c\n", bad);
        } else if (!allow_blank && is_blank(line)) {
            printf("? This name can not be blank.\n");
        } else {
            return line;
        }
        errfree(line);
    }
}

char *get_account(const char *prompt, const char *def, bool allow_add, customer **customer_out,
                  int *how_out) {
    customer *ignored_customer;
    int ignored_how;
    if (!customer_out)
        customer_out = &ignored_customer;
    if (!how_out)
        how_out = &ignored_how;
    CompletionScope offer(complete_accounts, CompletionSpan::LINE);
    for (;;) {
        char *line = getuser(prompt, def, true);
        if (strcmp(line, "~") == 0) {
            errfree(line);
            *how_out = ACCOUNT_TILDE;
            *customer_out = nullptr;
            return alloc_str("");
        }
        if (strcmp(line, "?") == 0) {
            printf("Enter a recipt #, customer name or abbreviation\n");
            printf("    Firstname Lastname, Lastname comma firstname or\n");
            printf("    Lastname alone are permitted.\n");
            printf("    The first or last names can be only the first few\n");
            printf("    characters of the name.\n");
            errfree(line);
            continue;
        }
        customer *c = lookup_account(line, true);
        if (c) {
            *how_out = ACCOUNT_FOUND;
            *customer_out = c;
            printf("Found customer: ");
            w_mbr(c, false, stdout);
            return line;
        }
        printf("? Can not find account or abbreviation for \"%s\".\n", line);
        if (!allow_add) {
            printf("    You must type a legal account.");
            printf(" Type \"~\" to get out.\n");
            errfree(line);
            continue;
        }
        if (!get_yesno("Do you want to add a new customer", "NO")) {
            errfree(line);
            continue;
        }

        std::string parsed_last, parsed_first;
        parse_name(line, parsed_last, parsed_first);
        char *firstname = get_name("Full first name", parsed_first.c_str(), true);
        char *lastname = get_name("Full last name", parsed_last.c_str(), false);
        // Both names share one line of the balances file with two tabs and
        // the balance; a longer pair would be split there at the next load.
        while (strlen(firstname) + strlen(lastname) > ACCOUNT_NAMES_MAX) {
            printf("? The first and last names together can be at most %d characters long.\n",
                   ACCOUNT_NAMES_MAX);
            errfree(lastname);
            lastname = get_name("Full last name", "", false);
        }
        c = fc_cust(lastname, firstname, false);
        if (c) {
            *how_out = ACCOUNT_FOUND;
        } else {
            c = fc_cust(lastname, firstname, true);
            *how_out = ACCOUNT_ADDED;
        }
        errfree(firstname);
        errfree(lastname);
        *customer_out = c;
        if (modify_customer_hook)
            modify_customer_hook(c);
        db.cust_changed = 1;
        w_mbr(c, false, stdout);
        return line;
    }
}
