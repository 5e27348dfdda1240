#include "conio/early_sync.h"

#include <cerrno>

#include <unistd.h>

namespace {

// Small enough that the last piece takes the disk a few milliseconds, large
// enough that the files of a normal run never start a thread.
constexpr off_t kDefaultPiece = off_t{4} << 20;

struct EarlySyncSettings {
    int (*sync)(int fd) = fdatasync;
    off_t piece = kDefaultPiece;
};
EarlySyncSettings settings;

} // namespace

void EarlySync::wrote(off_t total) {
    std::lock_guard<std::mutex> lock(mutex_);
    written_ = total;
    if (stopping_ || written_ - synced_ < settings.piece)
        return;
    if (!thread_.joinable())
        thread_ = std::thread(&EarlySync::run, this);
    else
        wake_.notify_one();
}

bool EarlySync::finish() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_one();
    if (thread_.joinable())
        thread_.join();
    if (error_ == 0)
        return true;
    errno = error_;
    return false;
}

void EarlySync::run() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        wake_.wait(lock, [this] { return stopping_ || written_ - synced_ >= settings.piece; });
        if (stopping_)
            return;
        off_t target = written_;
        lock.unlock();
        int result = settings.sync(fd_);
        int saved = errno;
        lock.lock();
        synced_ = target;
        if (result != 0 && error_ == 0)
            error_ = saved;
    }
}

void early_sync_for_tests(int (*sync)(int fd), off_t piece) {
    settings.sync = sync != nullptr ? sync : fdatasync;
    settings.piece = piece > 0 ? piece : kDefaultPiece;
}
