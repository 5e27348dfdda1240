// Customer maintenance: ADD, CHANGE and REMOVE.
#pragma once

struct customer;

void do_add();
void do_change();
void do_remove();
void modify_customer(customer *c);
