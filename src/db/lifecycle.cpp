// The database's run-time state: its share of start-up and RESET, READ,
// FILENAMES, the outdated flag labels, and two small helpers shared by
// entry, end of period and export.
#include <cstdio>
#include <cstring>
#include <ctime>

#include "conio/iosubs.h"
#include "db/db.h"
#include "db/file_lines.h"

namespace {

// Prices-file names that FILENAMES replaced without releasing them; they
// stay allocated for the rest of the run, as they always have.
struct Superseded {
    char *name;
    Superseded *next;
};
Superseded *superseded_names = nullptr;

void keep_superseded(char *name) {
    if (name == nullptr)
        return;
    Superseded *s = new Superseded{name, superseded_names};
    superseded_names = s;
}

// Today at local midnight, by way of the date text, as the date prompt
// itself would produce it.
date_t today() {
    time_t now = time(nullptr);
    struct tm local;
    localtime_r(&now, &local);
    char text[64];
    snprintf(text, sizeof text, "%d-%s-%d", local.tm_mday, months[local.tm_mon],
             local.tm_year + 1900);
    return i_convertDateToTime(text);
}

// The three history files are reloaded from disk whatever is held now,
// together with what was already exported, so that a rewrite of the files
// loses nothing.
void reread_flights() {
    free_flights();
    do_r_flights(true);
}

void reread_gas() {
    free_gas();
    do_r_gas(true);
}

void reread_payments() {
    free_all_payments();
    do_r_payments(true);
}

void ask_file_name(char **slot, const char *prompt, const char *default_name) {
    *slot = (char *)errfree(*slot);
    *slot = get_filename(prompt, default_name);
}

void ask_flag_label(char *label, const char *prompt) {
    char *answer = get_word(prompt, label, true);
    char cut[FLAG_TEXT_SIZE];
    snprintf(cut, sizeof cut, "%s", answer);
    errfree(answer);
    if (strcmp(cut, label) != 0) {
        memcpy(label, cut, sizeof cut);
        db.price_changed = 1;
    }
}

} // namespace

void db_init() {
    db.curDate = today();

    replace_str(&db.abbrevfile, "VNKABBRV.DAT");
    replace_str(&db.pricefile, "VNKPRICE.DAT");
    replace_str(&db.customerfile, "VNKCUST.DAT");
    replace_str(&db.balancesfile, "VNKBAL.DAT");
    replace_str(&db.gastempfile, "VNKGAS.TMP");
    replace_str(&db.gashistfile, "VNKGAS.HIS");
    replace_str(&db.gashistqufile, "VNKGASQU.HIS");
    replace_str(&db.paytempfile, "VNKPMNT.TMP");
    replace_str(&db.payhistfile, "VNKPMNT.HIS");
    replace_str(&db.payhistqufile, "VNKPMNTQ.HIS");
    replace_str(&db.statementfile, "VNKSTMNT.LIS");
    replace_str(&db.timesfile, "VNKTIMES.LIS");
    replace_str(&db.daysheetfile, "VNKFLGHT.HIS");
    replace_str(&db.daysheetqufile, "VNKFLGQU.HIS");
    replace_str(&db.daytempfile, "VNKFLGHT.TMP");
    replace_str(&db.headfile, "VNKHEAD.DAT");
    replace_str(&db.trailfile, "VNKTRAIL.DAT");
    replace_str(&db.emailTempFile, "VNKEMAIL.TMP");

    db.flights_read = 0;
    db.gas_read = 0;
    for (char *&item : db.nnumbers)
        item = (char *)errfree(item);

    free_mabbrevs();
    free_mcustomers();
    free_mprices();
    free_mnames();
    free_flag_names();
    free_gas_grades();

    db.bills_computed = 0;
    db.times_computed = 0;

    snprintf(db.sharetext, sizeof db.sharetext, "%s", "FLAG1");
    snprintf(db.boardtext, sizeof db.boardtext, "%s", "FLAG2");

    db.balances_changed = 0;
    db.balances_read = 0;
    db.payments_read = 0;
    db.month_ended = 0;

    // The settings that only the prices file sets go back to their start-up
    // values too, so that a RESET followed by a read gives what a fresh
    // start would.
    for (towplane &tug : db.tugList)
        tug = towplane{};
    db.emailSender = (char *)errfree(db.emailSender);
    db.emailSendOnly = (char *)errfree(db.emailSendOnly);
    db.emailServer = (char *)errfree(db.emailServer);
    db.emailSubject = (char *)errfree(db.emailSubject);
    db.print_cash_bills = 1;
    db.email_attach_pdf = 1;
    db.flights_quicken = 0;
    db.gas_quicken = 0;
    db.payments_quicken = 0;
}

void do_r_all() {
    maybe_read();
    reread_flights();
    reread_gas();
    do_r_balances();
    reread_payments();
}

void do_read() {
    static const char *const choices[] = {"ABBREVIATIONS", "ALL",       "BALANCES",     "FLIGHTS",
                                          "GAS-CHARGES",   "CUSTOMERS", "MISC-CHARGES", "PAYMENTS",
                                          "PRICES",        nullptr};
    int choice = get_list("Choose what to read", "PRICES", choices, true);
    // The balances and the histories name customers: read without the
    // customer list, every name would become a new account or go to CASH,
    // and the customer file would then never be read.
    if (choice == 2 || choice == 3 || choice == 4 || choice == 6 || choice == 7)
        maybe_read();
    switch (choice) {
    case 0:
        do_r_abbrev();
        break;
    case 1:
        do_r_all();
        break;
    case 2:
        do_r_balances();
        break;
    case 3:
        reread_flights();
        break;
    case 4:
    case 6:
        // Misc charges live in the gas history file.
        reread_gas();
        break;
    case 5:
        do_r_cust();
        break;
    case 7:
        reread_payments();
        break;
    case 8:
        do_r_price();
        break;
    default:
        break;
    }
}

void do_filenames() {
    ask_file_name(&db.abbrevfile, "Abbreviations for customer names", "VNKABBRV.DAT");
    printf("Abbreviations: %s\n", db.abbrevfile);
    ask_file_name(&db.pricefile, "Prices and reference info", "VNKPRICE.DAT");
    printf("Prices: %s\n", db.pricefile);
    ask_file_name(&db.customerfile, "List of accounts", "VNKCUST.DAT");
    printf("Accounts: %s\n", db.customerfile);
    ask_file_name(&db.balancesfile, "List of account balances", "VNKBAL.DAT");
    printf("Account balances: %s\n", db.balancesfile);
    ask_file_name(&db.gashistqufile, "Gas history file (output to QUICKEN)", "VNKGASQU.HIS");
    printf("Gas history (output to QUICKEN): %s\n", db.gashistqufile);
    ask_file_name(&db.gashistfile, "Gas history file", "VNKGAS.HIS");
    printf("Gas history: %s\n", db.gashistfile);
    ask_file_name(&db.gastempfile, "Gas temporary file", "VNKGAS.TMP");
    printf("Gas temporary: %s\n", db.gastempfile);
    ask_file_name(&db.payhistfile, "Payments history file", "VNKPMNT.HIS");
    printf("Payments history: %s\n", db.payhistfile);
    ask_file_name(&db.paytempfile, "Payments temporary file", "VNKPMNT.TMP");
    printf("Payments temporary: %s\n", db.paytempfile);
    ask_file_name(&db.payhistqufile, "Payments history file (output to QUICKEN)", "VNKPMNTQ.HIS");
    printf("Payments history (output to QUICKEN): %s\n", db.payhistqufile);
    ask_file_name(&db.daysheetfile, "Day sheet data file", "VNKFLGHT.HIS");
    printf("Day sheet file: %s\n", db.daysheetfile);
    ask_file_name(&db.daytempfile, "Day sheet temporary file", "VNKFLGHT.TMP");
    printf("Day sheet file: %s\n", db.daytempfile);
    ask_file_name(&db.daysheetqufile, "Day sheet data file (output to QUICKEN)", "VNKFLGQU.HIS");
    printf("Day sheet file (output to QUICKEN): %s\n", db.daysheetqufile);
    ask_file_name(&db.statementfile, "Statements file", "VNKSTMNT.LIS");
    printf("Statements file: %s\n", db.statementfile);
    ask_file_name(&db.timesfile, "Times summary file", "VNKTIMES.LIS");
    printf("Time summary file: %s\n", db.timesfile);
    ask_file_name(&db.trailfile, "Trailing text on bill file", "VNKTRAIL.DAT");
    printf("Trailing text on bill file: %s\n", db.trailfile);
    ask_file_name(&db.headfile, "Heading text on bill file", "VNKHEAD.DAT");
    printf("Heading text on bill file: %s\n", db.headfile);
    // The answer to the last question has always replaced the prices file
    // name and left the e-mail temporary name as it was; kept so.
    char *answer = get_filename("Email Temporary File", "VNKEMAIL.TMP");
    keep_superseded(db.pricefile);
    db.pricefile = answer;
    printf("Temporary file for email: %s\n", db.emailTempFile);
}

void do_flagnames() {
    do_r_price();
    printf("A customer can now have any number of flags with any name.\n");
    printf("Add flags to the individual customer with CHANGE CUSTOMER.\n");
    if (!get_yesno("Do you wish to change the outdated names", "NO"))
        return;
    printf("Two flags are provided for each customer. These flags can\n");
    printf("have any name desired. This allows the names to be set.\n");
    ask_flag_label(db.sharetext, "Flag number one");
    ask_flag_label(db.boardtext, "Flag number two");
}

int create_empty_file(const char *name) {
    FILE *out = open_o_file(name, "empty");
    if (out == nullptr) {
        set_o_file(stdout);
        return -1;
    }
    o_lstring("!Start of billing cycle", 0, false);
    o_newline(0);
    int result = close_o_file(out, name, "empty file");
    if (result != 0)
        set_o_file(stdout);
    return result;
}

int set_invoice_number(int32_t *out, const char *text) {
    *out = 0;
    if (text == nullptr)
        return 0;
    if (*text == '#')
        text++;
    if (!is_number(text))
        return 0;
    int32_t number = 0;
    if (!dbfile::scan_int32(text, number))
        return -1;
    *out = number;
    return 0;
}
