// SEND-BY-EMAIL: mails a statement, a balance or a text file to customers
// through the e-mail capture, one message per customer.
#include <cstdio>

#include "billing/billing.h"
#include "conio/iosubs.h"
#include "db/db.h"
#include "mail/email_capture.h"
#include "reports/reports.h"

namespace {

const char *const emailOutputs[] = {"BALANCE", "MESSAGE-FROM-FILE", "STATEMENT", nullptr};
enum { EMAIL_BALANCE, EMAIL_MESSAGE_FROM_FILE, EMAIL_STATEMENT };

} // namespace

void do_email() {
    maybe_read();
    if (db.emailSender == nullptr || db.emailServer == nullptr) {
        printf("? Email sender and server must be set to send results by EMAIL.\n");
        printf("    Use the CHANGE EMAIL-SENDER and CHANGE EMAIL-SERVER commands to set them.\n");
        return;
    }
    // Only now is the test-mode setting known, on the first command too.
    email_trial_warning();
    o_emailNewRun();
    const char *subject = db.emailSubject != nullptr ? db.emailSubject : "Information from VARNOK";
    // A capture that cannot be opened leaves the writers printing to the
    // console: they still run, with no capture active.
    o_emailOpen(db.emailTempFile, subject, "", db.emailSender, db.emailServer);
    w_email_choose();
    o_emailClose();
}

int w_email_choose() {
    int choice = get_list("Choose what to output", "STATEMENT", emailOutputs, true);
    switch (choice) {
    case EMAIL_BALANCE:
        w_balance();
        break;
    case EMAIL_MESSAGE_FROM_FILE:
        w_email_file("");
        break;
    case EMAIL_STATEMENT:
        w_stmnt();
        break;
    default:
        break;
    }
    return choice;
}
