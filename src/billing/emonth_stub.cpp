// END-MONTH is not written yet: it says so and returns.
#include "billing/billing.h"
#include "conio/iosubs.h"

void do_emonth() {
    notyet("END-MONTH");
}
