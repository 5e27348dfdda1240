// Placeholders for the maintenance commands until their editors exist.

#include "conio/iosubs.h"
#include "maint/maint.h"

void do_add() {
    notyet("ADD");
}

void do_change() {
    notyet("CHANGE");
}

void do_remove() {
    notyet("REMOVE");
}

void modify_customer(customer *) {
    notyet("MODIFY-CUSTOMER");
}
