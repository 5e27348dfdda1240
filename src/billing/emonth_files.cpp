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
// closed that day: an earlier copy is never overwritten.
bool make_period_folder(std::string &folder) {
    char date[16];
    time_t when = (time_t)db.curDate;
    struct tm local;
    localtime_r(&when, &local);
    strftime(date, sizeof date, "%Y-%m-%d", &local);
    if (!safe_mkdir(kPeriodsFolder) && errno != EEXIST) {
        folder = kPeriodsFolder;
        return false;
    }
    for (int n = 1;; n++) {
        char name[96];
        if (n > 1)
            snprintf(name, sizeof name, "%s/%s-%d", kPeriodsFolder, date, n);
        else
            snprintf(name, sizeof name, "%s/%s", kPeriodsFolder, date);
        folder = name;
        if (safe_mkdir(folder.c_str()))
            return true;
        if (errno != EEXIST)
            return false;
    }
}

// Drops what an incomplete copy made, so a folder under periods/ always
// holds a whole period.
void drop_copy(const std::string &folder, const std::vector<std::string> &copies) {
    for (const std::string &copy : copies)
        safe_unlink(copy.c_str());
    rmdir(folder.c_str());
}

} // namespace

std::vector<const char *> period_files() {
    return {db.balancesfile,  db.gashistfile,  db.gashistqufile, db.payhistfile,
            db.payhistqufile, db.daysheetfile, db.daysheetqufile};
}

bool keep_period() {
    std::string folder;
    if (!make_period_folder(folder)) {
        printf("? Unable to make the folder \"%s\" for a copy of the period (%s); the billing "
               "period was not ended.\n",
               folder.c_str(), strerror(errno));
        return false;
    }
    std::vector<std::string> copies;
    for (const char *name : period_files()) {
        if (!is_file(name))
            continue;
        std::string copy = folder + "/" + base_name(name);
        if (!safe_copy(name, copy.c_str())) {
            int saved = errno;
            drop_copy(folder, copies);
            printf("? Unable to copy \"%s\" into \"%s\" (%s); the billing period was not ended.\n",
                   name, folder.c_str(), strerror(saved));
            return false;
        }
        copies.push_back(copy);
    }
    return true;
}

void move_to_old(const char *name, const char *old_name) {
    if (!is_file(name)) {
        // Nothing to keep: only the stale copy of an earlier period goes.
        safe_unlink(old_name);
        return;
    }
    // One rename replaces the old copy, so there is no moment with neither.
    if (!safe_rename(name, old_name))
        printf("? Unable to rename %s to %s: %s\n", name, old_name, strerror(errno));
}
