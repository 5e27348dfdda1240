#include "conio/iosubs.h"
#include "reports/reports.h"

// SEND-BY-EMAIL comes with the e-mail capture.
void do_email() {
    notyet("SEND-BY-EMAIL");
}
