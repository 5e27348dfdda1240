// varnok --new-club DIR: the files a club needs before its first bill run,
// so that a treasurer starts from an empty folder rather than from a copy
// of someone else's club.
#include <cerrno>
#include <cstring>
#include <string>

#include <sys/stat.h>

#include "shell/shell.h"

namespace {

struct ClubFile {
    const char *name;
    const char *text;
};

const char kStartOfPeriod[] = "!Start of billing cycle\n";

// The price list starts empty, but the two categories every club has must
// exist for ADD PRICE and ADD CUSTOMER to offer them, and a category exists
// only through a cost line: a finance charge of nothing holds them.
const char kPrices[] = "$VERSION 2\n"
                       "! Prices and settings of the club. Add each price with ADD PRICE;\n"
                       "! \"?\" at a price says what its number stands for.\n"
                       "\n"
                       "$PRICE\tFINANCE-CHARGE\t0\n"
                       "\tDEFAULT\t0.000\n"
                       "\tCASH\t0.000\n"
                       "\n"
                       "$PRINT_BILLS_FOR_CASH_CUSTOMERS\tNO\n"
                       "$FLAG1\tFLAG1\n"
                       "$FLAG2\tFLAG2\n";

const char kHeading[] = "                         THE CLUB'S NAME\n"
                        "               (its address and phone: edit VNKHEAD.DAT)\n";

const char kTrailer[] = "\n"
                        "Payment terms and whom to ask about this statement: edit VNKTRAIL.DAT\n";

const ClubFile kFiles[] = {
    {"VNKPRICE.DAT", kPrices},        {"VNKCUST.DAT", "$VERSION 6\n"},
    {"VNKABBRV.DAT", "$VERSION 1\n"}, {"VNKBAL.DAT", "$VERSION 1\n"},
    {"VNKHEAD.DAT", kHeading},        {"VNKTRAIL.DAT", kTrailer},
    {"VNKFLGHT.HIS", kStartOfPeriod}, {"VNKFLGQU.HIS", kStartOfPeriod},
    {"VNKGAS.HIS", kStartOfPeriod},   {"VNKGASQU.HIS", kStartOfPeriod},
    {"VNKPMNT.HIS", kStartOfPeriod},  {"VNKPMNTQ.HIS", kStartOfPeriod},
};

std::string path_in(const char *dir, const char *name) {
    std::string path = dir;
    if (!path.empty() && path.back() != '/')
        path += '/';
    return path + name;
}

bool write_file(const std::string &path, const char *text) {
    SafeFile sf;
    FILE *fp = safe_open(sf, path.c_str());
    if (fp == nullptr)
        return false;
    fputs(text, fp);
    return safe_commit(sf);
}

} // namespace

int new_club(const char *dir) {
    struct stat st {};
    if (stat(dir, &st) == 0) {
        if (!S_ISDIR(st.st_mode)) {
            fprintf(stderr, "varnok: \"%s\" is not a folder\n", dir);
            return 1;
        }
        for (const ClubFile &f : kFiles)
            if (stat(path_in(dir, f.name).c_str(), &st) == 0) {
                fprintf(stderr, "varnok: \"%s\" already holds a club (%s); nothing was changed\n",
                        dir, f.name);
                return 1;
            }
    } else if (!safe_mkdir(dir)) {
        fprintf(stderr, "varnok: cannot make the folder \"%s\": %s\n", dir, strerror(errno));
        return 1;
    }
    for (const ClubFile &f : kFiles) {
        std::string path = path_in(dir, f.name);
        if (!write_file(path, f.text)) {
            fprintf(stderr, "varnok: cannot write \"%s\": %s\n", path.c_str(), strerror(errno));
            // Half a club would be refused by the next try; none is not.
            for (const ClubFile *g = kFiles; g != &f; g++)
                safe_unlink(path_in(dir, g->name).c_str());
            return 1;
        }
    }
    printf("A new club is in \"%s\": no prices, no customers, an empty period.\n"
           "Start varnok in that folder, then:\n"
           "  1. ADD PRICE for each aircraft (rental per hour), HOOKUP and THOUSAND\n"
           "     (tows) and whatever else the club charges; \"?\" at a price says\n"
           "     what its number means.\n"
           "  2. ADD CUSTOMER for each member (cash visitors are billed to CASH).\n"
           "  3. ENTER GLIDER-FLIGHTS for the first day sheet; BILLS then writes the\n"
           "     statements into VNKSTMNT.LIS.\n"
           "Put the club's name and address into VNKHEAD.DAT and its payment terms\n"
           "into VNKTRAIL.DAT: they head and end every statement.\n",
           dir);
    return 0;
}
