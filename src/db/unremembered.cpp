// The lines of an ENTER dialogue's temporary file that no file of the
// period holds: a sheet cut off before "Remember". They are counted before
// anything would overwrite the temporary file (the next sheet of that kind,
// DBOUT's rewrite).
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unordered_map>

#include "conio/iosubs.h"
#include "db/db.h"

namespace {

using LineCounts = std::unordered_map<std::string, int>;

bool is_record(const char *line) {
    return line[0] != '$' && strchr(line, '!') == nullptr && !is_blank(line);
}

// Calls `each` with every line of the file, line end removed; false when
// the file cannot be opened.
template <typename Each> bool for_each_line(const char *name, Each each) {
    FILE *file = name != nullptr ? fopen(name, "r") : nullptr;
    if (file == nullptr)
        return false;
    char *line = nullptr;
    size_t size = 0;
    while (getline(&line, &size, file) >= 0) {
        line[strcspn(line, "\r\n")] = '\0';
        if (!each(line))
            break;
    }
    free(line);
    fclose(file);
    return true;
}

// The name END-MONTH gives the history file of the closed period.
std::string period_copy(const char *history) {
    std::string name = history;
    size_t dot = name.rfind('.');
    size_t slash = name.rfind('/');
    if (dot != std::string::npos && (slash == std::string::npos || dot > slash))
        name.erase(dot);
    return name + ".OLD";
}

} // namespace

// Each file line accounts for one temporary line at most.
int unremembered_lines(const char *temporary, const char *history, const char *companion) {
    LineCounts pending;
    int count = 0;
    for_each_line(temporary, [&](const char *line) {
        if (is_record(line)) {
            pending[line]++;
            count++;
        }
        return true;
    });
    std::string old_copy = period_copy(history);
    for (const char *name : {history, companion, old_copy.c_str()}) {
        if (count == 0)
            break;
        for_each_line(name, [&](const char *line) {
            auto found = pending.find(line);
            if (found != pending.end() && found->second > 0) {
                found->second--;
                count--;
            }
            return count > 0;
        });
    }
    return count;
}
