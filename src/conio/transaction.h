// A change to several files that happens whole or, after a crash, is
// completed at the next start.
//
// Every new file is written completely under a temporary name first
// (nothing the user sees has changed yet). commit() then writes one intent
// file naming each rename and removal still to come, performs them in
// order and removes the intent. Until the intent is on disk, a failure or
// a crash leaves every live file as it was; once it is, the change is
// decided and finish_interrupted_transaction() completes it before the next
// run reads anything. Each step records the identity of the file it moves
// (device, inode, size, modification time), so finishing tells a step done
// (its target has that identity) from one still to do (its source has it)
// from one whose file was replaced in between: such a change is given up
// when none of its steps was done yet, and the old files stay.
#pragma once

#include <string>
#include <vector>

#include "conio/fileops.h"

class FileTransaction {
  public:
    // `what` names the change in messages ("closing of the billing period").
    explicit FileTransaction(std::string what);
    // Drops the new files of a transaction that was never committed.
    ~FileTransaction();
    FileTransaction(const FileTransaction &) = delete;
    FileTransaction &operator=(const FileTransaction &) = delete;

    // Finishes a file opened with safe_open (flushed, synced, closed) under
    // its temporary name; on commit it replaces sf.final_name. False (the
    // temporary removed) when it could not be finished.
    bool place(SafeFile &sf);
    // A complete file or folder made by the caller becomes `to` on commit;
    // it is dropped when the transaction is not committed.
    bool place_made(const std::string &made, const std::string &to);
    // An existing file the caller does not own (a live file) becomes `to`.
    bool rename(const std::string &from, const std::string &to);
    // `to` holds what `name` holds now, after commit (a link or a synced
    // copy made now); false when it could not be made.
    bool keep_copy(const std::string &name, const std::string &to);
    void remove(const std::string &name);

    // Performs the change. False: errno is set and decided() tells whether
    // the change is nevertheless decided (to be completed before the files
    // are next read) or nothing changed at all.
    bool commit();
    bool decided() const { return decided_; }
    const std::string &what() const { return what_; }

    struct Step {
        char kind; // 'R' rename, 'D' removal
        std::string from, to, identity;
        bool made; // `from` is this transaction's own, dropped on abort
        bool copy; // only keeps a copy: undoing it loses nothing
    };

  private:
    std::string what_;
    std::vector<Step> steps_;
    bool decided_ = false;
    bool finished_ = false;
    void drop_made();
};

// The intent file's name, in the club folder.
inline constexpr char kIntentFile[] = "VNKINTNT.PND";

// Completes (or gives up) a change a killed run left decided, saying so on
// the console; nothing is printed when there is none. False when an intent
// is still there afterwards.
bool finish_interrupted_transaction();
