// Customer maintenance: ADD, CHANGE and REMOVE, and the customer editor
// that the account prompt opens through its hook. Uses the database and the
// console library.
#pragma once

#include "db/db.h"

void do_add();
void do_change();
void do_remove();
void modify_customer(customer *c);
