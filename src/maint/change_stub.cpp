// CHANGE and the customer editor are not written yet: each says so.
#include "conio/iosubs.h"
#include "maint/maint.h"

void do_change() {
    notyet("CHANGE");
}

void modify_customer(customer *) {
    notyet("MODIFY-CUSTOMER");
}
