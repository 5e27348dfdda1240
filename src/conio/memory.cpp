// Counted allocation, whole-file reading, file copying and appending, the
// error time stamp, and the crash-safe rewrite of a data file.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "conio/iosubs.h"

namespace {

// The counters serve the allocation report only; they live for the whole
// run and are deliberately never reset.
struct MemoryState {
    long blks_out = 0;
    long blks_in = 0;
    long bytes_out = 0;
    int max_malloc = 500;
    char time_string[30] = "";
};
MemoryState mem;

constexpr size_t kPiece = 200; // longest data-file line

} // namespace

void *errmalloc(size_t size) {
    if (size > (size_t)mem.max_malloc)
        log_error("? Allocating %ld bytes, probably a bug.\n", (long)size);
    // malloc(0) may legitimately return null, which must not look like
    // exhaustion.
    void *block = malloc(size != 0 ? size : 1);
    if (block == nullptr) {
        log_error("? Out of memory (%ld bytes %ld bytes ever).\nUnable to continue.\n", (long)size,
                  mem.bytes_out);
        set_o_file(stdout);
        o_space();
        fflush(stdout);
        exit(0);
    }
    mem.bytes_out += (long)size;
    mem.blks_out++;
    return block;
}

void *errfree(void *block) {
    if (block != nullptr) {
        free(block);
        mem.blks_in++;
    }
    return nullptr;
}

int set_max_malloc(int size) {
    int old = mem.max_malloc;
    mem.max_malloc = size;
    return old;
}

void o_space() {
    o_lstring("Blocks allocated", 0, false);
    o_rnumber(mem.blks_out, 25, true, 10);
    o_newline(0);
    o_lstring("Blocks freed", 0, false);
    o_rnumber(mem.blks_in, 25, true, 10);
    o_newline(0);
    o_lstring("Net blocks out", 0, false);
    o_rnumber(mem.blks_out - mem.blks_in, 25, true, 10);
    o_newline(0);
}

char *alloc_str(const char *text) {
    if (text == nullptr)
        text = "";
    size_t length = strlen(text);
    char *copy = (char *)errmalloc(length + 1);
    memcpy(copy, text, length + 1);
    return copy;
}

void replace_str(char **slot, const char *text) {
    // Copy first: text may be the very string being replaced.
    char *fresh = alloc_str(text);
    errfree(*slot);
    *slot = fresh;
}

char *alloc_file(const char *name, const char *kind, bool verbose) {
    int old_limit = set_max_malloc(10000);
    FILE *in = fopen(name, "r");
    if (in == nullptr) {
        // The raised limit is left in place here on purpose.
        log_error("? Unable to read %s file \"%s\"\n", kind, name);
        return nullptr;
    }
    if (verbose)
        printf("Reading %s file \"%s\"\n", kind, name);

    char *text = alloc_str("");
    size_t length = 0;
    char line[kPiece + 1];
    while (fgets(line, sizeof line, in) != nullptr) {
        size_t add = strlen(line);
        char *grown = (char *)errmalloc(length + add + 1);
        memcpy(grown, text, length);
        memcpy(grown + length, line, add + 1);
        errfree(text);
        text = grown;
        length += add;
    }
    if (fclose(in) != 0)
        log_error("? Unable to close %s file \"%s\".\n", kind, name);
    set_max_malloc(old_limit);
    return text;
}

bool copyfile(const char *name, FILE *out) {
    FILE *in = fopen(name, "r");
    if (in == nullptr) {
        log_error("? Unable to open %s\n", name);
        return false;
    }
    char piece[kPiece];
    size_t got;
    while ((got = fread(piece, 1, sizeof piece, in)) > 0) {
        if (out != nullptr)
            fwrite(piece, 1, got, out);
    }
    fclose(in);
    return true;
}

void copyfile_by_name(const char *from, const char *to) {
    if (from == nullptr || to == nullptr)
        return;
    FILE *out = fopen(to, "w");
    if (out == nullptr) {
        log_error("? Unable to open \"%s\" for copy.\n", to);
        return;
    }
    copyfile(from, out);
    file_close(out, to);
}

void append(const char *dest, const char *src) {
    static const char scratch[] = "APPEND.TMP";
    FILE *tmp = fopen(scratch, "w");
    if (tmp == nullptr) {
        log_error("? Unable to open \"%s\" for append.\n", scratch);
        return;
    }
    copyfile(dest, tmp);
    copyfile(src, tmp);
    file_close(tmp, scratch);

    FILE *out = fopen(dest, "w");
    if (out == nullptr) {
        log_error("? Unable to open \"%s\" for append.\n", dest);
        return;
    }
    copyfile(scratch, out);
    file_close(out, dest);
}

void append_to_file(const char *name, const char *data, size_t length) {
    if (name == nullptr || data == nullptr)
        return;
    FILE *out = fopen(name, "a");
    if (out == nullptr)
        return;
    fwrite(data, 1, length, out);
    fclose(out);
}

int file_close(FILE *file, const char *name) {
    int result = file != nullptr ? fclose(file) : EOF;
    if (result != 0)
        log_error("? Unable to close file \"%s\"\n", name);
    return result;
}

void notyet(const char *what) {
    log_error("? Not implemented yet: \"%s\"\n", what);
}

const char *timestamp() {
    tzset();
    time_t now = time(nullptr);
    struct tm local;
    if (localtime_r(&now, &local) == nullptr ||
        strftime(mem.time_string, sizeof mem.time_string, "%a %d-%b-%Y %H:%M:%S", &local) == 0)
        mem.time_string[0] = '\0';
    return mem.time_string;
}

// ---- Crash-safe rewrite -------------------------------------------------------

namespace {

void clear_safe(SafeFile &sf) {
    sf.fp = nullptr;
    sf.final_name[0] = '\0';
    sf.temp_name[0] = '\0';
}

// Makes the directory entry of a rename durable; failure only weakens the
// guarantee after a power loss, so it is not reported.
void sync_directory_of(const char *name) {
    std::string dir = name;
    size_t slash = dir.rfind('/');
    dir = slash == std::string::npos ? "." : (slash == 0 ? "/" : dir.substr(0, slash));
    int fd = open(dir.c_str(), O_RDONLY | O_DIRECTORY);
    if (fd >= 0) {
        fsync(fd);
        close(fd);
    }
}

} // namespace

FILE *safe_open(SafeFile &sf, const char *name) {
    clear_safe(sf);
    if (name == nullptr || name[0] == '\0' || strlen(name) >= sizeof sf.final_name) {
        errno = ENAMETOOLONG;
        return nullptr;
    }
    // A rewritten file keeps the permissions of the file it replaces; a new
    // one gets what the user's umask allows, as fopen would have given it.
    mode_t mask = umask(0);
    umask(mask);
    mode_t mode = 0666 & ~mask;
    struct stat old;
    if (stat(name, &old) == 0 && S_ISREG(old.st_mode))
        mode = old.st_mode & 07777;

    long pid = (long)getpid();
    int fd = -1;
    for (int attempt = 0; attempt < 100 && fd < 0; attempt++) {
        int n = snprintf(sf.temp_name, sizeof sf.temp_name, "%s.tmp%ld-%d", name, pid, attempt);
        if (n < 0 || (size_t)n >= sizeof sf.temp_name) {
            sf.temp_name[0] = '\0';
            errno = ENAMETOOLONG;
            return nullptr;
        }
        fd = open(sf.temp_name, O_WRONLY | O_CREAT | O_EXCL, 0600);
        if (fd < 0 && errno != EEXIST)
            break;
    }
    if (fd < 0) {
        sf.temp_name[0] = '\0';
        return nullptr;
    }
    if (mode != 0600)
        fchmod(fd, mode);
    sf.fp = fdopen(fd, "w");
    if (sf.fp == nullptr) {
        int saved = errno;
        close(fd);
        unlink(sf.temp_name);
        sf.temp_name[0] = '\0';
        errno = saved;
        return nullptr;
    }
    snprintf(sf.final_name, sizeof sf.final_name, "%s", name);
    return sf.fp;
}

bool safe_commit(SafeFile &sf) {
    if (sf.fp == nullptr)
        return false;
    bool ok = fflush(sf.fp) == 0;
    ok = ok && ferror(sf.fp) == 0;
    ok = ok && fsync(fileno(sf.fp)) == 0;
    int saved = errno;
    if (fclose(sf.fp) != 0 && ok) {
        ok = false;
        saved = errno;
    }
    sf.fp = nullptr;
    if (ok && rename(sf.temp_name, sf.final_name) != 0) {
        ok = false;
        saved = errno;
    }
    if (ok) {
        sync_directory_of(sf.final_name);
    } else {
        unlink(sf.temp_name);
    }
    clear_safe(sf);
    errno = ok ? 0 : saved;
    return ok;
}

void safe_abort(SafeFile &sf) {
    if (sf.fp != nullptr)
        fclose(sf.fp);
    if (sf.temp_name[0] != '\0')
        unlink(sf.temp_name);
    clear_safe(sf);
}
