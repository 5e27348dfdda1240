// Every change the program makes to a file on disk goes through the routines
// of this header: creating, writing, syncing, closing, renaming, removing
// and appending. Keeping them in one place gives one rule for all of them
// (a file rewritten as a whole is written under a temporary name in the
// same directory, flushed to disk and renamed over the old one) and one
// place where tests can make any step fail or end the process, so every
// sequence of file steps can be tried at every step.
//
// Included by conio/iosubs.h; reading files needs none of this.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <sys/types.h>

// ---- Whole-file rewrite -------------------------------------------------------

// A data file rewritten as a whole goes to a temporary name in the same
// directory and is renamed over the old file only once every byte has been
// flushed to disk, so a full disk or a crash never leaves half a file.
// Temporary names are "<name>.tmp<pid>-<n>"; one left by a killed run is
// removed by remove_stale_temporaries at the next start.
struct SafeFile {
    FILE *fp = nullptr;
    char final_name[512] = "";
    char temp_name[520] = "";
    int fd = -1;
};
FILE *safe_open(SafeFile &sf, const char *name); // nullptr: nothing was created
bool safe_commit(SafeFile &sf);                  // false: old file untouched, temporary removed
void safe_abort(SafeFile &sf);                   // drops the temporary file
// Finishes the file like safe_commit but leaves it complete and on disk
// under sf.temp_name, for a later safe_rename; false removes it.
bool safe_prepare(SafeFile &sf);
// New files (no file of that name to take the mode from) get the mode of
// `name` when it exists: a club that keeps its files private keeps the new
// ones private too.
void new_files_like(const char *name);

// Copies everything readable from `in` to `out` (only reads it through
// when `out` is null); false on a read error.
bool pour(FILE *in, FILE *out);

// ---- Single checked steps -----------------------------------------------------
// Each returns false (errno set) when the step did not happen; none prints.

// Renames and makes the new directory entry durable.
bool safe_rename(const char *from, const char *to);
// True when `name` is gone afterwards (a file that did not exist counts).
bool safe_unlink(const char *name);
// Makes the folder `name` (its parent must exist) and its entry durable;
// false with errno EEXIST when it is already there.
bool safe_mkdir(const char *name);
// Makes `to` a complete, synced copy of `from`, replacing `to` atomically;
// false leaves `to` as it was.
bool safe_copy(const char *from, const char *to);
// Makes `to` hold what `from` holds now without touching `from` (a hard
// link where the file system has them, else a synced copy), replacing `to`
// atomically.
bool safe_backup(const char *from, const char *to);
// Makes a temporary beside `to` that holds what `from` holds now (the
// first half of safe_backup); its name goes to `made`.
bool prepare_backup(const char *from, const char *to, std::string &made);
// Removes a folder and the files in it.
bool safe_remove_folder(const char *name);
// What tells one file from another that took its name: device, inode,
// size and modification time; empty when there is no such file.
std::string file_identity(const char *name);
// Makes `name` end with the given bytes, by rewriting it as a whole.
bool safe_append_bytes(const char *name, const char *data, size_t length);
// A stream appending to `name` (created if missing) whose every write is a
// counted file step; nullptr when it cannot be opened. Close with fclose.
FILE *open_appending(const char *name);

// Removes the temporaries of this program's naming (see SafeFile), files
// or folders, that a killed run left in `directory`; a temporary whose
// process still runs is left alone. Returns how many were removed.
int remove_stale_temporaries(const char *directory);

// ---- The club folder ----------------------------------------------------------

// Takes the club folder (the working directory) for this run with an
// exclusive lock on kFolderLockFile, which the kernel releases when the
// process ends. False when another run holds it; `holder` then says who
// ("process 123 on host by user").
inline constexpr char kFolderLockFile[] = "VNKLOCK.LCK";
bool lock_club_folder(std::string &holder);
// A run that opened the club read-only changes none of its files.
void set_club_read_only(bool read_only);
bool club_read_only();

// ---- Fault injection, for tests -----------------------------------------------

enum class FileStep { CREATE, OPEN_APPEND, WRITE, SYNC, CLOSE, RENAME, UNLINK, MKDIR };
enum class FileFault { NONE, FAIL, EXIT };
constexpr int kFileFaultExitStatus = 77;

// Counts file steps from now on; the `step`-th (1-based) fails with EIO
// (a write fails after writing half its bytes, with ENOSPC) or ends the
// process there with _exit(kFileFaultExitStatus), before the step is done.
// FileFault::NONE only counts. conio_reset switches injection off.
void file_fault_at(long step, FileFault what);
long file_steps_taken();
// Called before every step, with the file it concerns (for a rename the
// source); nullptr switches it off.
void file_step_observer(void (*observer)(FileStep step, const char *name));
const char *file_step_name(FileStep step);
