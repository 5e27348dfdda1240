// MESSAGE-FROM-FILE: the same text file mailed to every customer with an
// address, through the capture that SEND-BY-EMAIL has opened.
#include <cstdio>

#include "billing/billing.h"
#include "conio/iosubs.h"
#include "db/db.h"
#include "mail/email_capture.h"
#include "reports/reports.h"

namespace {

bool wants_message(const customer *c) {
    if (c->cash && !db.print_cash_bills)
        return false;
    return email_bill_wanted(c);
}

} // namespace

void w_email_file(const char *defaultName) {
    char *name = nullptr;
    char *text = nullptr;
    while (text == nullptr) {
        name = (char *)errfree(name);
        name = get_filename("File containing message to send", defaultName);
        if (name[0] == '\0') {
            errfree(name);
            return;
        }
        text = alloc_file(name, "email", false);
        if (text == nullptr)
            printf("Unable to read file %s\n", name);
    }
    // Once the relay refused the log-in, the rest would only fail as well.
    for (customer *c = db.cust_list.head(); c != nullptr && !o_emailHalted(); c = c->next) {
        if (!wants_message(c))
            continue;
        o_emailStart(c->eMail);
        o_verbatim(text);
        if (!o_emailEnd())
            printf("Email FAILED to %s\n", c->eMail);
    }
    errfree(text);
    errfree(name);
}
