// OPTIONS: the program's switches. Their values are kept in the prices
// file, so changing one marks the prices as changed.
#include <cstdio>
#include <cstring>

#include "conio/iosubs.h"
#include "db/db.h"
#include "shell/shell.h"

namespace {

enum option_type { OptionBOOLEAN = 0, OptionNUMBER = 1 };

struct option_definition {
    union {
        char *boole;
        long *number;
    } value;
    option_type type;
    const char *name;
};

const char *const option_names[] = {"PRINT-BILLS-FOR-CASH-ACCOUNTS", nullptr};

option_definition options[] = {
    {{&db.print_cash_bills}, OptionBOOLEAN, "PRINT-BILLS-FOR-CASH-ACCOUNTS"},
};

} // namespace

void do_options() {
    maybe_read();
    int choice =
        get_list("Choose option to set", "PRINT-BILLS-FOR-CASH-ACCOUNTS", option_names, true);
    if (choice < 0)
        return;
    // Only the first row is ever served.
    option_definition &option = options[0];
    if (strcmp(option_names[choice], option.name) != 0) {
        printf("? Unrecognized option name %s\n", option_names[choice]);
        return;
    }
    switch (option.type) {
    case OptionBOOLEAN: {
        bool on = *option.value.boole != 0;
        printf("This option is presently %s.\n", on ? "ON" : "OFF");
        if (get_yesno(on ? "Turn option off" : "Turn option on", "YES")) {
            *option.value.boole = on ? 0 : 1;
            db.price_changed = 1;
        }
        break;
    }
    case OptionNUMBER: {
        long value = get_number("Value of option", *option.value.number);
        if (value != *option.value.number) {
            *option.value.number = value;
            db.price_changed = 1;
        }
        break;
    }
    default:
        printf("? No such option type.\n");
        break;
    }
}
