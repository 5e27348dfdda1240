// TIMES is not written yet: it says so and returns.
#include "billing/billing.h"
#include "conio/iosubs.h"

void do_times() {
    notyet("TIMES");
}
