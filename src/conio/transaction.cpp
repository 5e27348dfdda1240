// The multi-file change and its completion at the next start.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "conio/transaction.h"

namespace {

using Step = FileTransaction::Step;

bool is_folder(const std::string &name) {
    struct stat st;
    return stat(name.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool drop(const std::string &name) {
    return is_folder(name) ? safe_remove_folder(name.c_str()) : safe_unlink(name.c_str());
}

// One line per step, fields split by tabs; the first line names the change.
bool write_intent(const std::string &what, const std::vector<Step> &steps) {
    SafeFile sf;
    if (safe_open(sf, kIntentFile) == nullptr)
        return false;
    fprintf(sf.fp, "%s\n", what.c_str());
    for (const Step &s : steps)
        fprintf(sf.fp, "%c\t%s\t%s\t%s\n", s.kind, s.from.c_str(), s.to.c_str(),
                s.identity.c_str());
    return safe_commit(sf);
}

bool read_intent(std::string &what, std::vector<Step> &steps) {
    FILE *in = fopen(kIntentFile, "r");
    if (in == nullptr)
        return false;
    char line[4096];
    bool ok = fgets(line, sizeof line, in) != nullptr;
    if (ok) {
        line[strcspn(line, "\n")] = '\0';
        what = line;
    }
    while (ok && fgets(line, sizeof line, in) != nullptr) {
        line[strcspn(line, "\n")] = '\0';
        std::vector<std::string> fields;
        for (char *rest = line;;) {
            char *tab = strchr(rest, '\t');
            fields.emplace_back(rest, tab ? (size_t)(tab - rest) : strlen(rest));
            if (tab == nullptr)
                break;
            rest = tab + 1;
        }
        ok = fields.size() == 4 && fields[0].size() == 1 && !fields[1].empty();
        if (ok)
            steps.push_back(Step{fields[0][0], fields[1], fields[2], fields[3], false, false});
    }
    ok = ok && ferror(in) == 0;
    fclose(in);
    return ok;
}

enum class State { TO_DO, DONE, REPLACED };

// A rename is done when its target is the file it moved, to do while its
// source still is; a removal is done once its file is gone.
State state_of(const Step &s) {
    if (s.kind == 'D')
        return file_identity(s.from.c_str()).empty() ? State::DONE : State::TO_DO;
    if (file_identity(s.from.c_str()) == s.identity)
        return State::TO_DO;
    if (file_identity(s.to.c_str()) == s.identity)
        return State::DONE;
    return State::REPLACED;
}

bool perform(const Step &s) {
    if (s.kind == 'D')
        return drop(s.from);
    if (!safe_rename(s.from.c_str(), s.to.c_str()))
        return false;
    // Renaming a file onto another name of the same file does nothing and
    // leaves both names.
    if (!is_folder(s.from) && file_identity(s.from.c_str()) == s.identity)
        unlink(s.from.c_str());
    return true;
}

// Runs every step not yet done; false at the first that fails.
bool perform_all(const std::vector<Step> &steps) {
    for (const Step &s : steps)
        if (state_of(s) == State::TO_DO && !perform(s))
            return false;
    return true;
}

} // namespace

FileTransaction::FileTransaction(std::string what) : what_(std::move(what)) {}

FileTransaction::~FileTransaction() {
    if (!decided_)
        drop_made();
}

void FileTransaction::drop_made() {
    for (const Step &s : steps_)
        if (s.made)
            drop(s.from);
    steps_.clear();
}

bool FileTransaction::place(SafeFile &sf) {
    std::string to = sf.final_name;
    if (!safe_prepare(sf))
        return false;
    steps_.push_back(Step{'R', sf.temp_name, to, "", true, false});
    return true;
}

bool FileTransaction::place_made(const std::string &made, const std::string &to) {
    steps_.push_back(Step{'R', made, to, "", true, false});
    return true;
}

bool FileTransaction::rename(const std::string &from, const std::string &to) {
    steps_.push_back(Step{'R', from, to, "", false, false});
    return true;
}

bool FileTransaction::keep_copy(const std::string &name, const std::string &to) {
    std::string made;
    if (!prepare_backup(name.c_str(), to.c_str(), made))
        return false;
    steps_.push_back(Step{'R', made, to, "", true, true});
    return true;
}

void FileTransaction::remove(const std::string &name) {
    steps_.push_back(Step{'D', name, "", "", false, false});
}

bool FileTransaction::commit() {
    if (decided_)
        return finished_;
    for (Step &s : steps_)
        if (s.kind == 'R')
            s.identity = file_identity(s.from.c_str());
    if (!write_intent(what_, steps_)) {
        int saved = errno;
        drop_made();
        errno = saved;
        return false;
    }
    decided_ = true;
    for (const Step &s : steps_) {
        if (state_of(s) != State::TO_DO || perform(s))
            continue;
        int saved = errno;
        // Nothing but copies made yet: the change can still be taken back.
        bool only_copies = true;
        for (const Step *p = steps_.data(); p != &s; p++)
            only_copies = only_copies && p->copy;
        if (only_copies && safe_unlink(kIntentFile)) {
            decided_ = false;
            drop_made();
        }
        errno = saved;
        return false;
    }
    finished_ = safe_unlink(kIntentFile);
    return finished_;
}

bool finish_interrupted_transaction() {
    struct stat st;
    if (stat(kIntentFile, &st) != 0)
        return true;
    std::string what;
    std::vector<Step> steps;
    if (!read_intent(what, steps)) {
        printf("? Unable to read \"%s\"; the change it names was not finished.\n", kIntentFile);
        return false;
    }
    // The killed run made the steps in order: those before a replaced file
    // are only the keeping of copies, unless one after it was made too.
    bool done_after = false;
    const Step *replaced = nullptr;
    for (const Step &s : steps) {
        State state = state_of(s);
        done_after = done_after || (replaced != nullptr && state == State::DONE && s.kind == 'R');
        if (state == State::REPLACED && replaced == nullptr)
            replaced = &s;
    }
    if (replaced != nullptr && !done_after) {
        if (!safe_unlink(kIntentFile)) {
            printf("? Unable to remove \"%s\"\n", kIntentFile);
            return false;
        }
        printf("? The interrupted %s was given up: its new file \"%s\" had been replaced.\n"
               "  The files it would have changed are as they were before it.\n",
               what.c_str(), replaced->from.c_str());
        return true;
    }
    if (!perform_all(steps) || !safe_unlink(kIntentFile)) {
        printf("? Unable to finish the interrupted %s (%s); it will be tried again.\n",
               what.c_str(), strerror(errno));
        return false;
    }
    if (replaced != nullptr)
        printf("? \"%s\" had been replaced; it was left where it is.\n", replaced->from.c_str());
    printf("Finished the interrupted %s\n", what.c_str());
    return true;
}
