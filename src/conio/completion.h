// What Tab offers at a terminal. Each question that knows what it accepts
// names a source of candidates for as long as it is being asked; the line
// editor asks the source named last. The layers above set their own sources
// (command words, accounts, item names) the same way, so this layer never
// needs to know about them.
#pragma once

#include <string>
#include <vector>

// A source adds every answer the question could take; the editor keeps
// those that begin with what was typed (case ignored). `typed` is given for
// sources that depend on it, such as file names in a folder.
using CompletionSource = void (*)(const void *context, const std::string &typed,
                                  std::vector<std::string> &candidates);

enum class CompletionSpan {
    WORD, // the first word of the line; the rest is type-ahead for later questions
    LINE, // the whole line, blanks included (a customer's "First Last")
};

// Names a source for the lifetime of the scope and gives the one before it
// back afterwards, so a question asked inside another (a yes/no within an
// account prompt) offers its own answers and then the outer ones again.
class CompletionScope {
  public:
    CompletionScope(CompletionSource source, CompletionSpan span, const void *context = nullptr);
    ~CompletionScope();
    CompletionScope(const CompletionScope &) = delete;
    CompletionScope &operator=(const CompletionScope &) = delete;

  private:
    CompletionSource saved_source_;
    CompletionSpan saved_span_;
    const void *saved_context_;
};

// The entries of a keyword table ending with a null entry (context).
void complete_from_table(const void *table, const std::string &typed,
                         std::vector<std::string> &candidates);
// The names in the folder of `typed` (the working folder when it has no
// "/"); folders end with "/".
void complete_file_names(const void *context, const std::string &typed,
                         std::vector<std::string> &candidates);

// ---- The editor's side ------------------------------------------------------

// What Tab does to `line` with the cursor at `cursor`: the typed text from
// `from` to the cursor becomes `replacement`; when no text can be added,
// `choices` holds the matches to list instead (empty: nothing matches).
struct Completion {
    size_t from = 0;
    std::string replacement;
    std::vector<std::string> choices;
    bool changed = false;
};
Completion complete_line(const std::string &line, size_t cursor);

// The choices in columns, as shells list them: column after column, every
// line ending with a newline, no line wider than `width` unless one choice
// is.
std::string format_choices(const std::vector<std::string> &choices, int width);
