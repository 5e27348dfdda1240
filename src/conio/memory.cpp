// Counted allocation, whole-file reading, file copying and appending, the
// error time stamp. The file steps themselves are in fileops.cpp.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <initializer_list>
#include <sys/stat.h>

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
    // A read that stopped early has not copied the file.
    bool read_ok = ferror(in) == 0;
    fclose(in);
    return read_ok;
}

bool copyfile_by_name(const char *from, const char *to) {
    if (from == nullptr || to == nullptr)
        return false;
    // The copy is made complete under a temporary name before it replaces
    // anything called `to`.
    if (!safe_copy(from, to)) {
        log_error("? Unable to open \"%s\" for copy.\n", to);
        return false;
    }
    return true;
}

namespace {

bool missing(const char *name) {
    struct stat st;
    return stat(name, &st) != 0 && errno == ENOENT;
}

// `scratch` becomes `first` followed by `second`, complete and on disk, or
// stays as it was. A missing `first` is reported by copyfile and skipped;
// one that is there but cannot be read to its end stops the append, since
// the history would otherwise be replaced by the new lines alone.
bool join_into(const char *scratch, const char *first, const char *second) {
    SafeFile sf;
    if (safe_open(sf, scratch) == nullptr) {
        log_error("? Unable to open \"%s\" for append.\n", scratch);
        return false;
    }
    for (const char *part : {first, second}) {
        if (!copyfile(part, sf.fp) && !missing(part)) {
            safe_abort(sf);
            log_error("? Unable to open \"%s\" for append.\n", part);
            return false;
        }
    }
    if (!safe_commit(sf)) {
        log_error("? Unable to close file \"%s\"\n", scratch);
        return false;
    }
    return true;
}

} // namespace

bool append(const char *dest, const char *src) {
    static const char scratch[] = "APPEND.TMP";
    // The whole result exists in the scratch file before the destination
    // is touched, and the destination is replaced, never truncated: a full
    // disk or a crash leaves either the old or the new history file.
    if (!join_into(scratch, dest, src))
        return false;
    if (!safe_copy(scratch, dest)) {
        log_error("? Unable to open \"%s\" for append.\n", dest);
        return false;
    }
    return true;
}

bool append_to_file(const char *name, const char *data, size_t length) {
    if (name == nullptr || data == nullptr)
        return false;
    return safe_append_bytes(name, data, length);
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
