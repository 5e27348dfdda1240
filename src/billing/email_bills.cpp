// EMAIL-BILLS: the bill run, with each statement mailed to the customers
// who have an address. It needs the club's sender and relay first.
#include <cstdio>

#include "billing/billing.h"
#include "conio/iosubs.h"

void do_emailBills() {
    maybe_read();
    if (db.emailSender == nullptr || is_blank(db.emailSender) || db.emailServer == nullptr ||
        is_blank(db.emailServer)) {
        printf("? Email sender and server must be set to send bills by EMAIL.\n");
        printf("    Use the CHANGE EMAIL-SENDER and CHANGE EMAIL-SERVER commands to set them.\n");
        return;
    }
    // The bill run itself comes with BILLS.
    notyet("EMAIL-BILLS");
}
