// ACCOUNT-BALANCE: the direct correction of a customer's balance, kept in
// memory and written to the balances file on save.
#include <cstdio>

#include "conio/iosubs.h"
#include "db/db.h"
#include "entry/dialogue.h"
#include "entry/entry.h"

void do_balance() {
    maybe_read();
    do_r_balances();
    char *account = alloc_str("");
    customer *c =
        ask_customer("Customer (First Last)", &account, false, "? You must supply a customer .\n");
    errfree(account);
    // A negative balance shows a sign on both parts (-5.-50), as it always
    // has; the default then has to be typed over.
    char now[48];
    snprintf(now, sizeof now, "%s", cents_text(c->balance));
    printf("Current balance is $%s\n", now);
    int32_t balance = ask_fixed("New balance:", 2, now, true);
    if (balance != c->balance) {
        c->balance = balance;
        db.balances_changed = 1;
    }
}
