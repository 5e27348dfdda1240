// A sheet cut off before "Remember" (the console's input ended in the middle
// of it) leaves its accepted lines only in the dialogue's temporary file;
// the next dialogue of that kind would overwrite them. Before it does, the
// lines found in none of the period's files are offered for remembering.
#include <cstdio>

#include "conio/iosubs.h"
#include "db/db.h"
#include "entry/dialogue.h"

bool settle_pending_sheet(const char *temporary, HistoryKind kind) {
    const char *history = history_file(kind);
    int count = unremembered_lines(temporary, history, qu_file(kind));
    if (count == 0)
        return true;
    printf("%d line(s) of %s are not in %s: a sheet was cut off before it was remembered.\n", count,
           temporary, history);
    if (get_yesno("Remember them now", "YES")) {
        if (remember_now(kind, temporary))
            return true;
    } else if (get_yesno("Discard them", "NO")) {
        return true;
    }
    printf("? %s is kept as it is; nothing was entered.\n", temporary);
    return false;
}
