// Rewriting the three history files after transactions were removed, so
// that a crash or a failed step at any point leaves every record in exactly
// one of the main file and its companion, never in neither or in both.
//
// For each family the new main file (the temporary file) and the new empty
// companion are first written completely under other names. A small
// pending file then names every file of the family, the old main file and
// companion are kept as backups, and two renames put the new files in
// place. The next start finishes a rewrite whose pending file is still
// there before anything is read, and removes temporaries of killed runs.
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "conio/iosubs.h"
#include "conio/transaction.h"
#include "db/db.h"

namespace {

bool exists(const std::string &name) {
    struct stat st;
    return stat(name.c_str(), &st) == 0;
}

// Writes one history file, every record not yet exported, completely under
// its temporary name. A file that could not be opened or not be written to
// the end is reported by the formatter and leaves every existing file as
// it was.
bool write_temporary(const char *name, const char *kind, HistoryKind history) {
    FILE *out = open_o_file(name, kind);
    if (out == nullptr) {
        set_o_file(stdout);
        return false;
    }
    write_history(out, history, [](const customer *, bool exported) { return !exported; });
    if (close_o_file(out, name, kind) != 0) {
        set_o_file(stdout);
        return false;
    }
    return true;
}

// What differs between the three families, messages included.
struct Family {
    const char *main, *companion, *temp;
    const char *kind;
    HistoryKind history;
    const char *backup, *companion_backup;
    const char *backup_named, *companion_backup_named; // as the messages name them
    const char *lost_message;
};

enum class Outcome { DONE, SKIPPED, STOPPED };

// A file whose reported bad lines were read with defaults would lose them
// in the rewrite; the file as read is kept under the first free numbered
// name first, and the message says where.
bool keep_bad_file(const char *name) {
    const FileReadNote *note = file_read_note(name);
    if (note == nullptr || note->bad_lines == 0)
        return true;
    std::string kept;
    for (int n = 1;; n++) {
        kept = std::string(name) + ".BAD" + std::to_string(n);
        if (!exists(kept))
            break;
    }
    if (!safe_copy(name, kept.c_str())) {
        log_error("? Unable to keep a copy of \"%s\" in \"%s\"; it was not rewritten.\n", name,
                  kept.c_str());
        return false;
    }
    printf("? %d bad line(s) of %s were read with defaults; the file as read is in %s\n",
           note->bad_lines, name, kept.c_str());
    return true;
}

Outcome rewrite_family(const Family &fam) {
    if (!keep_bad_file(fam.main) || !keep_bad_file(fam.companion))
        return Outcome::STOPPED;
    if (!write_temporary(fam.temp, fam.kind, fam.history))
        return Outcome::SKIPPED;
    // The old files are kept as backups and the new ones take their
    // places, all or (after a crash, at the next start) none. Records
    // already exported stay in the companion, so no export sends them again.
    FileTransaction t(std::string("rewrite of ") + fam.main + " and " + fam.companion);
    bool backed_up = exists(fam.main);
    bool ready = (!backed_up || t.keep_copy(fam.main, fam.backup)) &&
                 (!exists(fam.companion) || t.keep_copy(fam.companion, fam.companion_backup)) &&
                 t.rename(fam.temp, fam.main);
    if (ready &&
        !stage_history(t, fam.companion, fam.history, [](const customer *, bool e) { return e; })) {
        log_error("? Unable to write \"%s\"\n", fam.companion);
        return Outcome::STOPPED;
    }
    if (!ready || !t.commit()) {
        if (t.decided()) {
            printf("? The rewrite of %s is not finished; it will be before the files are next "
                   "read.\n",
                   fam.main);
            return Outcome::STOPPED;
        }
        printf("%s", fam.lost_message);
        return Outcome::STOPPED;
    }
    // The files now hold exactly what is in memory.
    note_file_read(fam.main, false, 0);
    note_file_read(fam.companion, false, 0);
    if (backed_up)
        printf("\tThe old copy of %s is in %s\n", fam.main, fam.backup_named);
    printf("\tThe old copy of %s is in %s\n", fam.companion, fam.companion_backup_named);
    return Outcome::DONE;
}

} // namespace

const char *unreadable_source() {
    const char *sources[] = {db.customerfile,  db.gashistfile,  db.gashistqufile, db.payhistfile,
                             db.payhistqufile, db.daysheetfile, db.daysheetqufile};
    for (const char *name : sources) {
        const FileReadNote *note = file_read_note(name);
        if (note == nullptr || note->unreadable)
            return name;
    }
    return nullptr;
}

void note_file_read(const char *name, bool unreadable, int bad_lines) {
    for (FileReadNote &note : db.read_notes)
        if (note.name == name) {
            note.unreadable = unreadable;
            note.bad_lines = bad_lines;
            return;
        }
    db.read_notes.push_back(FileReadNote{name, unreadable, bad_lines});
}

const FileReadNote *file_read_note(const char *name) {
    for (const FileReadNote &note : db.read_notes)
        if (note.name == name)
            return &note;
    return nullptr;
}

void finish_pending_rewrite() {
    new_files_like(db.customerfile);
    if (club_read_only())
        return;
    // Temporaries named by an unfinished change are its new files: they
    // stay until it is finished.
    if (!finish_interrupted_transaction() || db.leftovers_removed)
        return;
    remove_stale_temporaries(".");
    remove_stale_temporaries(kPeriodsFolder);
    db.leftovers_removed = 1;
}

void do_write_database() {
    maybe_read();
    do_r_flights(true);
    do_r_gas(true);
    do_r_payments(true);
    do_r_balances();
    if (const char *name = unreadable_source()) {
        printf("? \"%s\" could not be read; the history files were not rewritten.\n", name);
        return;
    }
    // The rewrite is written under the dialogues' temporary names.
    const char *const sheets[][3] = {{db.gastempfile, db.gashistfile, db.gashistqufile},
                                     {db.paytempfile, db.payhistfile, db.payhistqufile},
                                     {db.daytempfile, db.daysheetfile, db.daysheetqufile}};
    for (const auto &sheet : sheets) {
        if (int count = unremembered_lines(sheet[0], sheet[1], sheet[2]); count > 0) {
            printf("? %d line(s) of %s are not in %s; ENTER that kind of sheet first to remember "
                   "or discard them. The history files were not rewritten.\n",
                   count, sheet[0], sheet[1]);
            return;
        }
    }

    printf("If you write these changes and you have created output to QUICKEN this month\n");
    printf("the QUICKEN output will incorrectly be created again.\n");
    if (!get_yesno("Are you sure you wish to write these changes", "NO"))
        return;

    // This message has always named VNKGAS.BAK for the companion too, and
    // the day sheet companion goes to .OLD although its message says .BAK.
    const Family families[] = {
        {db.gashistfile, db.gashistqufile, db.gastempfile, "gas and misc charges", HistoryKind::GAS,
         "VNKGAS.BAK", "VNKGASQU.BAK", "VNKGAS.BAK", "VNKGAS.BAK",
         "? Could not write GAS charges database, changes just made are lost.\n"},
        {db.payhistfile, db.payhistqufile, db.paytempfile, "payments", HistoryKind::PAYMENTS,
         "VNKPMNT.BAK", "VNKPMNTQ.BAK", "VNKPMNT.BAK", "VNKPMNTQ.BAK",
         "? Could not write PAYMENTS database, changes just made are lost.\n"},
        {db.daysheetfile, db.daysheetqufile, db.daytempfile, "day sheet", HistoryKind::FLIGHTS,
         "VNKFLGHT.BAK", "VNKFLGQU.OLD", "VNKFLGHT.BAK", "VNKFLGQU.BAK",
         "? Could not write FLIGHTS database, changes just made are lost.\n"},
    };
    for (const Family &fam : families)
        if (rewrite_family(fam) == Outcome::STOPPED)
            return;
}
