#include <csignal>
#include <cstdio>
#include <cstring>

#include <malloc.h>

#include "shell/shell.h"

static void usage() {
    printf("%s - billing and records for a glider club.\n"
           "\n"
           "Usage: varnok [--version | --help | --new-club DIR]\n"
           "\n"
           "Run it in the directory that holds the club's data files\n"
           "(VNKPRICE.DAT, VNKCUST.DAT, ...); it reads and writes them there\n"
           "and takes its commands from the console.\n"
           "\n"
           "  --version  print the program's version and exit\n"
           "  --help     print this text and exit\n"
           "  --new-club DIR\n"
           "             make DIR a new, empty club and say what to do next\n",
           program_name);
}

int main(int argc, char **argv) {
    // A file-size limit must make a write fail, which the writer reports
    // and survives, rather than kill the program half-way through a save.
    signal(SIGXFSZ, SIG_IGN);
    if (argc > 1) {
        if (argc == 2 && strcmp(argv[1], "--version") == 0) {
            printf("%s\n", program_version);
            return 0;
        }
        if (argc == 2 && strcmp(argv[1], "--help") == 0) {
            usage();
            return 0;
        }
        if (argc == 3 && strcmp(argv[1], "--new-club") == 0)
            return new_club(argv[2]);
        fprintf(stderr, "varnok: unknown argument \"%s\" (try --help)\n", argv[1]);
        return 2;
    }
    // A bill run frees and rereads a month of history records, millions of
    // small blocks. Freed into the fast bins they would all be merged in one
    // long pass at the next large allocation; merged as they are freed the
    // whole costs about a tenth less.
    mallopt(M_MXFAST, 0);
    return do_main(program_version, program_name);
}
