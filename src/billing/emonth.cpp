// END-MONTH: closes the billing period. The new balances are rolled into
// the balances file, each period file moves to its ".OLD" name and starts
// afresh. A dated copy of the whole period is made first under periods/,
// so neither a second closing nor a crash half-way can lose a period.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

#include "billing/emonth.h"
#include "conio/iosubs.h"

namespace {

void print_backup_reminder() {
    printf("Automatically end a billing period.\n\n");
    printf("Before ending a billing period it is important to back up the\n");
    printf("database. Copy the following files to a floppy and keep the\n");
    printf("floppy for future reference:\n");
    printf("\tVNK*.HIS\n\tVNK*.DAT\n\tVARNOK.EXE\n\tVARNOK.TXT\n");
}

void print_files_to_empty() {
    printf("\n");
    printf("The balances file %s will be updated to reflect updated", db.balancesfile);
    printf(" account\nbalances.\n\n");
    printf("The following files will be emptied to reflect the start of a\n");
    printf("new billing period:\n");
    for (const char *name : {db.gashistfile, db.payhistfile, db.daysheetfile, db.gashistqufile,
                             db.payhistqufile, db.daysheetqufile})
        printf("\t%s\n", name);
}

// A new balance is the old balance plus the period's charges. When a file
// that either half comes from is there but could not be read, the new
// balances would be wrong and the next period would start from them, so
// the period is not ended at all.
bool period_fully_read() {
    const char *name = unreadable_source();
    const FileReadNote *balances = file_read_note(db.balancesfile);
    if (name == nullptr && balances != nullptr && balances->unreadable)
        name = db.balancesfile;
    if (name == nullptr)
        return true;
    printf("? \"%s\" could not be read; the billing period was not ended.\n", name);
    return false;
}

// Customers the bill run charged carry their new balance forward; the rest
// keep theirs. `before` gets what to put back should the closing fail.
bool roll_balances(std::vector<std::pair<customer *, int32_t>> &before) {
    // The bill run has loaded them; without it, never write a balances file
    // from balances that were not read.
    // Reading the customers reads the balances too.
    if (db.cust_list.empty())
        maybe_read();
    else if (!db.balances_read)
        do_r_balances();
    if (!period_fully_read())
        return false;
    for (customer *c : db.cust_list)
        if (c->charges != nullptr) {
            before.emplace_back(c, c->balance);
            c->balance = getCurrentBalance(c);
        }
    db.balances_changed = 1;
    return true;
}

bool start_history_files(FileTransaction &t) {
    struct Row {
        void (*say)(const char *file);
        const char *file;
        const char *old_name;
    };
    // The second message names the gas history file, not the file it
    // renames: that is how the message has always read.
    const Row rows[] = {
        {[](const char *f) { printf("Renaming %s to VNKGAS.OLD\n", f); }, db.gashistfile,
         "VNKGAS.OLD"},
        {[](const char *) { printf("Renaming %s to VNKGASQU.OLD\n", db.gashistfile); },
         db.gashistqufile, "VNKGASQU.OLD"},
        {[](const char *f) { printf("Renaming %s to VNKPMNT.OLD\n", f); }, db.payhistfile,
         "VNKPMNT.OLD"},
        {[](const char *f) { printf("Renaming %s to VNKPMNTQ.OLD\n", f); }, db.payhistqufile,
         "VNKPMNTQ.OLD"},
        {[](const char *f) { printf("Renaming %s to VNKFLGHT.OLD\n", f); }, db.daysheetfile,
         "VNKFLGHT.OLD"},
        {[](const char *f) { printf("Renaming %s to VNKFLGQU.OLD\n", f); }, db.daysheetqufile,
         "VNKFLGQU.OLD"},
    };
    for (const Row &row : rows) {
        row.say(row.file);
        if (!stage_old_and_fresh(t, row.file, row.old_name, true))
            return false;
    }
    return true;
}

void print_closing_advice() {
    printf("If you forgot to do your backups you can copy these files,\n");
    printf("otherwise these files should be deleted.\n\n");
    printf("Be sure and print bills and times now. The bills and times\n");
    printf("for the previous billing cycle will be lost the next time\n");
    printf("they are made. If times and bills are not printed before\n");
    printf("EXITing VARNOK do not recalculate them or they will be lost!\n");
}

} // namespace

void do_emonth() {
    print_backup_reminder();
    if (!get_yesno("Have you backed up your database?", "YES"))
        return;
    print_files_to_empty();
    if (!get_yesno("Are you sure you want to end the billing period?", "NO"))
        return;
    // Everything below happens whole, or (a crash half-way) is finished at
    // the next start, or (a full disk) not at all.
    FileTransaction t("closing of the billing period");
    if (!keep_period(t))
        return;
    if (!get_yesno("Have TIMES already been computed?", "NO"))
        do_times();
    do_bills(1, false);
    std::vector<std::pair<customer *, int32_t>> before;
    if (!roll_balances(before))
        return;

    printf("Renaming %s to VNKBAL.OLD\n", db.balancesfile);
    bool staged = stage_old_and_fresh(t, db.balancesfile, "VNKBAL.OLD", false) &&
                  do_w_balances(&t) && start_history_files(t);
    if (!staged || !t.commit()) {
        int cause = errno;
        if (!t.decided()) {
            for (const auto &[c, balance] : before)
                c->balance = balance;
            printf("? The billing period was not ended (%s); every file is as it was before.\n",
                   strerror(cause));
            return;
        }
        printf("? The closing is not finished; it will be before the files are next read.\n");
    }
    db.balances_changed = 0;

    free_all_payments();
    free_flights();
    free_gas();
    print_closing_advice();
    db.month_ended = 1;
}
