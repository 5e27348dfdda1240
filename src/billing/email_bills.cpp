// EMAIL-BILLS: the bill run, with each statement mailed to the customers
// who have an address. It needs the club's sender and relay first. The
// helpers below are the e-mail branch of the bill run's customer loop.
#include <cstdio>
#include <strings.h>

#include "billing/billing.h"
#include "billing/statement_pdf.h"
#include "conio/iosubs.h"
#include "mail/email_capture.h"

void do_emailBills() {
    maybe_read();
    if (db.emailSender == nullptr || is_blank(db.emailSender) || db.emailServer == nullptr ||
        is_blank(db.emailServer)) {
        printf("? Email sender and server must be set to send bills by EMAIL.\n");
        printf("    Use the CHANGE EMAIL-SENDER and CHANGE EMAIL-SERVER commands to set them.\n");
        return;
    }
    do_bills(1, true);
}

bool email_trial_allows(const char *address) {
    // Only the one address, whatever its letter case.
    return db.emailSendOnly == nullptr ||
           (address != nullptr && strcasecmp(address, db.emailSendOnly) == 0);
}

void email_trial_warning() {
    if (db.emailSendOnly != nullptr)
        printf("!!!SPECIAL TEST MODE sending only to %s\n", db.emailSendOnly);
}

bool email_bill_wanted(const customer *c) {
    return c->eMail != nullptr && !is_blank(c->eMail) && email_trial_allows(c->eMail);
}

bool email_bill_start(const customer *c) {
    const char *subject = db.emailSubject != nullptr ? db.emailSubject : "bill created by VARNOK";
    if (!o_emailOpen(db.emailTempFile, subject, "", db.emailSender, db.emailServer))
        return false;
    o_emailStart(c->eMail);
    attach_statement_pdf(c, billing.bills_ended);
    return true;
}

bool email_bill_finish(FILE *fallback) {
    // The statement's last line (the trailer's) is still pending; on paper
    // the page end writes it, here the line end that page end would have
    // written.
    o_newline(0);
    bool sent = o_emailEnd();
    // A statement that did not go out is printed after all, so that the
    // treasurer can post it.
    const char *text = o_emailGetLastContent();
    if (!sent && text != nullptr && fallback != nullptr) {
        fprintf(fallback, "%s", text);
        fputc('\f', fallback);
    }
    o_emailClose();
    return sent;
}
