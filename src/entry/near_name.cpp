// The nearest known name to a mistyped one, and whether an e-mail address
// can be one: the two judgements VERIFY makes about texts.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>
#include <vector>

#include "entry/verify.h"

namespace {

// Letter case, blanks and dashes are what a clerk gets wrong without
// meaning another name: "ask-21" is ASK21.
std::string folded(const char *text) {
    std::string out;
    for (const char *p = text; *p != '\0'; p++)
        if (*p != ' ' && *p != '-' && *p != '\t')
            out += static_cast<char>(toupper(static_cast<unsigned char>(*p)));
    return out;
}

size_t edit_distance(const std::string &a, const std::string &b) {
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); j++)
        row[j] = j;
    for (size_t i = 1; i <= a.size(); i++) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); j++) {
            size_t above = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] != b[j - 1])});
            diagonal = above;
        }
    }
    return row[b.size()];
}

} // namespace

std::string nearest_name(const char *typed, const std::vector<std::string> &names) {
    std::string want = folded(typed);
    if (want.empty())
        return "";
    // One slip in a short name, about one in three in a long one.
    size_t best = std::max<size_t>(1, want.size() / 3) + 1;
    std::string found;
    for (const std::string &name : names) {
        if (name == typed)
            continue;
        size_t d = edit_distance(want, folded(name.c_str()));
        if (d < best) {
            best = d;
            found = name;
        }
    }
    return found;
}

bool plausible_email(const char *address) {
    const char *at = strchr(address, '@');
    if (at == nullptr || at == address || strchr(at + 1, '@') != nullptr)
        return false;
    for (const char *p = address; *p != '\0'; p++)
        if (*p <= ' ' || *p >= 127 || strchr("(),:;<>[]\\\"", *p) != nullptr)
            return false;
    const char *domain = at + 1;
    const char *dot = strrchr(domain, '.');
    return dot != nullptr && dot != domain && dot[1] != '\0' && strstr(domain, "..") == nullptr &&
           domain[0] != '.' && at[-1] != '.' && address[0] != '.';
}
