// The outputs menu behind TYPE, SHOW, PRINT and WRITE: what to produce, the
// guards in front of the prepared files, and the dispatch to each writer.
#include <cstdio>

#include "conio/iosubs.h"
#include "reports/reports.h"

namespace {

const char *const outputs[] = {"ABBREVIATIONS",
                               "ACCOUNT-BALANCES",
                               "ADDRESS-LIST",
                               "BALANCE",
                               "BILLS",
                               "CASH-CUSTOMERS",
                               "CATEGORIES",
                               "CREDIT-CUSTOMERS",
                               "CUSTOMERS",
                               "DATA-UPDATE",
                               "DB-CUSTOMERS",
                               "FILE",
                               "FLAGS",
                               "FLIGHTS",
                               "INFORMATION",
                               "LABELS",
                               "MESSAGE-FROM-FILE",
                               "PHONE-LIST",
                               "PRICE",
                               "QUICKBOOKS",
                               "SPACE",
                               "STATEMENT",
                               "SUMMARIES",
                               "TIMES",
                               "TOW-SUMMARIES",
                               "VERSION",
                               "",
                               nullptr};

enum Output {
    ABBREVIATIONS,
    ACCOUNT_BALANCES,
    ADDRESS_LIST,
    BALANCE,
    BILLS,
    CASH_CUSTOMERS,
    CATEGORIES,
    CREDIT_CUSTOMERS,
    CUSTOMERS,
    DATA_UPDATE,
    DB_CUSTOMERS,
    FILE_COPY,
    FLAGS,
    FLIGHTS,
    INFORMATION,
    LABELS,
    MESSAGE_FROM_FILE,
    PHONE_LIST,
    PRICE,
    QUICKBOOKS,
    SPACE,
    STATEMENT,
    SUMMARIES,
    TIMES,
    TOW_SUMMARIES,
    VERSION,
};

void bills_not_created() {
    printf("Bills have not been created since starting VARNOK or\n");
    printf("    entering new charges. Use the BILLS command to create\n");
}

bool bills_guard() {
    if (db.bills_computed || db.month_ended)
        return true;
    bills_not_created();
    printf("    a new bills file to print.\n");
    return get_yesno("Are you sure you want to print the bills", "NO");
}

bool times_guard() {
    if (db.times_computed || db.month_ended)
        return true;
    printf("Times have not been created since starting VARNOK or\n");
    printf("    entering new charges. Use the TIMES command to create\n");
    printf("    a new time summary file to print.\n");
    return get_yesno("Are you sure you want to print the times", "NO");
}

bool summaries_guard(const char *last_line) {
    if (db.bills_computed)
        return true;
    bills_not_created();
    printf("%s", last_line);
    return false;
}

void w_version() {
    o_lstring(program_version, 0, false);
    o_newline(0);
    o_newline(0);
}

} // namespace

void w_file(const char *defaultName) {
    for (;;) {
        char *name = get_filename("Filename", defaultName);
        if (name[0] == '\0') {
            errfree(name);
            return;
        }
        bool copied = copyfile(name, get_o_file());
        errfree(name);
        if (copied)
            return;
    }
}

namespace {

int choose_output() {
    return get_list("Choose what to output", "ABBREVIATIONS", outputs, true);
}

} // namespace

void w_choose_pdf(const char *pdf_name) {
    int choice = choose_output();
    if (choice == BILLS) {
        if (bills_guard())
            w_bills_pdf(pdf_name);
    } else if (choice == STATEMENT) {
        w_statement_pdf(pdf_name);
    } else if (choice >= 0) {
        printf("? %s has no PDF form; nothing written to %s\n", outputs[choice], pdf_name);
    }
}

void w_choose() {
    int choice = choose_output();
    switch (choice) {
    case ABBREVIATIONS:
        w_abbrevs();
        break;
    case ACCOUNT_BALANCES:
        w_actBals();
        break;
    case ADDRESS_LIST:
        w_address_list();
        break;
    case BALANCE:
        w_balance();
        break;
    case BILLS:
        if (bills_guard())
            w_file(db.statementfile);
        break;
    case CASH_CUSTOMERS:
        w_custs(false, true);
        break;
    case CATEGORIES:
        w_categorys();
        break;
    case CREDIT_CUSTOMERS:
        w_custs(false, false);
        break;
    case CUSTOMERS:
        w_customer_list();
        break;
    case DATA_UPDATE:
        w_data_update_list();
        break;
    case DB_CUSTOMERS:
        w_db_custs();
        break;
    case FILE_COPY:
        w_file("");
        break;
    case FLAGS:
        w_flags();
        break;
    case FLIGHTS:
        w_flts();
        break;
    case INFORMATION:
        w_info();
        break;
    case LABELS:
        w_labels();
        break;
    case MESSAGE_FROM_FILE:
        break; // only SEND-BY-EMAIL uses it
    case PHONE_LIST:
        w_phones();
        break;
    case PRICE:
        w_price();
        break;
    case QUICKBOOKS:
        w_quickbooks();
        break;
    case SPACE:
        w_space();
        break;
    case STATEMENT:
        w_stmnt();
        break;
    case SUMMARIES:
        if (summaries_guard("    new bills before getting summaries of bills.\n"))
            w_charges(billing.bills_started, billing.bills_ended);
        break;
    case TIMES:
        if (times_guard())
            w_file(db.timesfile);
        break;
    case TOW_SUMMARIES:
        if (summaries_guard("    new bills before getting tow summaries.\n"))
            w_tow_summary(billing.bills_started, billing.bills_ended);
        break;
    case VERSION:
        w_version();
        break;
    default:
        break; // cancelled
    }
}
