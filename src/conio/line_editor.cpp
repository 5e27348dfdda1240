// Console lines at a terminal, read through libedit: the Emacs editing
// keys, Up and Down through earlier answers, Ctrl-R to search them, Tab to
// complete what the question accepts. The answers are kept in the data
// folder's .varnok_history for the next run. Nothing here is used when the
// input is a file or a pipe, so those read exactly as before.
//
// The editor's memory is not counted by errmalloc: the memory report must
// read the same at a terminal as anywhere else.
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <histedit.h>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

#include "conio/completion.h"
#include "conio/iosubs.h"
#include "conio/line_editor.h"

namespace {

constexpr int kHistoryLines = 1000;
constexpr const char *kHistoryFile = ".varnok_history";

struct EditorState {
    int active = -1; // not yet decided
    EditLine *el = nullptr;
    History *history = nullptr;
    std::string prompt;
    std::string historyPath;
    bool historyChanged = false;
    bool abandoned = false;
    bool ended = false;
};
EditorState ed;

bool blank_line(const char *text) {
    return text[strspn(text, " \t\r\n\v\f")] == '\0';
}

char *current_prompt(EditLine *) {
    return const_cast<char *>(ed.prompt.c_str());
}

int terminal_width() {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return 80;
}

unsigned char complete_key(EditLine *el, int) {
    const LineInfo *info = el_line(el);
    std::string line(info->buffer, info->lastchar);
    size_t cursor = (size_t)(info->cursor - info->buffer);
    Completion done = complete_line(line, cursor);
    if (done.changed) {
        el_deletestr(el, (int)(cursor - done.from));
        el_insertstr(el, done.replacement.c_str());
        return CC_REFRESH;
    }
    if (done.choices.empty())
        return CC_ERROR;
    // Below the line, as shells list them; the prompt and line come back
    // underneath.
    fflush(stdout);
    fputs("\n", stdout);
    fputs(format_choices(done.choices, terminal_width()).c_str(), stdout);
    fflush(stdout);
    return CC_REDISPLAY;
}

// Ctrl-C drops the line being typed and asks the same question again; the
// line stays on the screen marked "^C" as shells leave it.
unsigned char abandon_key(EditLine *el, int) {
    const LineInfo *info = el_line(el);
    el_cursor(el, (int)(info->lastchar - info->cursor));
    el_insertstr(el, "^C");
    el_push(el, "\n");
    ed.abandoned = true;
    return CC_REFRESH;
}

// The terminal's own signal keys are off while a line is edited (so that
// Ctrl-C reaches the editor instead of ending the program and whatever
// started it); Ctrl-Z stops the program as the terminal would have, and
// the editor's signal handling puts the terminal back on the way.
unsigned char suspend_key(EditLine *, int) {
    kill(0, SIGTSTP);
    return CC_REDISPLAY;
}

void load_history() {
    FILE *file = fopen(ed.historyPath.c_str(), "r");
    if (file == nullptr)
        return;
    HistEvent event;
    char line[4096];
    while (fgets(line, sizeof line, file) != nullptr) {
        size_t length = strlen(line);
        if (length > 0 && line[length - 1] == '\n') {
            line[--length] = '\0';
        } else if (!feof(file)) {
            // An over-long line is not an answer anyone typed here.
            int c;
            while ((c = getc(file)) != EOF && c != '\n') {
            }
            continue;
        }
        if (!blank_line(line))
            history(ed.history, &event, H_ENTER, line);
    }
    fclose(file);
}

void save_history() {
    if (!ed.historyChanged)
        return;
    HistEvent event;
    std::vector<std::string> lines;
    // The oldest first, so that the file reads in the order typed.
    for (int rc = history(ed.history, &event, H_LAST); rc != -1;
         rc = history(ed.history, &event, H_PREV))
        lines.emplace_back(event.str);
    SafeFile file;
    if (safe_open(file, ed.historyPath.c_str()) == nullptr)
        return;
    for (const std::string &line : lines)
        fprintf(file.fp, "%s\n", line.c_str());
    // A history that cannot be written is only a convenience lost.
    safe_commit(file);
}

void stop_editor() {
    save_history();
    if (ed.el != nullptr)
        el_end(ed.el);
    if (ed.history != nullptr)
        history_end(ed.history);
    ed.el = nullptr;
    ed.history = nullptr;
}

void start_editor() {
    // Letters beyond ASCII are typed as the terminal's locale encodes them.
    setlocale(LC_CTYPE, "");
    char folder[4096];
    ed.historyPath = getcwd(folder, sizeof folder) != nullptr
                         ? std::string(folder) + "/" + kHistoryFile
                         : std::string(kHistoryFile);
    HistEvent event;
    ed.history = history_init();
    history(ed.history, &event, H_SETSIZE, kHistoryLines);
    history(ed.history, &event, H_SETUNIQUE, 1);
    load_history();

    ed.el = el_init(program_name, stdin, stdout, stderr);
    el_set(ed.el, EL_EDITOR, "emacs");
    el_set(ed.el, EL_SIGNAL, 1);
    el_set(ed.el, EL_PROMPT, current_prompt);
    el_set(ed.el, EL_HIST, history, ed.history);
    el_set(ed.el, EL_SETTY, "-d", "-isig", nullptr);
    // The wide call keeps the names as given; the narrow one copies them
    // and never frees the copies.
    el_wset(ed.el, EL_ADDFN, L"varnok-complete", L"Complete the answer", complete_key);
    el_wset(ed.el, EL_ADDFN, L"varnok-abandon", L"Drop the line typed", abandon_key);
    el_wset(ed.el, EL_ADDFN, L"varnok-suspend", L"Stop the program", suspend_key);
    el_set(ed.el, EL_BIND, "^I", "varnok-complete", nullptr);
    el_set(ed.el, EL_BIND, "^C", "varnok-abandon", nullptr);
    el_set(ed.el, EL_BIND, "^Z", "varnok-suspend", nullptr);
    el_set(ed.el, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    atexit(stop_editor);
}

} // namespace

bool line_editor_active() {
    if (ed.active < 0) {
        const char *term = getenv("TERM");
        ed.active = isatty(STDIN_FILENO) && isatty(STDOUT_FILENO) &&
                    !(term != nullptr && strcmp(term, "dumb") == 0);
    }
    return ed.active != 0;
}

ConsoleRead line_editor_read(const char *prompt, char *line, size_t size) {
    line[0] = '\0';
    if (ed.ended) {
        // Questions asked on the way out still show, as they do when a
        // piped input has ended.
        fputs(prompt != nullptr ? prompt : "", stdout);
        return ConsoleRead::END;
    }
    if (ed.el == nullptr)
        start_editor();
    ed.prompt = prompt != nullptr ? prompt : "";
    fflush(stdout);
    for (;;) {
        // The window may have changed size since the last question.
        el_resize(ed.el);
        int count = 0;
        const char *text = el_gets(ed.el, &count);
        if (text == nullptr) {
            ed.ended = true;
            return count == 0 ? ConsoleRead::END : ConsoleRead::FAILED;
        }
        if (ed.abandoned) {
            ed.abandoned = false;
            continue;
        }
        snprintf(line, size, "%s", text);
        // Kept as the answer is taken: without the blanks around it (a
        // completed word leaves one behind).
        std::string entered(text);
        entered.erase(entered.find_last_not_of(" \t\r\n\v\f") + 1);
        entered.erase(0, entered.find_first_not_of(" \t\r\n\v\f"));
        if (!entered.empty()) {
            HistEvent event;
            history(ed.history, &event, H_ENTER, entered.c_str());
            ed.historyChanged = true;
        }
        return ConsoleRead::LINE;
    }
}
