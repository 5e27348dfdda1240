// Counted allocation, whole-file reading, file copying and appending, the
// error time stamp. The file steps themselves are in fileops.cpp.
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <initializer_list>
#include <vector>

#include <sys/mman.h>
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

// The period's records and their texts arrive by the hundred thousand when
// a history file is read and mostly go all together when it is dropped.
// They are carved from large aligned chunks instead of one malloc each:
// no per-block header or bookkeeping, and a record lies beside its texts.
// Each block is still counted as allocated and freed one by one, and a
// chunk goes back to the heap when its last block is freed.
constexpr size_t kChunkBits = 21;
constexpr size_t kChunkSize = size_t{1} << kChunkBits;
constexpr size_t kBatchLimit = 4096; // larger blocks come from malloc

struct ChunkHead {
    size_t used; // bytes carved, header included
    long live;   // blocks not yet freed
};
constexpr size_t kHeadSize = (sizeof(ChunkHead) + 15) & ~size_t{15};

// The chunks by address, in an open-addressing table; freed slots keep a
// tombstone so that later probes run on past them.
struct ChunkTable {
    std::vector<ChunkHead *> slots = std::vector<ChunkHead *>(64);
    size_t used = 0; // live and tombstone slots
    size_t live = 0;
    ChunkHead *current = nullptr;
};
ChunkTable chunks;
ChunkHead *const kTombstone = reinterpret_cast<ChunkHead *>(uintptr_t{1});

size_t slot_of(uintptr_t base, size_t mask) {
    uint64_t x = base >> kChunkBits;
    x *= 0x9E3779B97F4A7C15ULL;
    return (size_t)(x >> 32) & mask;
}

void insert_chunk(ChunkHead *head) {
    if ((chunks.used + 1) * 2 > chunks.slots.size()) {
        // Tombstones alone are swept out at the same size.
        size_t size = chunks.slots.size();
        if ((chunks.live + 1) * 4 > size)
            size *= 2;
        std::vector<ChunkHead *> old(size);
        old.swap(chunks.slots);
        chunks.used = chunks.live;
        size_t mask = chunks.slots.size() - 1;
        for (ChunkHead *h : old) {
            if (h == nullptr || h == kTombstone)
                continue;
            size_t i = slot_of((uintptr_t)h, mask);
            while (chunks.slots[i] != nullptr)
                i = (i + 1) & mask;
            chunks.slots[i] = h;
        }
    }
    size_t mask = chunks.slots.size() - 1;
    size_t i = slot_of((uintptr_t)head, mask);
    while (chunks.slots[i] != nullptr && chunks.slots[i] != kTombstone)
        i = (i + 1) & mask;
    if (chunks.slots[i] == nullptr)
        chunks.used++;
    chunks.slots[i] = head;
    chunks.live++;
}

// The slot of the chunk holding block, or null when malloc gave it.
ChunkHead **find_chunk(const void *block) {
    if (chunks.live == 0)
        return nullptr;
    uintptr_t base = (uintptr_t)block & ~(uintptr_t)(kChunkSize - 1);
    size_t mask = chunks.slots.size() - 1;
    for (size_t i = slot_of(base, mask);; i = (i + 1) & mask) {
        ChunkHead *h = chunks.slots[i];
        if (h == nullptr)
            return nullptr;
        if ((uintptr_t)h == base)
            return &chunks.slots[i];
    }
}

// Counts one block of a chunk as freed; false when block is not from one.
bool release_batch_block(void *block) {
    ChunkHead **slot = find_chunk(block);
    if (slot == nullptr)
        return false;
    ChunkHead *head = *slot;
    if (--head->live == 0) {
        if (head == chunks.current) {
            head->used = kHeadSize;
        } else {
            *slot = kTombstone;
            chunks.live--;
            free(head);
        }
    }
    return true;
}

void out_of_memory(size_t size) {
    log_error("? Out of memory (%ld bytes %ld bytes ever).\nUnable to continue.\n", (long)size,
              mem.bytes_out);
    set_o_file(stdout);
    o_space();
    fflush(stdout);
    exit(0);
}

} // namespace

void *errmalloc(size_t size) {
    if (size > (size_t)mem.max_malloc)
        log_error("? Allocating %ld bytes, probably a bug.\n", (long)size);
    // malloc(0) may legitimately return null, which must not look like
    // exhaustion.
    void *block = malloc(size != 0 ? size : 1);
    if (block == nullptr)
        out_of_memory(size);
    mem.bytes_out += (long)size;
    mem.blks_out++;
    return block;
}

void *errmalloc_batch(size_t size) {
    if (size > kBatchLimit)
        return errmalloc(size);
    if (size > (size_t)mem.max_malloc)
        log_error("? Allocating %ld bytes, probably a bug.\n", (long)size);
    size_t rounded = (size + 7) & ~size_t{7};
    if (rounded == 0)
        rounded = 8;
    ChunkHead *head = chunks.current;
    if (head == nullptr || head->used + rounded > kChunkSize) {
        head = static_cast<ChunkHead *>(aligned_alloc(kChunkSize, kChunkSize));
        if (head == nullptr)
            out_of_memory(size);
#ifdef MADV_HUGEPAGE
        // A chunk the size and alignment of a huge page can be one: one
        // fault instead of 512, and one TLB entry for the walks over its
        // records. Only advice; where refused, the chunk is small pages.
        madvise(head, kChunkSize, MADV_HUGEPAGE);
#endif
        head->used = kHeadSize;
        head->live = 0;
        // The chunk being left stays until its last block is freed; one
        // already emptied is dropped now.
        ChunkHead *previous = chunks.current;
        chunks.current = head;
        insert_chunk(head);
        if (previous != nullptr && previous->live == 0) {
            *find_chunk(previous) = kTombstone;
            chunks.live--;
            free(previous);
        }
    }
    void *block = reinterpret_cast<char *>(head) + head->used;
    head->used += rounded;
    head->live++;
    mem.bytes_out += (long)size;
    mem.blks_out++;
    return block;
}

char *alloc_str_batch(const char *text, size_t length) {
    char *copy = static_cast<char *>(errmalloc_batch(length + 1));
    memcpy(copy, text, length);
    copy[length] = '\0';
    return copy;
}

void *errfree(void *block) {
    if (block != nullptr) {
        if (!release_batch_block(block))
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
    // A read that stopped early has not copied the file.
    bool read_ok = pour(in, out);
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
