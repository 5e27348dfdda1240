// The file-operation layer: every step that changes a file on disk, each
// counted so that tests can fail it or end the process there.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include "conio/fileops.h"
#include "conio/write_behind.h"

namespace {

// Test-only state; in a normal run nothing is ever injected and the count
// merely grows.
struct FileOpsState {
    long steps = 0;
    long fault_step = 0;
    FileFault fault = FileFault::NONE;
    void (*observer)(FileStep, const char *) = nullptr;
    std::string mode_reference;
};
FileOpsState fops;

// False when the step is to fail (errno set); does not return when the
// process is to end there.
bool step(FileStep what, const char *name) {
    if (fops.observer != nullptr)
        fops.observer(what, name);
    fops.steps++;
    if (fops.fault == FileFault::NONE || fops.steps != fops.fault_step)
        return true;
    if (fops.fault == FileFault::EXIT)
        _exit(kFileFaultExitStatus);
    errno = EIO;
    return false;
}

int open_step(FileStep what, const char *name, int flags, mode_t mode) {
    if (!step(what, name))
        return -1;
    return open(name, flags | O_CLOEXEC, mode);
}

bool write_all(int fd, const char *data, size_t length, const char *name) {
    if (!step(FileStep::WRITE, name)) {
        // A disk that fills up takes part of the data first.
        if (write(fd, data, length / 2) < 0) {
        }
        errno = ENOSPC;
        return false;
    }
    while (length > 0) {
        ssize_t n = write(fd, data, length);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        data += n;
        length -= (size_t)n;
    }
    return true;
}

bool sync_step(int fd, const char *name) {
    return step(FileStep::SYNC, name) && fsync(fd) == 0;
}

// The descriptor is gone afterwards whatever the result, as with close.
bool close_step(int fd, const char *name) {
    if (!step(FileStep::CLOSE, name)) {
        int saved = errno;
        close(fd);
        errno = saved;
        return false;
    }
    return close(fd) == 0;
}

// Makes the directory entry of a rename durable; failure only weakens the
// guarantee after a power loss, so it is not reported.
void sync_directory_of(const char *name) {
    std::string dir = name;
    size_t slash = dir.rfind('/');
    dir = slash == std::string::npos ? "." : (slash == 0 ? "/" : dir.substr(0, slash));
    int fd = open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        fsync(fd);
        close(fd);
    }
}

// A stdio stream whose writes and close are counted steps.
struct StreamCookie {
    int fd;
    std::string name;
    // A file rewritten as a whole, synced before its rename, is written
    // behind once it has grown large (never while tests inject faults,
    // which expect each write done when its step is counted).
    bool whole_file = false;
    off_t written = 0;
    std::unique_ptr<WriteBehind> behind;
};

// The open streams, so that a file's queued bytes can be waited for
// before it is synced.
std::vector<std::pair<FILE *, StreamCookie *>> streams;

StreamCookie *cookie_of(FILE *fp) {
    for (auto &[stream, cookie] : streams)
        if (stream == fp)
            return cookie;
    return nullptr;
}

// False (errno set) when a byte queued behind could not be written.
bool drain(StreamCookie *c) {
    return c == nullptr || c->behind == nullptr || c->behind->drain();
}

ssize_t cookie_write(void *cookie, const char *data, size_t length) {
    auto *c = static_cast<StreamCookie *>(cookie);
    if (c->behind == nullptr && c->whole_file && fops.fault == FileFault::NONE &&
        c->written >= write_behind_from())
        c->behind = std::make_unique<WriteBehind>(c->fd, c->written);
    if (c->behind != nullptr) {
        if (!step(FileStep::WRITE, c->name.c_str()) || !c->behind->write(data, length))
            return -1;
    } else if (!write_all(c->fd, data, length, c->name.c_str())) {
        return -1;
    }
    c->written += (off_t)length;
    return (ssize_t)length;
}

int cookie_close(void *cookie) {
    auto *c = static_cast<StreamCookie *>(cookie);
    // The thread must be done with the descriptor before it is closed.
    bool written = drain(c);
    int saved = errno;
    c->behind.reset();
    bool ok = close_step(c->fd, c->name.c_str());
    for (auto at = streams.begin(); at != streams.end(); ++at)
        if (at->second == c) {
            streams.erase(at);
            break;
        }
    delete c;
    if (!written) {
        errno = saved;
        return EOF;
    }
    return ok ? 0 : EOF;
}

FILE *stream_on(int fd, const char *name, bool whole_file) {
    cookie_io_functions_t io = {nullptr, cookie_write, nullptr, cookie_close};
    auto *c = new StreamCookie{fd, name, whole_file, 0, nullptr};
    FILE *fp = fopencookie(c, "w", io);
    if (fp == nullptr)
        delete c;
    else
        streams.emplace_back(fp, c);
    return fp;
}

void clear_safe(SafeFile &sf) {
    sf.fp = nullptr;
    sf.fd = -1;
    sf.final_name[0] = '\0';
    sf.temp_name[0] = '\0';
}

constexpr const char *kTempInfix = ".tmp";

} // namespace

bool pour(FILE *in, FILE *out) {
    // History files run to a hundred megabytes: pieces this large pass
    // through stdio untouched, one system call each way.
    std::vector<char> piece(size_t{1} << 20);
    size_t got;
    while ((got = fread(piece.data(), 1, piece.size(), in)) > 0)
        if (out != nullptr)
            fwrite(piece.data(), 1, got, out);
    return ferror(in) == 0;
}

FILE *safe_open(SafeFile &sf, const char *name) {
    clear_safe(sf);
    if (name == nullptr || name[0] == '\0' || strlen(name) >= sizeof sf.final_name) {
        errno = ENAMETOOLONG;
        return nullptr;
    }
    // A rewritten file keeps the permissions of the file it replaces; a new
    // one those of the reference file, or else what the user's umask
    // allows, as fopen would have given it.
    mode_t mask = umask(0);
    umask(mask);
    mode_t mode = 0666 & ~mask;
    struct stat old;
    if (stat(name, &old) == 0 && S_ISREG(old.st_mode))
        mode = old.st_mode & 07777;
    else if (!fops.mode_reference.empty() && stat(fops.mode_reference.c_str(), &old) == 0 &&
             S_ISREG(old.st_mode))
        mode = old.st_mode & 07777;

    long pid = (long)getpid();
    int fd = -1;
    for (int attempt = 0; attempt < 100 && fd < 0; attempt++) {
        int n = snprintf(sf.temp_name, sizeof sf.temp_name, "%s%s%ld-%d", name, kTempInfix, pid,
                         attempt);
        if (n < 0 || (size_t)n >= sizeof sf.temp_name) {
            sf.temp_name[0] = '\0';
            errno = ENAMETOOLONG;
            return nullptr;
        }
        fd = open_step(FileStep::CREATE, sf.temp_name, O_WRONLY | O_CREAT | O_EXCL, 0600);
        if (fd < 0 && errno != EEXIST)
            break;
    }
    if (fd < 0) {
        sf.temp_name[0] = '\0';
        return nullptr;
    }
    if (mode != 0600)
        fchmod(fd, mode);
    sf.fp = stream_on(fd, sf.temp_name, true);
    if (sf.fp == nullptr) {
        int saved = errno;
        close(fd);
        unlink(sf.temp_name);
        sf.temp_name[0] = '\0';
        errno = saved;
        return nullptr;
    }
    sf.fd = fd;
    snprintf(sf.final_name, sizeof sf.final_name, "%s", name);
    return sf.fp;
}

bool safe_prepare(SafeFile &sf) {
    if (sf.fp == nullptr)
        return false;
    bool ok = fflush(sf.fp) == 0 && ferror(sf.fp) == 0;
    ok = ok && drain(cookie_of(sf.fp));
    ok = ok && sync_step(sf.fd, sf.temp_name);
    int saved = errno;
    if (fclose(sf.fp) != 0 && ok) {
        ok = false;
        saved = errno;
    }
    sf.fp = nullptr;
    sf.fd = -1;
    if (!ok) {
        safe_unlink(sf.temp_name);
        clear_safe(sf);
    }
    errno = ok ? 0 : saved;
    return ok;
}

bool safe_commit(SafeFile &sf) {
    if (!safe_prepare(sf))
        return false;
    bool ok = safe_rename(sf.temp_name, sf.final_name);
    int saved = errno;
    if (!ok)
        safe_unlink(sf.temp_name);
    clear_safe(sf);
    errno = ok ? 0 : saved;
    return ok;
}

void safe_abort(SafeFile &sf) {
    if (sf.fp != nullptr)
        fclose(sf.fp);
    if (sf.temp_name[0] != '\0')
        safe_unlink(sf.temp_name);
    clear_safe(sf);
}

bool safe_rename(const char *from, const char *to) {
    if (!step(FileStep::RENAME, from) || rename(from, to) != 0)
        return false;
    sync_directory_of(to);
    return true;
}

bool safe_unlink(const char *name) {
    if (!step(FileStep::UNLINK, name))
        return false;
    return unlink(name) == 0 || errno == ENOENT;
}

bool safe_mkdir(const char *name) {
    if (!step(FileStep::MKDIR, name) || mkdir(name, 0777) != 0)
        return false;
    sync_directory_of(name);
    return true;
}

bool safe_copy(const char *from, const char *to) {
    FILE *in = fopen(from, "r");
    if (in == nullptr)
        return false;
    SafeFile sf;
    if (safe_open(sf, to) == nullptr) {
        int saved = errno;
        fclose(in);
        errno = saved;
        return false;
    }
    bool read_ok = pour(in, sf.fp);
    fclose(in);
    if (!read_ok) {
        safe_abort(sf);
        errno = EIO;
        return false;
    }
    return safe_commit(sf);
}

bool prepare_backup(const char *from, const char *to, std::string &made) {
    made = std::string(to) + kTempInfix + std::to_string((long)getpid()) + "-b";
    if (!step(FileStep::CREATE, made.c_str()))
        return false;
    unlink(made.c_str());
    if (link(from, made.c_str()) == 0)
        return true;
    if (errno != EXDEV && errno != EPERM && errno != ENOTSUP && errno != EMLINK && errno != ENOSYS)
        return false;
    FILE *in = fopen(from, "r");
    if (in == nullptr)
        return false;
    SafeFile sf;
    bool ok = safe_open(sf, to) != nullptr;
    ok = ok && pour(in, sf.fp);
    fclose(in);
    if (!ok) {
        safe_abort(sf);
        errno = EIO;
        return false;
    }
    if (!safe_prepare(sf))
        return false;
    made = sf.temp_name;
    return true;
}

bool safe_backup(const char *from, const char *to) {
    std::string made;
    if (!prepare_backup(from, to, made))
        return false;
    bool ok = safe_rename(made.c_str(), to);
    int saved = errno;
    // When `to` already was a link to the same file the rename does
    // nothing and leaves the temporary name in place.
    unlink(made.c_str());
    errno = saved;
    return ok;
}

bool safe_remove_folder(const char *name) {
    if (DIR *dir = opendir(name)) {
        while (struct dirent *entry = readdir(dir))
            if (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0)
                safe_unlink((std::string(name) + "/" + entry->d_name).c_str());
        closedir(dir);
    }
    if (!step(FileStep::UNLINK, name))
        return false;
    return rmdir(name) == 0 || errno == ENOENT;
}

std::string file_identity(const char *name) {
    struct stat st;
    if (stat(name, &st) != 0)
        return "";
    return std::to_string((unsigned long long)st.st_dev) + ":" +
           std::to_string((unsigned long long)st.st_ino) + ":" +
           std::to_string((long long)st.st_size) + ":" +
           std::to_string((long long)st.st_mtim.tv_sec) + "." +
           std::to_string((long)st.st_mtim.tv_nsec);
}

bool safe_append_bytes(const char *name, const char *data, size_t length) {
    SafeFile sf;
    if (safe_open(sf, name) == nullptr)
        return false;
    bool read_ok = true;
    if (FILE *old = fopen(name, "r")) {
        read_ok = pour(old, sf.fp);
        fclose(old);
    }
    if (!read_ok) {
        safe_abort(sf);
        errno = EIO;
        return false;
    }
    fwrite(data, 1, length, sf.fp);
    return safe_commit(sf);
}

FILE *open_appending(const char *name) {
    if (name == nullptr || *name == '\0') {
        errno = ENOENT;
        return nullptr;
    }
    int fd = open_step(FileStep::OPEN_APPEND, name, O_WRONLY | O_APPEND | O_CREAT, 0666);
    if (fd < 0)
        return nullptr;
    FILE *fp = stream_on(fd, name, false);
    if (fp == nullptr)
        close(fd);
    return fp;
}

int remove_stale_temporaries(const char *directory) {
    DIR *dir = opendir(directory);
    if (dir == nullptr)
        return 0;
    int removed = 0;
    while (struct dirent *entry = readdir(dir)) {
        // "<name>.tmp<pid>-<n>" and nothing else.
        const char *infix = strstr(entry->d_name, kTempInfix);
        while (infix != nullptr && strstr(infix + 1, kTempInfix) != nullptr)
            infix = strstr(infix + 1, kTempInfix);
        if (infix == nullptr || infix == entry->d_name)
            continue;
        const char *p = infix + strlen(kTempInfix);
        char *end = nullptr;
        long pid = strtol(p, &end, 10);
        if (end == p || *p == '-' || *p == '+' || *end != '-' || pid <= 0)
            continue;
        const char *n = end + 1;
        if (*n == '\0' || (strspn(n, "0123456789") != strlen(n) && strcmp(n, "b") != 0))
            continue;
        if (pid == (long)getpid() || kill((pid_t)pid, 0) == 0 || errno == EPERM)
            continue;
        std::string path = std::string(directory) + "/" + entry->d_name;
        struct stat st;
        bool folder = lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
        if (folder ? safe_remove_folder(path.c_str()) : safe_unlink(path.c_str()))
            removed++;
    }
    closedir(dir);
    return removed;
}

void new_files_like(const char *name) {
    fops.mode_reference = name != nullptr ? name : "";
}

void file_fault_at(long at, FileFault what) {
    fops.steps = 0;
    fops.fault_step = at;
    fops.fault = what;
}

long file_steps_taken() {
    return fops.steps;
}

void file_step_observer(void (*observer)(FileStep, const char *)) {
    fops.observer = observer;
}

const char *file_step_name(FileStep what) {
    switch (what) {
    case FileStep::CREATE:
        return "create";
    case FileStep::OPEN_APPEND:
        return "open to append";
    case FileStep::WRITE:
        return "write";
    case FileStep::SYNC:
        return "sync";
    case FileStep::CLOSE:
        return "close";
    case FileStep::RENAME:
        return "rename";
    case FileStep::UNLINK:
        return "unlink";
    case FileStep::MKDIR:
        return "make folder";
    }
    return "?";
}
