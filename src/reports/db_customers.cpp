// The tab-separated customer export for a mailing database.

#include <cctype>
#include <cstdio>
#include <cstring>

#include "conio/iosubs.h"
#include "reports/reports.h"

namespace {

const char *text(const char *s) {
    return s ? s : "";
}

bool is_set(const char *s) {
    return s && *s;
}

const char *const columns[] = {"recordID", "MembershipID", "LastName", "FirstName",
                               "Address",  "Address2",     "City",     "State",
                               "ZIPCODE",  "Country",      "Phone",    "Fax",
                               "email",    "Registration", "Spouse",   nullptr};

} // namespace

bool findCityStateZip(const customer *c, std::string &city, std::string &state, std::string &zip) {
    city.clear();
    state.clear();
    zip.clear();
    const char *line = nullptr;
    for (int i = 3; i >= 0 && !line; i--)
        if (is_set(c->addr[i]))
            line = c->addr[i];
    if (!line || strcmp(line, "-No Address") == 0)
        return true;
    const char *comma = strchr(line, ',');
    if (!comma)
        return false;
    city.assign(line, (size_t)(comma - line));
    // Address lines are at most 200 characters, so each word fits.
    char state_word[256] = "", zip_word[256] = "", extra = 0;
    int items = sscanf(comma, " , %255s %255s %c", state_word, zip_word, &extra);
    state = state_word;
    if (items == 1)
        return true;
    zip = zip_word;
    if (items != 2)
        return false;
    for (const char *p = zip_word; *p; p++)
        if (!isdigit((unsigned char)*p) && *p != '-')
            return false;
    return true;
}

void w_db_custs() {
    maybe_read();
    FILE *out = get_o_file();
    if (!out)
        return;
    for (int i = 0; columns[i]; i++)
        fprintf(out, i ? "\t%s" : "%s", columns[i]);
    fprintf(out, "\n");
    int number = 0;
    for (const customer *c : db.cust_list) {
        number++;
        std::string city, state, zip;
        if (!findCityStateZip(c, city, state, zip))
            printf("? %s, %s has invalid city, state or zipcode\n", text(c->lastname),
                   text(c->firstname));
        // The work and local phones, the e-mail address and the spouse are
        // not part of the export.
        const char *address2 = is_set(c->addr[2]) ? text(c->addr[1]) : "";
        fprintf(out, "%d\t%d\t%s\t%s\t%s\t%s\t%s\t%s\t%s\t\t%s\t\t\t\t\t\n", number, number,
                text(c->lastname), text(c->firstname), text(c->addr[0]), address2, city.c_str(),
                state.c_str(), zip.c_str(), text(c->phone[0]));
    }
}
