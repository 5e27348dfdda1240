// ENTER is not written yet: it says so and returns.
#include "conio/iosubs.h"
#include "entry/entry.h"

void do_enter() {
    notyet("ENTER");
}
