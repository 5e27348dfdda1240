// Times loading a whole club the way READ ALL does it (prices,
// abbreviations, customers with balances, then the flight, gas and payment
// histories with their companion files) and reports the wall time of each
// step and the peak memory.
//
//   bench_load_all DIR
//
// The program's own messages go to DIR/load_all.log; the number of "?"
// messages among them is reported, and should be 0 for a generated club.
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>

#include <sys/resource.h>
#include <unistd.h>

#include "db/db.h"

namespace {

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

long count_records() {
    long n = 0;
    auto count = [](const auto &list) { return std::distance(list.begin(), list.end()); };
    for (const customer *c : db.cust_list)
        n += count(c->flights) + count(c->gas) + count(c->misc) + count(c->payments);
    return n;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: %s DIR\n", argv[0]);
        return 2;
    }
    if (chdir(argv[1]) != 0) {
        perror(argv[1]);
        return 1;
    }
    if (freopen("load_all.log", "w", stdout) == nullptr) {
        perror("load_all.log");
        return 1;
    }
    db_init();

    Clock::time_point start = Clock::now();
    maybe_read();
    double masters = seconds_since(start);
    Clock::time_point step = Clock::now();
    free_flights();
    do_r_flights(true);
    double flights = seconds_since(step);
    step = Clock::now();
    free_gas();
    do_r_gas(true);
    double gas = seconds_since(step);
    step = Clock::now();
    do_r_balances();
    free_all_payments();
    do_r_payments(true);
    double payments = seconds_since(step);
    double total = seconds_since(start);
    fflush(stdout);

    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    long customers = static_cast<long>(db.cust_list.size());
    long records = count_records();

    long warnings = 0;
    if (FILE *log = fopen("load_all.log", "r")) {
        char line[512];
        while (fgets(line, sizeof line, log))
            if (line[0] == '?')
                warnings++;
        fclose(log);
    }
    fprintf(stderr,
            "customers %ld, transactions %ld\n"
            "masters %.3f s, flights %.3f s, gas+misc %.3f s, balances+payments %.3f s\n"
            "total %.3f s, peak memory %.1f MiB, messages starting with ? %ld\n",
            customers, records, masters, flights, gas, payments, total, usage.ru_maxrss / 1024.0,
            warnings);
    return warnings == 0 ? 0 : 1;
}
