// Small helpers shared by the data-file readers.
#pragma once

#include <cstring>
#include <string>

#include "conio/iosubs.h"

namespace dbfile {

// Any line holding a "!" is a comment in the data files.
inline bool is_comment(const char *line) {
    return strchr(line, '!') != nullptr;
}

inline std::string tab_field(const char *line, int n) {
    return i_getField("\t", line, n, false);
}

inline std::string upper(std::string text) {
    uc_string(text.data());
    return text;
}

} // namespace dbfile
