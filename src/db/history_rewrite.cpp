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
#include "db/db.h"

namespace {

const char kPendingFile[] = "VNKDBOUT.PND";
const char kEmptyCompanion[] = "!Start of billing cycle\n";

// The files of one family as a rewrite uses them.
struct FamilyFiles {
    std::string main, temp, backup, companion, fresh_companion, companion_backup;
    // Which file the new main file is (see file_identity); empty in a
    // pending file of an earlier version, which is then trusted.
    std::string temp_identity;
};

bool exists(const std::string &name) {
    struct stat st;
    return stat(name.c_str(), &st) == 0;
}

// The temporary file's name is also the one every entry dialogue writes:
// when finishing a rewrite failed at first, an entry run may have put its
// own few lines there before the next try. The file itself, not its name,
// tells the rewrite's new main file from such a one; a rename keeps it.
std::string file_identity(const std::string &name) {
    struct stat st;
    if (stat(name.c_str(), &st) != 0)
        return "";
    return std::to_string((unsigned long long)st.st_dev) + ":" +
           std::to_string((unsigned long long)st.st_ino) + ":" +
           std::to_string((long long)st.st_size) + ":" +
           std::to_string((long long)st.st_mtim.tv_sec) + "." +
           std::to_string((long)st.st_mtim.tv_nsec);
}

bool is_new_main_file(const FamilyFiles &f, const std::string &name) {
    return exists(name) && (f.temp_identity.empty() || file_identity(name) == f.temp_identity);
}

enum class Roll { DONE, FAILED, ABANDONED };

// The roll-forward: each step looks at what is on disk, so that running it
// again after a crash at any point of an earlier run ends in the same place.
// The temporary file exists until the main file has been replaced, and the
// fresh companion until the companion has.
// A new main file that was replaced before it reached its place cannot be
// put there: the rewrite is then given up whole (ABANDONED), the fresh
// companion dropped, and the old main file and companion stay as they were.
Roll finish_renames(const FamilyFiles &f, bool &main_backed_up) {
    main_backed_up = false;
    if (is_new_main_file(f, f.temp)) {
        if (exists(f.main)) {
            if (!safe_backup(f.main.c_str(), f.backup.c_str()))
                return Roll::FAILED;
            main_backed_up = true;
        }
        if (exists(f.companion) && !safe_backup(f.companion.c_str(), f.companion_backup.c_str()))
            return Roll::FAILED;
        if (!safe_rename(f.temp.c_str(), f.main.c_str()))
            return Roll::FAILED;
    } else if (!is_new_main_file(f, f.main)) {
        return safe_unlink(f.fresh_companion.c_str()) ? Roll::ABANDONED : Roll::FAILED;
    }
    if (exists(f.fresh_companion)) {
        if (!safe_rename(f.fresh_companion.c_str(), f.companion.c_str()))
            return Roll::FAILED;
    }
    return Roll::DONE;
}

bool write_pending(const FamilyFiles &f) {
    return write_pending_names(kPendingFile,
                               {f.main, f.temp, f.backup, f.companion, f.fresh_companion,
                                f.companion_backup, f.temp_identity});
}

bool read_pending(FamilyFiles &f) {
    std::vector<std::string> names;
    if (!read_pending_names(kPendingFile, names) || names.size() < 6 || names.size() > 7)
        return false;
    f = FamilyFiles{names[0],
                    names[1],
                    names[2],
                    names[3],
                    names[4],
                    names[5],
                    names.size() == 7 ? names[6] : ""};
    return true;
}

} // namespace

bool write_pending_names(const char *pending, const std::vector<std::string> &names) {
    SafeFile sf;
    if (safe_open(sf, pending) == nullptr)
        return false;
    for (size_t i = 0; i < names.size(); i++)
        fprintf(sf.fp, i ? "\t%s" : "%s", names[i].c_str());
    fprintf(sf.fp, "\n");
    return safe_commit(sf);
}

bool read_pending_names(const char *pending, std::vector<std::string> &names) {
    names.clear();
    FILE *in = fopen(pending, "r");
    if (in == nullptr)
        return false;
    char line[4096];
    bool ok = fgets(line, sizeof line, in) != nullptr;
    fclose(in);
    if (!ok)
        return false;
    line[strcspn(line, "\n")] = '\0';
    char *rest = line;
    for (;;) {
        char *tab = strchr(rest, '\t');
        if (tab != nullptr)
            *tab = '\0';
        if (*rest == '\0')
            return false;
        names.push_back(rest);
        if (tab == nullptr)
            return true;
        rest = tab + 1;
    }
}

namespace {

// The new empty companion, complete on disk under a temporary name.
bool prepare_companion(const char *name, std::string &fresh) {
    SafeFile sf;
    if (safe_open(sf, name) == nullptr) {
        log_error("? Unable to open empty file \"%s\"\n", name);
        return false;
    }
    fputs(kEmptyCompanion, sf.fp);
    if (!safe_prepare(sf)) {
        log_error("? Unable to close empty file file \"%s\"\n", name);
        return false;
    }
    fresh = sf.temp_name;
    return true;
}

// Writes one history file completely under its temporary name. A file that
// could not be opened or not be written to the end is reported by the
// formatter and leaves every existing file as it was.
bool write_temporary(const char *name, const char *kind, const std::function<void()> &body) {
    FILE *out = open_o_file(name, kind);
    if (out == nullptr) {
        set_o_file(stdout);
        return false;
    }
    set_tabs_allowed(false);
    body();
    if (close_o_file(out, name, kind) != 0) {
        set_o_file(stdout);
        return false;
    }
    return true;
}

void o_text_line(const char *text) {
    o_lstring(text, 0, false);
    o_newline(0);
}

// Every customer's records of one kind, in customer order, one a line in
// the file form.
template <class T>
void write_records(T *customer::*list, void (*print)(const T *, int, bool, bool)) {
    for (customer *c = db.cust_list; c != nullptr; c = c->next)
        for (T *rec = c->*list; rec != nullptr; rec = rec->next) {
            print(rec, 0, false, true);
            o_newline(0);
        }
}

void write_gas_and_misc() {
    o_text_line("$VERSION 2");
    o_text_line("$MISC");
    o_text_line("!Date\t\tSheet\tLine\tAccount\t\tTax\tCents\tCharge (credit) is for");
    write_records(&customer::misc, o_misc_struct);
    o_text_line("$GAS");
    o_text_line("!Date\t\tSheet\tLine\tAccount\t\tCents\tGrade\tGallons\tPlane\tPilot");
    write_records(&customer::gas, o_gas_struct);
}

void write_payments() {
    o_text_line("$VERSION 3");
    o_text_line("$PAYMENTS");
    o_text_line("!Date\tCents\tCheck\tAccount\t\tNote");
    write_records(&customer::payments, o_payment_struct);
}

void write_flights() {
    o_text_line("$VERSION 2");
    o_text_line("!Date\t\tNumber\tAccount\t\t\tPlane\tPilot\tType\tCFI\tPass");
    write_records(&customer::flights, o_flight_struct);
}

// What differs between the three families, messages included.
struct Family {
    const char *main, *companion, *temp;
    const char *kind;
    void (*body)();
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
    if (!write_temporary(fam.temp, fam.kind, fam.body))
        return Outcome::SKIPPED;
    FamilyFiles f{fam.main,
                  fam.temp,
                  fam.backup,
                  fam.companion,
                  "",
                  fam.companion_backup,
                  file_identity(fam.temp)};
    if (!prepare_companion(fam.companion, f.fresh_companion))
        return Outcome::STOPPED;
    if (!write_pending(f)) {
        log_error("? Unable to write \"%s\"\n", kPendingFile);
        safe_unlink(f.fresh_companion.c_str());
        return Outcome::STOPPED;
    }
    bool backed_up = false;
    if (finish_renames(f, backed_up) != Roll::DONE) {
        // A failed step changed nothing that matters: either no rename
        // happened, or the main file was replaced and the companion was
        // not, which the pending file lets the next start complete.
        if (!exists(f.temp)) {
            printf("? The rewrite of %s is not finished; it will be before the files are next "
                   "read.\n",
                   fam.main);
            return Outcome::STOPPED;
        }
        // The pending file goes first: a start that found it without the
        // fresh companion would put the new main file in place beside the
        // old companion, whose records would then count twice.
        safe_unlink(kPendingFile);
        safe_unlink(f.fresh_companion.c_str());
        printf("%s", fam.lost_message);
        return Outcome::STOPPED;
    }
    safe_unlink(kPendingFile);
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

void (*finish_pending_move_hook)() = nullptr;
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
    if (finish_pending_move_hook)
        finish_pending_move_hook();
    if (!exists(kPendingFile)) {
        if (!db.leftovers_removed)
            remove_stale_temporaries(".");
        db.leftovers_removed = 1;
        return;
    }
    FamilyFiles f;
    bool backed_up = false;
    if (!read_pending(f)) {
        log_error("? Unable to read \"%s\"\n", kPendingFile);
        return;
    }
    Roll roll = finish_renames(f, backed_up);
    if (roll == Roll::FAILED || !safe_unlink(kPendingFile)) {
        log_error("? Unable to finish the interrupted rewrite of %s\n", f.main.c_str());
        return;
    }
    if (roll == Roll::ABANDONED)
        printf("? The interrupted rewrite of %s was given up: its new file \"%s\" had been "
               "replaced.\n  %s and %s are as they were before it.\n",
               f.main.c_str(), f.temp.c_str(), f.main.c_str(), f.companion.c_str());
    else
        printf("Finished the interrupted rewrite of %s and %s\n", f.main.c_str(),
               f.companion.c_str());
    remove_stale_temporaries(".");
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
        {db.gashistfile, db.gashistqufile, db.gastempfile, "gas and misc charges",
         write_gas_and_misc, "VNKGAS.BAK", "VNKGASQU.BAK", "VNKGAS.BAK", "VNKGAS.BAK",
         "? Could not write GAS charges database, changes just made are lost.\n"},
        {db.payhistfile, db.payhistqufile, db.paytempfile, "payments", write_payments,
         "VNKPMNT.BAK", "VNKPMNTQ.BAK", "VNKPMNT.BAK", "VNKPMNTQ.BAK",
         "? Could not write PAYMENTS database, changes just made are lost.\n"},
        {db.daysheetfile, db.daysheetqufile, db.daytempfile, "day sheet", write_flights,
         "VNKFLGHT.BAK", "VNKFLGQU.OLD", "VNKFLGHT.BAK", "VNKFLGQU.BAK",
         "? Could not write FLIGHTS database, changes just made are lost.\n"},
    };
    for (const Family &fam : families)
        if (rewrite_family(fam) == Outcome::STOPPED)
            return;
}
