// Loading time of the customer file for a small and a ten times larger
// club. Names arrive in no particular order, so every customer is placed
// by lookup rather than appended; the load must grow about linearly.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "db/db.h"

namespace {

const char *const syllables[] = {"AN",  "BER", "CO",  "DAL", "EL",  "FIN", "GAR", "HOL",
                                 "IS",  "JAN", "KEL", "LOR", "MAR", "NOR", "OS",  "PER",
                                 "QUI", "ROS", "SAN", "TER", "UL",  "VAN", "WIL", "ZEN"};
constexpr unsigned kSyllables = sizeof syllables / sizeof syllables[0];

unsigned next_random(unsigned &state) {
    state = state * 1103515245u + 12345u;
    return (state >> 8) & 0xFFFFFFu;
}

std::string make_name(unsigned &state, int parts) {
    std::string name;
    for (int i = 0; i < parts; i++)
        name += syllables[next_random(state) % kSyllables];
    return name;
}

void write_customers(const char *file_name, int count) {
    FILE *file = fopen(file_name, "w");
    if (!file) {
        perror(file_name);
        exit(1);
    }
    fprintf(file, "$VERSION 6\n");
    unsigned state = 12345u + (unsigned)count;
    for (int i = 0; i < count; i++) {
        // The number keeps every name unique; the syllables scatter them.
        std::string last = make_name(state, 3) + std::to_string(i % 97);
        std::string first = make_name(state, 2) + std::to_string(i);
        fprintf(file, "%s\t%s\n", last.c_str(), first.c_str());
        if (i % 10 == 0)
            fprintf(file, "CREDIT\tFULL\tJUNIOR\t1-1-2006\n");
        else
            fprintf(file, "%s\t%s\n", i % 3 ? "CREDIT" : "CASH", i % 2 ? "FULL" : "DEFAULT");
        fprintf(file, "(617)555-%04d\t555-1212\t\n", i % 10000);
        fprintf(file, "Member number %d\n", i);
        fprintf(file, "-No #\n");
        fprintf(file, "-No spouse name\n");
        fprintf(file, i % 4 ? "PILOT\n" : "PILOT\tTOWPILOT\n");
        fprintf(file, "member%d@example.com\n", i);
        fprintf(file, "%d Main St\nSpringfield, MA 01101\n\n", i);
    }
    fclose(file);
}

// The program loads its customer file once, into a fresh heap, so each
// load runs in a child process of its own; the reader's messages are
// discarded so that only the work is timed.
double load_once(const char *file_name) {
    int fds[2];
    if (pipe(fds) != 0) {
        perror("pipe");
        exit(1);
    }
    fflush(stdout);
    pid_t pid = fork();
    if (pid < 0) {
        perror("fork");
        exit(1);
    }
    if (pid == 0) {
        close(fds[0]);
        db_reset();
        db.customerfile = alloc_str(file_name);
        db.balancesfile = alloc_str("NO-BALANCES.DAT");
        int null_fd = open("/dev/null", O_WRONLY);
        dup2(null_fd, 1);
        close(null_fd);

        auto start = std::chrono::steady_clock::now();
        do_r_cust();
        auto end = std::chrono::steady_clock::now();

        double seconds = std::chrono::duration<double>(end - start).count();
        bool ok = write(fds[1], &seconds, sizeof seconds) == (ssize_t)sizeof seconds;
        _exit(ok ? 0 : 1);
    }
    close(fds[1]);
    double seconds = 0;
    bool ok = read(fds[0], &seconds, sizeof seconds) == (ssize_t)sizeof seconds;
    close(fds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    if (!ok || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        fprintf(stderr, "load of %s failed\n", file_name);
        exit(1);
    }
    return seconds;
}

} // namespace

int main() {
    setenv("TZ", "UTC", 1);
    char pattern[] = "/tmp/varnok-bench-XXXXXX";
    if (!mkdtemp(pattern)) {
        perror("mkdtemp");
        return 1;
    }
    std::filesystem::path old_dir = std::filesystem::current_path();
    std::filesystem::current_path(pattern);

    const int small_count = 2000, large_count = 20000;
    write_customers("SMALL.DAT", small_count);
    write_customers("LARGE.DAT", large_count);

    // Best of several loads of each, taken in turns so that other work on
    // the machine weighs on both alike.
    double small_time = 1e9, large_time = 1e9;
    for (int round = 0; round < 9; round++) {
        small_time = std::min(small_time, load_once("SMALL.DAT"));
        large_time = std::min(large_time, load_once("LARGE.DAT"));
    }

    std::filesystem::current_path(old_dir);
    std::error_code ignored;
    std::filesystem::remove_all(pattern, ignored);

    printf("customer file load, %d customers: %.4f s\n", small_count, small_time);
    printf("customer file load, %d customers: %.4f s\n", large_count, large_time);
    printf("ratio: %.2f (limit about 12)\n", large_time / small_time);
    return 0;
}
