// Syncing a file of hundreds of megabytes only at its end makes the program
// wait for the disk to take all of it: a virtual or cached disk takes data
// for good only when told to flush. A file being rewritten as a whole that
// grows past a few megabytes gets a thread that syncs what was written so
// far, and again after each further piece, while the program goes on
// writing; the sync before the rename then has only the last piece left.
//
// The kernel reports a failed write-back to one sync only, which may be an
// early one: such a failure is kept and fails the file at its close.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

#include <sys/types.h>

class EarlySync {
  public:
    explicit EarlySync(int fd) : fd_(fd) {}
    ~EarlySync() { finish(); }
    EarlySync(const EarlySync &) = delete;
    EarlySync &operator=(const EarlySync &) = delete;

    // `total` bytes are written now; starts or wakes the thread when a
    // piece is waiting.
    void wrote(off_t total);
    // Stops the thread; false, with errno set, when an early sync failed.
    bool finish();

  private:
    void run();

    int fd_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::thread thread_;
    off_t written_ = 0;
    off_t synced_ = 0;
    bool stopping_ = false;
    int error_ = 0;
};

// For tests: the early syncs call `sync` instead of fdatasync, and start
// once `piece` bytes are waiting; a null sync or a piece of 0 restores the
// defaults.
void early_sync_for_tests(int (*sync)(int fd), off_t piece);
