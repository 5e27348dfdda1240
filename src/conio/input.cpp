// Logical line input: type-ahead, then the innermost indirect command file,
// then the console; plus the command log and the library-wide reset.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "conio/iosubs.h"
#include "conio/line_editor.h"
#include "conio/output_state.h"
#include "conio/write_behind.h"

namespace {

constexpr int kMaxIndirect = 10;
constexpr int kMaxLine = 200;
// A physical line is read whole into this buffer; what does not fit is
// discarded so that one typed line stays one logical line.
constexpr size_t kReadBuffer = 4096;

struct IndirectFile {
    char *name;
    FILE *inputFile;
};

struct LogFile {
    char *name;
    FILE *file;
};

void default_end_of_input() {
    exit(0);
}

struct InputState {
    char *restOfLastLine = nullptr;
    IndirectFile indirectFiles[kMaxIndirect] = {};
    int nextIndirectFile = 0;
    LogFile logFile = {nullptr, nullptr};
    void (*endOfInput)() = default_end_of_input;
    bool inEndOfInput = false;
    // At a terminal the editor shows the prompt itself, so that it can
    // redraw the line behind it; getuser leaves it here for the next read.
    std::string editorPrompt;
};
InputState in;

bool is_trim_space(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// Reads one physical line (newline kept) into buffer. An over-long line is
// cut and the rest of it up to the newline is read and thrown away.
// Returns false at end of file or on a read error.
bool read_physical_line(FILE *file, char *buffer, size_t size) {
    if (fgets(buffer, (int)size, file) == nullptr)
        return false;
    // Only a full buffer can mean an unfinished line; a short line without a
    // newline ended at end of file and there is nothing more to skip.
    size_t length = strlen(buffer);
    if (length == size - 1 && buffer[length - 1] != '\n') {
        int c;
        while ((c = getc(file)) != EOF && c != '\n') {
        }
    }
    return true;
}

void close_indirect(IndirectFile &entry) {
    if (entry.inputFile == stdin)
        log_error("? Closing stdin\n");
    else if (entry.inputFile != nullptr)
        fclose(entry.inputFile);
    entry.name = (char *)errfree(entry.name);
    entry.inputFile = nullptr;
}

void pop_indirect() {
    in.nextIndirectFile--;
    close_indirect(in.indirectFiles[in.nextIndirectFile]);
}

void close_log_quietly() {
    if (in.logFile.file != nullptr)
        fclose(in.logFile.file);
    in.logFile.file = nullptr;
    in.logFile.name = (char *)errfree(in.logFile.name);
}

ConsoleRead read_console(char *line) {
    if (line_editor_active()) {
        std::string prompt;
        prompt.swap(in.editorPrompt);
        return line_editor_read(prompt.c_str(), line, kReadBuffer);
    }
    if (read_physical_line(stdin, line, kReadBuffer))
        return ConsoleRead::LINE;
    return feof(stdin) ? ConsoleRead::END : ConsoleRead::FAILED;
}

// Fetches the raw text of the next logical line into line (kReadBuffer
// bytes). Returns false when nothing could be had; the line is then empty.
bool next_raw_line(char *line) {
    for (;;) {
        if (in.restOfLastLine != nullptr) {
            snprintf(line, kReadBuffer, "%s", in.restOfLastLine);
            in.restOfLastLine = (char *)errfree(in.restOfLastLine);
            return true;
        }
        if (in.nextIndirectFile > 0) {
            IndirectFile &top = in.indirectFiles[in.nextIndirectFile - 1];
            if (read_physical_line(top.inputFile, line, kReadBuffer))
                return true;
            pop_indirect();
            continue;
        }
        ConsoleRead got = read_console(line);
        if (got == ConsoleRead::LINE)
            return true;
        // A closed console would otherwise make every prompt loop forever.
        if (got == ConsoleRead::FAILED)
            log_error("? Could not get line from user\n");
        line[0] = '\0';
        // The handler may itself ask questions (saving on the way out); those
        // get empty answers instead of calling it again.
        if (!in.inEndOfInput) {
            in.inEndOfInput = true;
            in.endOfInput();
            in.inEndOfInput = false;
        }
        return false;
    }
}

} // namespace

char *getLineFromLogicalUser(char *buffer, int maxLength, const char *def) {
    if (buffer == nullptr)
        return nullptr;
    if (maxLength < 0)
        maxLength = 0;

    char line[kReadBuffer];
    next_raw_line(line);
    size_t length = strlen(line);
    if (length > (size_t)maxLength)
        length = (size_t)maxLength;
    memcpy(buffer, line, length);
    buffer[length] = '\0';

    // A carriage return before the newline is part of the line end (input
    // prepared on DOS-style systems).
    if (length > 0 && buffer[length - 1] == '\n') {
        buffer[--length] = '\0';
        if (length > 0 && buffer[length - 1] == '\r')
            buffer[--length] = '\0';
    }

    if (def != nullptr && is_blank(buffer)) {
        // A substituted default is taken exactly as given.
        snprintf(buffer, (size_t)maxLength + 1, "%s", def);
    } else {
        // The first character is left for the leading-blank skip below.
        for (size_t i = length; i > 1 && is_trim_space(buffer[i - 1]); i--)
            buffer[i - 1] = '\0';
    }

    char *result = buffer;
    while (is_trim_space(*result))
        result++;

    if (in.logFile.file != nullptr) {
        fprintf(in.logFile.file, "%s\n", result);
        fflush(in.logFile.file);
    }
    return result;
}

char *getuser(const char *prompt, const char *def, bool upperCase) {
    if (def == nullptr)
        def = "";
    if (prompt == nullptr)
        prompt = "";
    if (in.restOfLastLine == nullptr) {
        if (in.nextIndirectFile == 0 && line_editor_active()) {
            in.editorPrompt = prompt;
            if (def[0] != '\0')
                in.editorPrompt.append(" [").append(def).append("]");
            in.editorPrompt += ": ";
        } else {
            if (def[0] != '\0')
                printf("%s [%s]: ", prompt, def);
            else
                printf("%s: ", prompt);
            fflush(stdout);
        }
    }
    char buffer[kMaxLine + 4];
    char *line = getLineFromLogicalUser(buffer, kMaxLine, def);
    if (upperCase)
        uc_string(line);
    return alloc_str(line);
}

void i_giveBackLine(char *text) {
    if (text == nullptr)
        return;
    if (is_blank(text)) {
        errfree(text);
        return;
    }
    errfree(in.restOfLastLine);
    in.restOfLastLine = text;
}

void i_ignoreRestOfLine(bool quiet) {
    if (!quiet && in.restOfLastLine != nullptr)
        log_error("? Discarding rest of line: %s\n", in.restOfLastLine);
    in.restOfLastLine = (char *)errfree(in.restOfLastLine);
}

bool i_restOfLinePending() {
    return in.restOfLastLine != nullptr;
}

void i_endUserInput() {
    i_ignoreRestOfLine(true);
    closeAllIndirectFiles();
}

bool addIndirectFile(const char *name) {
    if (name == nullptr)
        return false;
    if (in.nextIndirectFile >= kMaxIndirect) {
        log_error("? Too many indirect files open at once. Trying to open %s\n", name);
        return false;
    }
    FILE *file = fopen(name, "r");
    if (file == nullptr) {
        log_error("? Unable to open indirect file %s\n", name);
        return false;
    }
    in.indirectFiles[in.nextIndirectFile].name = alloc_str(name);
    in.indirectFiles[in.nextIndirectFile].inputFile = file;
    in.nextIndirectFile++;
    return true;
}

void closeCurrentIndirectFile() {
    if (in.nextIndirectFile > 0)
        pop_indirect();
    else
        in.nextIndirectFile = 0;
}

void closeAllIndirectFiles() {
    for (int i = 0; i < in.nextIndirectFile; i++)
        close_indirect(in.indirectFiles[i]);
    in.nextIndirectFile = 0;
}

bool establishLogFile(const char *name) {
    if (in.logFile.file != nullptr)
        fclose(in.logFile.file);
    in.logFile.file = nullptr;
    if (in.logFile.name != nullptr) {
        printf("Closing log file %s\n", in.logFile.name);
        in.logFile.name = (char *)errfree(in.logFile.name);
    }
    if (name == nullptr)
        return false;
    FILE *file = open_appending(name);
    if (file == nullptr)
        return false;
    in.logFile.file = file;
    in.logFile.name = alloc_str(name);
    printf("Logging commands in %s\n", name);
    return true;
}

void i_setEndOfInputHandler(void (*handler)()) {
    in.endOfInput = handler != nullptr ? handler : default_end_of_input;
}

// The end-of-input handler is left alone: the shell installs it once and
// RESET must not take it away.
void conio_reset() {
    i_ignoreRestOfLine(true);
    closeAllIndirectFiles();
    close_log_quietly();
    in.editorPrompt.clear();
    output_reset();
    file_fault_at(0, FileFault::NONE);
    write_behind_for_tests(nullptr, nullptr, 0);
}
