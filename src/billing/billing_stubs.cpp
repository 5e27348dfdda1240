// Commands whose work is not written yet: each says so and returns.
#include "billing/billing.h"
#include "conio/iosubs.h"

void do_fullBills() {
    notyet("BILLS");
}
void do_emailBills() {
    notyet("EMAIL-BILLS");
}
void do_emonth() {
    notyet("END-MONTH");
}
void do_times() {
    notyet("TIMES");
}
