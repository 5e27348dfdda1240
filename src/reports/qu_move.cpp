// Moving an exported history file to the end of its "QU" file, so that the
// accounting package never gets the same records twice and never loses one.
//
// Both new files are first written completely under temporary names: the
// "QU" file with the history appended, and a fresh history file. A pending
// file then names the four files, and two renames put the new ones in
// place. Until the pending file exists nothing has changed; once it exists,
// the roll-forward (run before any history file is read) completes the
// renames, so after a crash at any point every record is in exactly one of
// the two files as the program sees them.
#include <cstdio>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "conio/iosubs.h"
#include "reports/reports.h"

namespace {

const char kPendingMove[] = "VNKQUMOV.PND";

bool exists(const std::string &name) {
    struct stat st;
    return stat(name.c_str(), &st) == 0;
}

struct MoveFiles {
    std::string history, fresh_history, qu, new_qu;
};

// Each rename is done only while its temporary is still there, so running
// this again after a crash in an earlier run ends in the same place.
bool finish_renames(const MoveFiles &m) {
    if (exists(m.new_qu) && !safe_rename(m.new_qu.c_str(), m.qu.c_str()))
        return false;
    if (exists(m.fresh_history) && !safe_rename(m.fresh_history.c_str(), m.history.c_str()))
        return false;
    return safe_unlink(kPendingMove);
}

bool write_pending(const MoveFiles &m) {
    return write_pending_names(kPendingMove, {m.history, m.fresh_history, m.qu, m.new_qu});
}

bool read_pending(MoveFiles &m) {
    std::vector<std::string> names;
    if (!read_pending_names(kPendingMove, names) || names.size() != 4)
        return false;
    m = MoveFiles{names[0], names[1], names[2], names[3]};
    return true;
}

// The "QU" file's old contents followed by the history file, complete on
// disk under a temporary name. A missing "QU" file counts as empty.
bool prepare_qu(const char *history, const char *qu, std::string &temp) {
    SafeFile sf;
    if (safe_open(sf, qu) == nullptr)
        return false;
    bool ok = true;
    if (exists(qu))
        ok = copyfile(qu, sf.fp);
    ok = ok && copyfile(history, sf.fp);
    if (!ok) {
        safe_abort(sf);
        return false;
    }
    if (!safe_prepare(sf))
        return false;
    temp = sf.temp_name;
    return true;
}

bool prepare_fresh_history(const char *history, std::string &temp) {
    SafeFile sf;
    if (safe_open(sf, history) == nullptr)
        return false;
    fputs("!Start of billing cycle\n", sf.fp);
    if (!safe_prepare(sf))
        return false;
    temp = sf.temp_name;
    return true;
}

} // namespace

bool move_history_to_qu(const char *history, const char *qu) {
    if (!exists(history))
        return true; // nothing was exported from it
    MoveFiles m{history, "", qu, ""};
    if (!prepare_qu(history, qu, m.new_qu)) {
        log_error("? Unable to open \"%s\" for append.\n", qu);
        return false;
    }
    if (!prepare_fresh_history(history, m.fresh_history) || !write_pending(m)) {
        safe_unlink(m.new_qu.c_str());
        if (!m.fresh_history.empty())
            safe_unlink(m.fresh_history.c_str());
        log_error("? Unable to open \"%s\" for append.\n", qu);
        return false;
    }
    if (!finish_renames(m)) {
        // Nothing renamed yet: take the move back, so that the history
        // stays where it is for the next export.
        if (exists(m.new_qu) && safe_unlink(kPendingMove)) {
            safe_unlink(m.new_qu.c_str());
            safe_unlink(m.fresh_history.c_str());
            log_error("? Unable to open \"%s\" for append.\n", qu);
            return false;
        }
        // The pending file is written: the next read of the history
        // completes the move rather than leaving records in both files.
        log_error("? The move of %s into %s is not finished; it will be before the files are "
                  "next read.\n",
                  history, qu);
        return false;
    }
    return true;
}

void finish_qu_move() {
    if (!exists(kPendingMove))
        return;
    MoveFiles m;
    if (!read_pending(m)) {
        log_error("? Unable to read \"%s\"\n", kPendingMove);
        return;
    }
    if (!finish_renames(m)) {
        log_error("? Unable to finish moving %s into %s\n", m.history.c_str(), m.qu.c_str());
        return;
    }
    printf("Finished moving %s into %s\n", m.history.c_str(), m.qu.c_str());
}
