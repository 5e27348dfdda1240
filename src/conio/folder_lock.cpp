// One run per club folder: an exclusive lock on a file in it, which the
// kernel releases when the process ends, however it ends.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <unistd.h>

#include "conio/fileops.h"

namespace {

bool read_only_run = false;

std::string who_am_i() {
    char host[256] = "?";
    gethostname(host, sizeof host - 1);
    const char *user = getenv("USER");
    if (const passwd *pw = getpwuid(getuid()))
        user = pw->pw_name;
    return "process " + std::to_string((long)getpid()) + " on " + host + " by " +
           (user != nullptr ? user : "?");
}

} // namespace

bool lock_club_folder(std::string &holder) {
    holder.clear();
    // Kept open (and locked) until the process ends.
    int fd = open(kFolderLockFile, O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (fd < 0) {
        holder = std::string("nobody: \"") + kFolderLockFile + "\" cannot be opened (" +
                 strerror(errno) + ")";
        return false;
    }
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        char text[512];
        ssize_t got = pread(fd, text, sizeof text - 1, 0);
        text[got > 0 ? got : 0] = '\0';
        text[strcspn(text, "\n")] = '\0';
        holder = text[0] != '\0' ? text : "another run";
        close(fd);
        return false;
    }
    // Only a note for whoever finds the folder taken; the lock itself is
    // the flock, so this is written in place and not synced.
    std::string me = who_am_i() + "\n";
    if (ftruncate(fd, 0) != 0 || pwrite(fd, me.data(), me.size(), 0) != (ssize_t)me.size()) {
    }
    return true;
}

void set_club_read_only(bool read_only) {
    read_only_run = read_only;
}

bool club_read_only() {
    return read_only_run;
}
