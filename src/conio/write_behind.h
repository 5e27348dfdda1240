// Writing a large file from a thread of its own. A statements file runs to
// hundreds of megabytes, and the program used to wait for each of its
// writes into the page cache and, at the end, for the disk to take all of
// it: a virtual or cached disk takes data for good only when told to sync.
// Once a file being rewritten as a whole has grown past a megabyte, its
// bytes are handed to a thread that writes them in order, asks the disk to
// start on each megabyte, and syncs what it has written after every few
// megabytes, while the program goes on producing the rest. The sync
// before the rename then has only the last piece left.
//
// The kernel reports a failed write-back to one sync only, which may be an
// early one: every failure of the thread is kept and fails the file.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include <sys/types.h>

class WriteBehind {
  public:
    // `already` bytes of the file were written before it was handed over.
    WriteBehind(int fd, off_t already);
    ~WriteBehind();
    WriteBehind(const WriteBehind &) = delete;
    WriteBehind &operator=(const WriteBehind &) = delete;

    // Queues the bytes; false, with errno set, once a write or sync of the
    // thread has failed.
    bool write(const char *data, size_t length);
    // Waits until every byte queued is written; false, with errno set, when
    // anything failed. The file may be synced and closed afterwards.
    bool drain();

  private:
    using Buffer = std::vector<char>;

    void hand_over(std::unique_lock<std::mutex> &lock);
    void run();
    bool write_out(const Buffer &buffer);
    bool failed(std::unique_lock<std::mutex> &lock);

    int fd_;
    Buffer filling_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Buffer> queued_;
    std::vector<Buffer> spare_;
    bool busy_ = false; // the thread is writing a buffer it took
    bool stopping_ = false;
    int error_ = 0;
    off_t written_ = 0; // by the thread, which alone uses these two
    off_t synced_ = 0;
    std::thread thread_;
};

// For tests: the thread writes with `write` and syncs with `sync` instead
// of the system calls, and takes over a file once `from` bytes are
// written; nulls and 0 restore the defaults.
void write_behind_for_tests(ssize_t (*write)(int fd, const void *data, size_t length),
                            int (*sync)(int fd), off_t from);
// The size from which a file rewritten as a whole is written behind.
off_t write_behind_from();
