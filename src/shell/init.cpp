// Start-up and RESET are one state change across the layers: the shell's
// own flags, the console's output, the database, the bill run and the
// e-mail capture.
#include <cstdio>

#include "billing/billing.h"
#include "conio/iosubs.h"
#include "db/db.h"
#include "entry/entry.h"
#include "mail/email_capture.h"
#include "shell/shell.h"

void do_init() {
    shell.exit_flag = 0;
    set_o_file(stdout);
    shell.expert_mode = 0;
    db_init();
    billing_reset();
    entry_reset();
    mail_reset();
}
