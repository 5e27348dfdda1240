#include "conio/iosubs.h"
#include "reports/reports.h"

// The outputs menu behind TYPE, SHOW, PRINT and WRITE comes with the reports.
void w_choose() {
    notyet("OUTPUTS");
}
