// Tab completion's choice of candidates: the source the question being
// asked has named, matched against what was typed, and the column listing
// of several matches. Knows nothing of the terminal, so it can be tried on
// plain text.
#include <algorithm>
#include <cstring>
#include <dirent.h>
#include <strings.h>
#include <sys/stat.h>

#include "conio/completion.h"

namespace {

struct CompletionState {
    CompletionSource source = nullptr;
    CompletionSpan span = CompletionSpan::WORD;
    const void *context = nullptr;
};
CompletionState completion;

bool is_blank_char(char c) {
    return c == ' ' || c == '\t';
}

bool starts_with_nocase(const std::string &text, const std::string &prefix) {
    return text.size() >= prefix.size() &&
           strncasecmp(text.c_str(), prefix.c_str(), prefix.size()) == 0;
}

// How many leading characters every match shares, case ignored.
size_t common_prefix(const std::vector<std::string> &matches) {
    size_t length = matches[0].size();
    for (const std::string &m : matches) {
        size_t i = 0;
        while (i < length && i < m.size() &&
               tolower((unsigned char)m[i]) == tolower((unsigned char)matches[0][i]))
            i++;
        length = i;
    }
    return length;
}

} // namespace

CompletionScope::CompletionScope(CompletionSource source, CompletionSpan span, const void *context)
    : saved_source_(completion.source), saved_span_(completion.span),
      saved_context_(completion.context) {
    completion.source = source;
    completion.span = span;
    completion.context = context;
}

CompletionScope::~CompletionScope() {
    completion.source = saved_source_;
    completion.span = saved_span_;
    completion.context = saved_context_;
}

void complete_from_table(const void *table, const std::string &, std::vector<std::string> &out) {
    for (const char *const *entry = (const char *const *)table; *entry != nullptr; entry++)
        out.emplace_back(*entry);
}

void complete_file_names(const void *, const std::string &typed, std::vector<std::string> &out) {
    size_t slash = typed.rfind('/');
    std::string folder = slash == std::string::npos ? "" : typed.substr(0, slash + 1);
    std::string name = slash == std::string::npos ? typed : typed.substr(slash + 1);
    DIR *dir = opendir(folder.empty() ? "." : folder.c_str());
    if (dir == nullptr)
        return;
    std::vector<std::string> found;
    while (const dirent *entry = readdir(dir)) {
        if (strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0)
            continue;
        // Hidden files (the editor's own history among them) only when asked for.
        if (entry->d_name[0] == '.' && name.compare(0, 1, ".") != 0)
            continue;
        std::string path = folder + entry->d_name;
        struct stat info;
        if (stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode))
            path += '/';
        found.push_back(path);
    }
    closedir(dir);
    std::sort(found.begin(), found.end());
    out.insert(out.end(), found.begin(), found.end());
}

Completion complete_line(const std::string &line, size_t cursor) {
    Completion result;
    cursor = std::min(cursor, line.size());
    result.from = cursor;
    if (completion.source == nullptr)
        return result;
    size_t from = 0;
    while (from < cursor && is_blank_char(line[from]))
        from++;
    std::string typed = line.substr(from, cursor - from);
    // Past the first word the line is type-ahead for questions not yet
    // asked, whose answers are unknown here.
    if (completion.span == CompletionSpan::WORD &&
        std::any_of(typed.begin(), typed.end(), is_blank_char))
        return result;
    result.from = from;

    std::vector<std::string> candidates;
    completion.source(completion.context, typed, candidates);
    std::vector<std::string> matches;
    for (const std::string &c : candidates)
        if (!c.empty() && starts_with_nocase(c, typed) &&
            std::find(matches.begin(), matches.end(), c) == matches.end())
            matches.push_back(c);
    if (matches.empty())
        return result;

    if (matches.size() == 1) {
        result.replacement = matches[0];
        // A finished word is followed by a blank, ready for the next answer;
        // a folder is not finished.
        if (completion.span == CompletionSpan::WORD && cursor == line.size() &&
            result.replacement.back() != '/')
            result.replacement += ' ';
        result.changed = true;
        return result;
    }
    size_t shared = common_prefix(matches);
    if (shared > typed.size()) {
        result.replacement = matches[0].substr(0, shared);
        result.changed = true;
        return result;
    }
    result.choices = matches;
    return result;
}

std::string format_choices(const std::vector<std::string> &choices, int width) {
    size_t widest = 0;
    for (const std::string &c : choices)
        widest = std::max(widest, c.size());
    size_t column = widest + 2;
    size_t columns = std::max<size_t>(1, ((size_t)std::max(width, 0) + 2) / column);
    size_t rows = (choices.size() + columns - 1) / columns;
    std::string text;
    for (size_t r = 0; r < rows; r++) {
        std::string row;
        for (size_t c = 0; c < columns; c++) {
            size_t i = c * rows + r;
            if (i >= choices.size())
                break;
            row.resize(c * column, ' ');
            row += choices[i];
        }
        text += row + "\n";
    }
    return text;
}
