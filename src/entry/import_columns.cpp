// IMPORT's header line: column names matched without regard to letter
// case, blanks, dashes or underscores, so that "Tow Plane", "tow_plane" and
// "TOWPLANE" are one name.
#include <cctype>
#include <cstdio>

#include "entry/import_columns.h"

namespace {

struct Names {
    const char *name;
    const char *synonyms;
    bool required;
};

const Names kNames[COL_COUNT] = {
    {"DATE", "DAY", true},
    {"NUMBER", "FLIGHT, FLIGHT-NUMBER, NO, #", false},
    {"ACCOUNT", "CUSTOMER, MEMBER, RECEIPT, BILL-TO", true},
    {"AIRCRAFT", "GLIDER, PLANE", true},
    {"TYPE", "FLIGHT-TYPE, KIND", false},
    {"PILOT", "", false},
    {"PASSENGER", "STUDENT, PASS, RIDE-CUSTOMER", false},
    {"INSTRUCTOR", "CFI", false},
    {"TOW-PILOT", "TUG-PILOT", false},
    {"TOW-PLANE", "TUG, TOWPLANE, TOW-AIRCRAFT", false},
    {"TOW-HEIGHT", "HEIGHT, RELEASE, RELEASE-HEIGHT", false},
    {"TAKEOFF", "TAKE-OFF, START, LAUNCH, DEPARTURE", true},
    {"LANDING", "END, LAND, ARRIVAL", true},
};

std::string folded(const std::string &text) {
    std::string out;
    for (char c : text)
        if (isalnum((unsigned char)c) || c == '#')
            out += (char)toupper((unsigned char)c);
    return out;
}

int column_named(const std::string &typed) {
    std::string want = folded(typed);
    for (int c = 0; c < COL_COUNT; c++) {
        if (folded(kNames[c].name) == want)
            return c;
        std::string list = kNames[c].synonyms;
        for (size_t at = 0; at <= list.size();) {
            size_t comma = list.find(',', at);
            if (comma == std::string::npos)
                comma = list.size();
            if (folded(list.substr(at, comma - at)) == want && !want.empty())
                return c;
            at = comma + 1;
        }
    }
    return -1;
}

} // namespace

const std::string &ColumnMap::of(const std::vector<std::string> &row, ImportColumn c) const {
    static const std::string empty;
    return at[c] >= 0 && (size_t)at[c] < row.size() ? row[(size_t)at[c]] : empty;
}

bool map_columns(const std::vector<std::string> &header, ColumnMap &map) {
    for (int &at : map.at)
        at = -1;
    for (size_t i = 0; i < header.size(); i++) {
        int c = column_named(header[i]);
        if (c < 0) {
            printf("? Unknown column \"%s\" (IMPORT ? lists the names).\n", header[i].c_str());
            return false;
        }
        if (map.at[c] >= 0) {
            printf("? Two columns for %s: \"%s\" and \"%s\".\n", kNames[c].name,
                   header[(size_t)map.at[c]].c_str(), header[i].c_str());
            return false;
        }
        map.at[c] = (int)i;
    }
    for (int c = 0; c < COL_COUNT; c++)
        if (kNames[c].required && map.at[c] < 0) {
            printf("? The file has no %s column.\n", kNames[c].name);
            return false;
        }
    return true;
}

void print_column_names() {
    printf("The first line of the file names the columns, in any order and letter case,\n");
    printf("separated by commas or semicolons (* every flight needs):\n");
    for (const Names &n : kNames) {
        if (n.synonyms[0] == '\0')
            printf("  %s%s\n", n.name, n.required ? " *" : "");
        else
            printf("  %-11s%c %s\n", n.name, n.required ? '*' : ' ', n.synonyms);
    }
}
