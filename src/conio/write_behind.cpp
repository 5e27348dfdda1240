#include "conio/write_behind.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace {

// The pieces: what is handed over at a time, what the disk is asked to
// start on, and what is synced early. Four pieces may wait, so the program
// runs ahead of the disk but not without bound.
constexpr size_t kBuffer = size_t{1} << 20;
constexpr size_t kQueued = 4;
constexpr off_t kSyncPiece = off_t{4} << 20;
// Small enough for every statements file, large enough that the ordinary
// data files of a run are written directly and no thread is started.
constexpr off_t kDefaultFrom = off_t{1} << 20;

struct WriteBehindSettings {
    ssize_t (*write)(int, const void *, size_t) = ::write;
    int (*sync)(int) = fdatasync;
    off_t from = kDefaultFrom;
};
WriteBehindSettings settings;

} // namespace

WriteBehind::WriteBehind(int fd, off_t already) : fd_(fd), written_(already) {
    filling_.reserve(kBuffer);
    thread_ = std::thread(&WriteBehind::run, this);
}

WriteBehind::~WriteBehind() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

bool WriteBehind::failed(std::unique_lock<std::mutex> &lock) {
    (void)lock;
    if (error_ == 0)
        return false;
    errno = error_;
    return true;
}

void WriteBehind::hand_over(std::unique_lock<std::mutex> &lock) {
    changed_.wait(lock, [this] { return queued_.size() < kQueued || error_ != 0; });
    queued_.push_back(std::move(filling_));
    filling_.clear();
    if (!spare_.empty()) {
        filling_ = std::move(spare_.back());
        spare_.pop_back();
    }
    filling_.reserve(kBuffer);
    changed_.notify_all();
}

bool WriteBehind::write(const char *data, size_t length) {
    while (length > 0) {
        size_t room = kBuffer - filling_.size();
        size_t part = length < room ? length : room;
        filling_.insert(filling_.end(), data, data + part);
        data += part;
        length -= part;
        if (filling_.size() == kBuffer) {
            std::unique_lock<std::mutex> lock(mutex_);
            if (failed(lock))
                return false;
            hand_over(lock);
        }
    }
    std::unique_lock<std::mutex> lock(mutex_);
    return !failed(lock);
}

bool WriteBehind::drain() {
    std::unique_lock<std::mutex> lock(mutex_);
    if (!filling_.empty() && error_ == 0)
        hand_over(lock);
    changed_.wait(lock, [this] { return (queued_.empty() && !busy_) || error_ != 0; });
    return !failed(lock);
}

bool WriteBehind::write_out(const Buffer &buffer) {
    const char *data = buffer.data();
    size_t length = buffer.size();
    while (length > 0) {
        ssize_t n = settings.write(fd_, data, length);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            if (n == 0)
                errno = EIO;
            return false;
        }
        data += n;
        length -= static_cast<size_t>(n);
    }
#ifdef __linux__
    // Only a hint: the syncs are what make the file durable.
    sync_file_range(fd_, written_, static_cast<off_t>(buffer.size()), SYNC_FILE_RANGE_WRITE);
#endif
    written_ += static_cast<off_t>(buffer.size());
    if (written_ - synced_ >= kSyncPiece) {
        if (settings.sync(fd_) != 0)
            return false;
        synced_ = written_;
    }
    return true;
}

void WriteBehind::run() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return !queued_.empty() || stopping_; });
        if (queued_.empty())
            return;
        Buffer buffer = std::move(queued_.front());
        queued_.pop_front();
        busy_ = true;
        // After a failure the rest is dropped: the file is failed anyway.
        bool skip = error_ != 0;
        lock.unlock();
        bool ok = skip || write_out(buffer);
        int saved = errno;
        buffer.clear();
        lock.lock();
        if (!ok && error_ == 0)
            error_ = saved != 0 ? saved : EIO;
        busy_ = false;
        spare_.push_back(std::move(buffer));
        changed_.notify_all();
    }
}

void write_behind_for_tests(ssize_t (*write)(int, const void *, size_t), int (*sync)(int),
                            off_t from) {
    settings.write = write != nullptr ? write : ::write;
    settings.sync = sync != nullptr ? sync : fdatasync;
    settings.from = from > 0 ? from : kDefaultFrom;
}

off_t write_behind_from() {
    return settings.from;
}
