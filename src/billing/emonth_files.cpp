// The file side of closing a billing period: a dated copy of the period's
// files under periods/, and the move of each file to its fixed ".OLD" name.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include "conio/transaction.h"

#include "billing/emonth.h"
#include "conio/iosubs.h"

namespace {

bool is_file(const char *name) {
    struct stat st;
    return name != nullptr && stat(name, &st) == 0 && S_ISREG(st.st_mode);
}

const char *base_name(const char *name) {
    const char *slash = strrchr(name, '/');
    return slash ? slash + 1 : name;
}

// periods/<closing date>, or with -2, -3 ... when a period was already
// closed that day: an earlier copy is never overwritten. The copy is made
// in a temporary folder beside it, which only the closing renames.
bool make_period_folder(std::string &folder, std::string &staging) {
    char date[16];
    time_t when = (time_t)db.curDate;
    struct tm local;
    localtime_r(&when, &local);
    strftime(date, sizeof date, "%Y-%m-%d", &local);
    if (!safe_mkdir(kPeriodsFolder) && errno != EEXIST) {
        folder = kPeriodsFolder;
        return false;
    }
    struct stat st;
    for (int n = 1;; n++) {
        char name[96];
        if (n > 1)
            snprintf(name, sizeof name, "%s/%s-%d", kPeriodsFolder, date, n);
        else
            snprintf(name, sizeof name, "%s/%s", kPeriodsFolder, date);
        folder = name;
        if (stat(name, &st) != 0)
            break;
    }
    staging = folder + ".tmp" + std::to_string((long)getpid()) + "-0";
    return safe_mkdir(staging.c_str());
}

} // namespace

std::vector<const char *> period_files() {
    return {db.balancesfile,  db.gashistfile,  db.gashistqufile, db.payhistfile,
            db.payhistqufile, db.daysheetfile, db.daysheetqufile};
}

bool keep_period(FileTransaction &t) {
    new_files_like(db.customerfile);
    std::string folder, staging;
    if (!make_period_folder(folder, staging)) {
        printf("? Unable to make the folder \"%s\" for a copy of the period (%s); the billing "
               "period was not ended.\n",
               folder.c_str(), strerror(errno));
        return false;
    }
    t.place_made(staging, folder);
    for (const char *name : period_files()) {
        if (!is_file(name))
            continue;
        std::string copy = staging + "/" + base_name(name);
        if (!safe_copy(name, copy.c_str())) {
            printf("? Unable to copy \"%s\" into \"%s\" (%s); the billing period was not ended.\n",
                   name, folder.c_str(), strerror(errno));
            return false;
        }
    }
    return true;
}

bool stage_old_and_fresh(FileTransaction &t, const char *name, const char *old_name, bool fresh) {
    // A link keeps the old file under both names until the new one takes
    // its place, so there is no moment with neither.
    if (!is_file(name))
        t.remove(old_name);
    else if (!t.keep_copy(name, old_name))
        return false;
    if (!fresh)
        return true;
    SafeFile sf;
    if (safe_open(sf, name) == nullptr)
        return false;
    fputs("!Start of billing cycle\n", sf.fp);
    return t.place(sf);
}
