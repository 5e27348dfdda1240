// Writes a synthetic club for the load benchmark: C customers and, over one
// month, F flights, G fuel sales, M misc records and P payments, all valid.
//
//   bench_gen_club DIR C F [G M P]
//
// G, M and P default to a fifth of F. One flight in twenty is a walk-in ride
// billed to the CASH account, which therefore carries thousands of flights.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace {

unsigned long long rng_state = 0x9e3779b97f4a7c15ULL;

unsigned next_random() {
    rng_state ^= rng_state << 13;
    rng_state ^= rng_state >> 7;
    rng_state ^= rng_state << 17;
    return (unsigned)(rng_state >> 11);
}

unsigned pick(unsigned n) {
    return next_random() % n;
}

struct Name {
    std::string last;
    std::string first;
};

FILE *create(const std::string &dir, const char *name) {
    std::string path = dir + "/" + name;
    FILE *f = fopen(path.c_str(), "w");
    if (f == nullptr) {
        perror(path.c_str());
        exit(1);
    }
    return f;
}

void finish(FILE *f) {
    if (fclose(f) != 0) {
        perror("close");
        exit(1);
    }
}

// Records are spread evenly over the 31 days of May, in date order.
int day_of(long i, long count) {
    return 1 + (int)(i * 31 / (count > 0 ? count : 1));
}

void write_prices(const std::string &dir) {
    FILE *f = create(dir, "VNKPRICE.DAT");
    fprintf(f, "$VERSION 2\n\n"
               "$PRICE\t100\t0\n\tDEFAULT\t4.250\n\n"
               "$PRICE\tASK21\t1\n\tDEFAULT\t42.000\n\tFULL\t30.000\n\n"
               "$PRICE\tDISCUS\t2\n\tDEFAULT\t48.000\n\n"
               "$PRICE\tHOOKUP\t0\n\tDEFAULT\t22.000\n\n"
               "$PRICE\tTHOUSAND\t0\n\tDEFAULT\t9.000\n\n"
               "$GAS_GRADE\t100\n$GAS_GRADE\tJETA\n"
               "$PRINT_BILLS_FOR_CASH_CUSTOMERS\tNO\n$FLAG1\tFLAG1\n$FLAG2\tFLAG2\n"
               "$TUG\tPAWNEE\n$TUG\tHUSKY\n");
    finish(f);
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 4 && argc != 7) {
        fprintf(stderr, "usage: %s DIR CUSTOMERS FLIGHTS [GAS MISC PAYMENTS]\n", argv[0]);
        return 2;
    }
    std::string dir = argv[1];
    long customers = atol(argv[2]);
    long flights = atol(argv[3]);
    long sales = argc == 7 ? atol(argv[4]) : flights / 5;
    long miscs = argc == 7 ? atol(argv[5]) : flights / 5;
    long payments = argc == 7 ? atol(argv[6]) : flights / 5;
    mkdir(dir.c_str(), 0777);

    // Names in file order, which is also the list's order.
    std::vector<Name> names;
    char buffer[64];
    for (long i = 0; i < customers; i++) {
        snprintf(buffer, sizeof buffer, "MEMBER%07ld", i);
        Name n{buffer, ""};
        snprintf(buffer, sizeof buffer, "PILOT%ld", i % 97);
        n.first = buffer;
        names.push_back(n);
    }

    write_prices(dir);

    FILE *f = create(dir, "VNKCUST.DAT");
    fprintf(f, "$VERSION 6\nCASH\t\nCASH\tCASH\n-No Phones\n-No Info\n-No #\n-No spouse name\n"
               "-No Flags\n-No eMail\n-No Address\n\n");
    for (long i = 0; i < customers; i++)
        fprintf(f,
                "%s\t%s\nCREDIT\t%s\n(603)555-%04ld\t\n-No Info\n-No #\n-No spouse name\n"
                "-No Flags\n%s@example.org\n%ld Main St\nConcord, NH 03301\n\n",
                names[i].last.c_str(), names[i].first.c_str(), i % 3 ? "FULL" : "DEFAULT",
                i % 10000, names[i].last.c_str(), i % 400 + 1);
    finish(f);

    f = create(dir, "VNKABBRV.DAT");
    fprintf(f, "$VERSION 1\n");
    for (long i = 0; i < customers && i < 500; i++)
        fprintf(f, "A%04ld\t%s %s\n", i, names[i].last.c_str(), names[i].first.c_str());
    finish(f);

    f = create(dir, "VNKBAL.DAT");
    fprintf(f, "$VERSION 1\n");
    for (long i = 0; i < customers; i += 2)
        fprintf(f, "%s\t%s\t%ld\n", names[i].last.c_str(), names[i].first.c_str(),
                (long)pick(90000) - 20000);
    finish(f);

    // Day sheets are entered day by day, so the file runs in date order;
    // flight numbers run on per day, so no flight is a duplicate.
    f = create(dir, "VNKFLGHT.HIS");
    fprintf(f, "$VERSION 2\n!Date\t\tNumber\tAccount\t\t\tPlane\tPilot\tType\tCFI\tPass\n");
    for (long i = 0; i < flights; i++) {
        int day = 1 + (int)(i * 31 / (flights > 0 ? flights : 1));
        long number = i - (long)((day - 1) * flights + 30) / 31 + 1;
        int start = 9 * 60 + (int)pick(480);
        int end = start + 5 + (int)pick(180);
        const char *tug = pick(2) ? "PAWNEE" : "HUSKY";
        int height = 10 + (int)pick(40);
        if (pick(20) == 0) {
            fprintf(f,
                    "5-%d-2005\t%ld\t#%ld\tASK21\tDAVIS\tC\t\tRIDER\tTB\t%s\t%d.%d\t%d:%02d\t"
                    "%d:%02d\t\n",
                    day, number, 1000 + i, tug, height / 10, height % 10, start / 60, start % 60,
                    end / 60, end % 60);
            continue;
        }
        const Name &n = names[pick((unsigned)customers)];
        bool lesson = pick(3) == 0;
        fprintf(f, "5-%d-2005\t%ld\t%s,%s\t%s\t%s\t%s\t%s\t\tTB\t%s\t%d.%d\t%d:%02d\t%d:%02d\t\n",
                day, number, n.last.c_str(), n.first.c_str(), lesson ? "ASK21" : "DISCUS",
                n.last.c_str(), lesson ? "I" : "O", lesson ? "KA" : "", tug, height / 10,
                height % 10, start / 60, start % 60, end / 60, end % 60);
    }
    finish(f);

    f = create(dir, "VNKGAS.HIS");
    fprintf(f, "$VERSION 2\n$MISC\n!Date\t\tSheet\tLine\tAccount\t\tTax\tCents\tCharge (credit) "
               "is for\n");
    for (long i = 0; i < miscs; i++) {
        const Name &n = names[pick((unsigned)customers)];
        fprintf(f, "5-%d-2005\t%ld\t%ld\t%s,%s\t%s\t%ld\t%s\n", day_of(i, miscs), i / 40 + 1,
                i % 40 + 1, n.last.c_str(), n.first.c_str(), pick(4) ? "N" : "Y",
                (long)pick(20000) - 2000, pick(2) ? "Tie-down" : "Monthly dues");
    }
    fprintf(f, "$GAS\n!Date\t\tSheet\tLine\tAccount\t\tCents\tGrade\tGallons\tPlane\tPilot\n");
    for (long i = 0; i < sales; i++) {
        const Name &n = names[pick((unsigned)customers)];
        int tenths = 20 + (int)pick(400);
        fprintf(f, "5-%d-2005\t%ld\t%ld\t%s,%s\t%ld\t%s\t%d.%d\tN%dX\t%s\n", day_of(i, sales),
                i / 40 + 1, i % 40 + 1, n.last.c_str(), n.first.c_str(),
                ((long)tenths * 4250 / 10 + 5) / 10, pick(5) ? "100" : "JETA", tenths / 10,
                tenths % 10, (int)pick(900) + 100, n.last.c_str());
    }
    finish(f);

    f = create(dir, "VNKPMNT.HIS");
    fprintf(f, "$VERSION 3\n$PAYMENTS\n!Date\tCents\tCheck\tAccount\t\tNote\n");
    for (long i = 0; i < payments; i++) {
        const Name &n = names[pick((unsigned)customers)];
        fprintf(f, "5-%d-2005\t%ld\t%ld\t%s,%s\ton account\n", day_of(i, payments),
                (long)pick(50000) + 100, 1000 + i, n.last.c_str(), n.first.c_str());
    }
    finish(f);

    for (const char *name : {"VNKFLGQU.HIS", "VNKGASQU.HIS", "VNKPMNTQ.HIS"}) {
        f = create(dir, name);
        fprintf(f, "!Start of billing cycle\n");
        finish(f);
    }
    printf("%s: %ld customers, %ld flights, %ld gas, %ld misc, %ld payments\n", dir.c_str(),
           customers, flights, sales, miscs, payments);
    return 0;
}
