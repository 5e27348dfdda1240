// The time summaries' rows: one row per aircraft, instructor, ride pilot or
// tow pilot, each with the people (or dates) flown under it. Rows and people
// are printed newest first, in reverse order of first appearance, so each
// keeps its entries in appearance order beside a hash index for finding
// them again: adding a flight never walks a row list.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

struct NameHash {
    using is_transparent = void;
    size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
};
using NameIndex = std::unordered_map<std::string, size_t, NameHash, std::equal_to<>>;

struct withwho {
    std::string name;
    int time = 0; // minutes, or hundreds of feet for tows
    int count = 0;
    int notime = 0;
};

// The flights are added customer by customer, so the same row and the
// same person mostly come again at once: each list remembers the row it
// found last and each row the person, and a compare of the name answers
// before the index is asked. In a club of twenty thousand pilots the
// index is far larger than the processor's cache.
constexpr size_t kNoEntry = static_cast<size_t>(-1);

struct duration {
    std::string name;
    std::vector<withwho> people; // order of first appearance
    NameIndex people_index;
    size_t last_person = kNoEntry;
    int time = 0;
    int count = 0;
    int notime = 0;
};

struct duration_list {
    std::vector<duration> rows; // order of first appearance
    NameIndex index;
    size_t last_row = kNoEntry;
};

// Finds or makes the row `name` and its person `who`, counts one flight on
// both and adds `time`; a flight adding nothing is also counted as no-time.
void add_duration(duration_list &list, std::string_view name, int time, std::string_view who);
void free_times(duration_list &list);
// One summary through the formatter; tow summaries show heights, not times.
void write_times(const duration_list &list, bool is_tow);
