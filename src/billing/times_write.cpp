// The rows of a time summary and how one summary is printed.
#include <cstdio>

#include "billing/times.h"
#include "conio/iosubs.h"
#include "db/db.h"

namespace {

// Finds `name` (first as the entry found `last`, which it then becomes)
// in `index`, or appends a fresh entry to `entries`.
template <class Entry>
Entry &find_or_add(std::vector<Entry> &entries, NameIndex &index, size_t &last,
                   std::string_view name) {
    if (last != kNoEntry && entries[last].name == name)
        return entries[last];
    auto found = index.find(name);
    if (found != index.end()) {
        last = found->second;
        return entries[last];
    }
    last = entries.size();
    index.emplace(std::string(name), last);
    entries.emplace_back();
    entries.back().name = std::string(name);
    return entries.back();
}

// Minutes as hours and minutes, or hundreds of feet as thousands.
void o_rduration(long value, bool is_tow, int col) {
    char text[48];
    if (is_tow)
        snprintf(text, sizeof text, "%ld.%ld", value / 10, value % 10);
    else
        snprintf(text, sizeof text, "%ld:%02ld", value / 60, value % 60);
    o_rstring(text, col, true);
}

void o_no_time(long notime) {
    if (notime > 0) {
        o_lstring("  Flights with no time:", 0, false);
        o_lnumber(notime, 0, true, 10);
    }
}

} // namespace

void add_duration(duration_list &list, std::string_view name, int time, std::string_view who) {
    duration &row = find_or_add(list.rows, list.index, list.last_row, name);
    withwho &person = find_or_add(row.people, row.people_index, row.last_person, who);
    int notime = time == 0 ? 1 : 0;
    row.count++;
    row.time = add32(row.time, time);
    row.notime += notime;
    person.count++;
    person.time = add32(person.time, time);
    person.notime += notime;
}

void free_times(duration_list &list) {
    list.rows.clear();
    list.rows.shrink_to_fit();
    list.index.clear();
    list.last_row = kNoEntry;
}

void write_times(const duration_list &list, bool is_tow) {
    long count = 0, time = 0, notime = 0;
    for (auto row = list.rows.rbegin(); row != list.rows.rend(); ++row) {
        o_lstring(row->name.c_str(), 0, false);
        o_newline(0);
        for (auto person = row->people.rbegin(); person != row->people.rend(); ++person) {
            o_lstring(person->name.c_str(), 5, false);
            o_rnumber(person->count, 20, true, 10);
            o_rduration(person->time, is_tow, 30);
            o_newline(0);
        }
        o_newline(0);
        o_rstring("Total:", 14, false);
        o_rnumber(row->count, 20, true, 10);
        o_rduration(row->time, is_tow, 30);
        o_no_time(row->notime);
        o_newline(0);
        o_newline(0);
        count += row->count;
        time += row->time;
        notime += row->notime;
    }
    o_newline(0);
    o_newline(0);
    o_rstring("Grand totals:", 14, false);
    o_rnumber(count, 20, true, 10);
    o_rduration(time, is_tow, 30);
    o_no_time(notime);
    o_newline(0);
}
