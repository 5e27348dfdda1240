// ADD is not written yet: it says so and returns.
#include "conio/iosubs.h"
#include "maint/maint.h"

void do_add() {
    notyet("ADD");
}
