// Feeds arbitrary bytes to one data-file reader. An input the reader takes
// without a single "?" message must survive a round trip: written back by
// the file's writer and read again, it must give the same file once more.
// Each reader runs against the demo club's other files, so that accounts,
// categories and grades resolve as in a real club.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

#include "conio/iosubs.h"
#include "db/db.h"
#include "fuzz/reader_fuzz.h"

namespace {

// Records of one history kind in the file form, as the rewrite writes them.
template <class T>
void write_history(const char *name, const char *heading, RecordList<T> customer::*list,
                   void (*print)(const T *, int, bool, bool)) {
    SafeFile sf;
    if (safe_open(sf, name) == nullptr)
        abort();
    FILE *previous = set_o_file(sf.fp);
    set_tabs_allowed(false);
    fputs(heading, sf.fp);
    for (customer *c : db.cust_list)
        for (T *rec : c->*list) {
            print(rec, 0, false, true);
            o_newline(0);
        }
    set_o_file(previous);
    if (!safe_commit(sf))
        abort();
}

void write_gas_file() {
    // Misc and gas sections of one file: the writer puts misc first.
    SafeFile sf;
    if (safe_open(sf, "VNKGAS.HIS") == nullptr)
        abort();
    FILE *previous = set_o_file(sf.fp);
    set_tabs_allowed(false);
    fputs("$VERSION 2\n$MISC\n", sf.fp);
    for (customer *c : db.cust_list)
        for (misc *m : c->misc) {
            o_misc_struct(m, 0, false, true);
            o_newline(0);
        }
    fputs("$GAS\n", sf.fp);
    for (customer *c : db.cust_list)
        for (gas *g : c->gas) {
            o_gas_struct(g, 0, false, true);
            o_newline(0);
        }
    set_o_file(previous);
    if (!safe_commit(sf))
        abort();
}

struct Reader {
    const char *kind;
    const char *file;
    std::function<void()> read; // after the master files
    std::function<void()> write;
};

const Reader kReaders[] = {
    {"prices", "VNKPRICE.DAT", [] {},
     [] {
         db.price_changed = 1;
         do_w_prices();
     }},
    {"abbrevs", "VNKABBRV.DAT", [] {},
     [] {
         db.abbrev_changed = 1;
         do_w_abbrev();
     }},
    {"customers", "VNKCUST.DAT", [] {},
     [] {
         db.cust_changed = 1;
         do_w_custs();
     }},
    {"balances", "VNKBAL.DAT", [] { do_r_balances(); },
     [] {
         db.balances_changed = 1;
         do_w_balances();
     }},
    {"payments", "VNKPMNT.HIS", [] { readPaymentsFile("VNKPMNT.HIS"); },
     [] {
         write_history("VNKPMNT.HIS", "$VERSION 3\n$PAYMENTS\n", &customer::payments,
                       o_payment_struct);
     }},
    {"daysheet", "VNKFLGHT.HIS", [] { readFlights("VNKFLGHT.HIS"); },
     [] { write_history("VNKFLGHT.HIS", "$VERSION 2\n", &customer::flights, o_flight_struct); }},
    {"gas", "VNKGAS.HIS", [] { readGas("VNKGAS.HIS"); }, write_gas_file},
};

const Reader *current = nullptr;
char work_dir[64] = "";

void remove_work_dir() {
    std::error_code ignored;
    std::filesystem::remove_all(work_dir, ignored);
}

// The file's lines in sorted order: some lists are kept newest first (a
// price's categories), so a rewrite may reorder lines but never change one.
std::string sorted_lines(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    std::sort(lines.begin(), lines.end());
    std::string out;
    for (const auto &line : lines)
        out += line + "\n";
    return out;
}

std::string slurp(const char *name) {
    std::ifstream in(name, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

void spill(const char *name, const uint8_t *data, size_t size) {
    FILE *out = fopen(name, "wb");
    if (out == nullptr || fwrite(data, 1, size, out) != size || fclose(out) != 0)
        abort();
}

// Reads the file under test with a fresh database; true when nothing was
// reported. Messages go to a scratch file, not the fuzzer's console.
bool read_quietly() {
    db_reset();
    db_init();
    conio_reset();
    fflush(stdout);
    if (freopen("messages.out", "w", stdout) == nullptr)
        abort();
    maybe_read();
    current->read();
    fflush(stdout);
    return slurp("messages.out").find("? ") == std::string::npos;
}

} // namespace

bool fuzz_select(const char *kind) {
    for (const Reader &r : kReaders)
        if (strcmp(r.kind, kind) == 0)
            current = &r;
    return current != nullptr;
}

void fuzz_setup(const char *demo_dir) {
    setenv("TZ", "UTC", 1);
    tzset();
    // Every accepted input is written back through the syncing writers; on
    // a memory file system a sync costs nothing, so the runs go to the
    // readers instead of waiting on the disk.
    const char *base = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    snprintf(work_dir, sizeof work_dir, "%s/varnok-fuzz-XXXXXX", base);
    char *pattern = work_dir;
    if (mkdtemp(pattern) == nullptr)
        abort();
    atexit(remove_work_dir);
    for (const auto &e : std::filesystem::directory_iterator(demo_dir))
        std::filesystem::copy_file(e.path(), std::filesystem::path(pattern) / e.path().filename());
    if (chdir(pattern) != 0)
        abort();
    set_max_malloc(1 << 30); // fuzzed lines make large allocations normal
}

int fuzz_one(const uint8_t *data, size_t size) {
    spill(current->file, data, size);
    if (!read_quietly())
        return 0;
    current->write();
    std::string first = slurp(current->file);
    if (!read_quietly()) {
        fprintf(stderr, "the written %s was not read back cleanly:\n%s\n", current->file,
                slurp("messages.out").c_str());
        abort();
    }
    current->write();
    std::string second = slurp(current->file);
    if (sorted_lines(first) != sorted_lines(second)) {
        fprintf(stderr, "round trip of %s changed it:\n--- first\n%s--- second\n%s", current->file,
                first.c_str(), second.c_str());
        abort();
    }
    return 0;
}

#ifdef VARNOK_FUZZ_KIND
extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    if (!fuzz_select(VARNOK_FUZZ_KIND))
        abort();
    fuzz_setup(VARNOK_DEMO_DIR);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    return fuzz_one(data, size);
}
#endif
