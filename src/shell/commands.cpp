#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

#include "billing/billing.h"
#include "conio/completion.h"
#include "conio/iosubs.h"
#include "db/db.h"
#include "entry/entry.h"
#include "mail/email_capture.h"
#include "maint/maint.h"
#include "reports/reports.h"
#include "shell/shell.h"

ShellState shell;

// The order matters: a prefix that reaches two rows is ambiguous even when
// a later row would match it exactly.
const command commands[] = {
    {"", do_null, 0, 0},
    {"?", do_question, 0, 0},
    {"HELP", do_help, 1, 0},
    {"ADD", do_add, 1, 0},
    {"BILLS", do_fullBills, 1, 0},
    {"CHANGE", do_change, 1, 0},
    {"DATE", do_setdate, 1, 0},
    {"DBOUT", do_write_database, 0, 1},
    {"EMAIL-BILLS", do_emailBills, 1, 0},
    {"END-MONTH", do_emonth, 1, 0},
    {"ENTER", do_enter, 1, 0},
    {"EXIT", do_exit, 1, 0},
    {"EXPERT", do_setexpert, 1, 0},
    {"FILENAMES", do_filenames, 1, 1},
    {"NOEXPERT", do_clearexpert, 1, 1},
    {"OPTIONS", do_options, 1, 0},
    {"PRINT", do_print, 1, 0},
    {"READ", do_read, 1, 1},
    {"RESET", do_init, 1, 1},
    {"REMOVE", do_remove, 1, 0},
    {"SAVE", do_save, 1, 0},
    {"SEND-BY-EMAIL", do_email, 1, 0},
    {"SHOW", do_type, 1, 0},
    {"TIMES", do_times, 1, 0},
    {"TYPE", do_type, 1, 0},
    {"WRITE", do_write, 1, 0},
    // Rows added later go last, so that no abbreviation typed so far
    // changes its meaning.
    {"VERIFY", do_verify, 1, 0},
    {"IMPORT", do_import, 1, 0},
    {nullptr, nullptr, 0, 0},
};

// A run that found the club folder held by another may look, not change:
// ENTER and IMPORT keep the sheet being typed in the folder's temporary
// files, which the run holding the folder uses too.
static bool refused_read_only(void (*action)(), const char *name) {
    if (!club_read_only() ||
        (action != do_save && action != do_emonth && action != do_remove &&
         action != do_write_database && action != do_enter && action != do_import))
        return false;
    printf("? The club is open read-only: %s is not available.\n", name);
    return true;
}

static bool hidden(const command &row) {
    return row.expert && !shell.expert_mode;
}

char *cmnd_word(const char *text) {
    if (text == nullptr)
        return nullptr;
    while (*text == ' ' || *text == '\t')
        text++;
    if (*text == '\0')
        return nullptr;
    size_t len = strcspn(text, " \t");
    char *word = static_cast<char *>(errmalloc(len + 1));
    for (size_t i = 0; i < len; i++)
        word[i] = static_cast<char>(toupper(static_cast<unsigned char>(text[i])));
    word[len] = '\0';
    return word;
}

bool do_command_table(const char *typed) {
    char *word = cmnd_word(typed);
    if (word == nullptr)
        return true;

    const command *match = nullptr;
    bool ambiguous = false;
    size_t len = strlen(word);
    for (const command *row = commands; row->name != nullptr; row++) {
        if (hidden(*row))
            continue;
        if (strcmp(word, row->name) == 0) {
            match = row;
            break;
        }
        if (strncmp(word, row->name, len) == 0) {
            if (match != nullptr) {
                ambiguous = true;
                break;
            }
            match = row;
        }
    }

    if (match != nullptr && !ambiguous) {
        errfree(word);
        if (!refused_read_only(match->action_routine, match->name))
            match->action_routine();
        return true;
    }
    if (ambiguous)
        printf("? Ambiguous - please type a longer string - \"%s\"\n", word);
    else
        printf("? Ignoring unrecognized command \"%s\"\n", word);
    errfree(word);
    return false;
}

// Tab at the command prompt: the words the command table would take now.
static void complete_command_words(const void *, const std::string &,
                                   std::vector<std::string> &candidates) {
    for (const command *row = commands; row->name != nullptr; row++)
        if (row->name[0] != '\0' && strcmp(row->name, "?") != 0 && !hidden(*row))
            candidates.emplace_back(row->name);
}

void do_null() {}

void do_question() {
    for (const command *row = commands; row->name != nullptr; row++)
        if (row->reported && !hidden(*row))
            printf("\t%s\n", row->name);
}

void do_help() {
    printf("Choose one of the following commands:\n");
    do_question();
    printf("Additional information can be found in the file VARNOK.TXT\n");
}

void do_setexpert() {
    printf("Expert commands permitted.\n");
    shell.expert_mode = 1;
}

void do_clearexpert() {
    printf("Expert commands forbidden.\n");
    shell.expert_mode = 0;
}

void do_setdate() {
    char *answer = get_date("Date (mm-dd-yy)", i_convertTimeToString(db.curDate));
    db.curDate = i_convertDateToTime(answer);
    errfree(answer);
    printf("Date set to: %s\n", i_convertTimeToString(db.curDate));
}

void do_exit() {
    if (!club_read_only())
        do_save();
    shell.exit_flag = 1;
}

void do_type() {
    set_o_file(stdout);
    w_choose();
}

// A name ending in ".pdf" (any case) asks for the PDF form of the output.
static bool names_pdf(const char *name) {
    size_t length = strlen(name);
    return length > 4 && strcasecmp(name + length - 4, ".pdf") == 0;
}

void do_write() {
    char *name = get_filename("Output file", "");
    if (names_pdf(name)) {
        w_choose_pdf(name);
    } else if (name[0] != '\0') {
        FILE *file = open_o_file(name, "output");
        if (file != nullptr) {
            w_choose();
            close_o_file(file, name, "output");
        }
    }
    errfree(name);
}

void do_print() {
    static const char *const printer = "LPT1:";
    printf("Printer output filespec: \"%s\"\n", printer);
    FILE *file = open_o_file(printer, "printing");
    if (file == nullptr)
        return;
    bool old_insert = set_insertReturn(true);
    w_choose();
    set_insertReturn(old_insert);
    // One form feed ejects the last page; it goes to the device itself, since
    // the close drops whatever is still pending on the line.
    fputc('\f', file);
    close_o_file(file, printer, "for printer");
}

// A closed console is taken as EXIT: what changed is saved and the program
// ends normally, wherever in a dialogue the input ran out. An entry dialogue
// keeps the lines already accepted in its temporary file.
static void end_of_input() {
    entry_close_temporary();
    // A WRITE or mailing cut off leaves its file as it was, no temporary.
    o_emailAbandon();
    o_abandon_open_files();
    printf("\n");
    do_exit();
    fflush(stdout);
    exit(0);
}

// One run per club folder; a second may look at the club read-only.
static void take_club_folder() {
    std::string holder;
    if (lock_club_folder(holder))
        return;
    printf("? The club folder is in use by %s.\n", holder.c_str());
    if (!get_yesno("Open the club read-only", "NO")) {
        printf("Leaving the club to the run that holds it.\n");
        exit(0);
    }
    set_club_read_only(true);
}

int do_main(const char *version, const char *prompt) {
    modify_customer_hook = modify_customer;
    account_lists_hook = w_account_lists;
    take_club_folder();
    do_init();
    i_setEndOfInputHandler(end_of_input);
    printf("%s\n\n", version);
    printf("Date set to: %s\n", i_convertTimeToString(db.curDate));
    while (!shell.exit_flag) {
        char *word;
        {
            CompletionScope offer(complete_command_words, CompletionSpan::WORD);
            word = get_commandWord(prompt, "", true);
        }
        do_command_table(word);
        errfree(word);
    }
    fflush(stdout);
    return 0;
}
