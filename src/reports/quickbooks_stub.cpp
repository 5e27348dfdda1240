// The accounting export is not written yet: it says so and returns.
#include "conio/iosubs.h"
#include "reports/reports.h"

void w_quickbooks() {
    notyet("QUICKBOOKS");
}
