// CHANGE: the menu, and the three e-mail settings kept in the prices file.
#include <cstring>
#include <string>

#include "maint/maint.h"

namespace {

// Ended by an empty entry, listed by "?" as an empty line, with no action.
const char *const changes[] = {
    "ABBREVIATION", "CUSTOMER", "EMAIL-SENDER", "EMAIL-SERVER", "EMAIL-SUBJECT",
    "PRICE",        "",         nullptr};
enum { ABBREVIATION, CUSTOMER, EMAIL_SENDER, EMAIL_SERVER, EMAIL_SUBJECT, PRICE };

// A non-empty answer replaces the setting; an empty one (or "~") keeps it.
// The blank answer that takes the present value changes nothing either.
void store_setting(char **setting, char *answer) {
    if (answer[0] != '\0' && strcmp(answer, "~") != 0 &&
        (!*setting || strcmp(*setting, answer) != 0)) {
        replace_str(setting, answer);
        db.price_changed = 1;
    }
    errfree(answer);
}

void repeat(void (*action)(), const char *item) {
    std::string another = std::string("CHANGE another ") + item;
    do
        action();
    while (get_yesno(another.c_str(), "YES"));
}

void change_abbreviation() {
    add_abbrev(false);
}

} // namespace

void change_emailServer() {
    for (;;) {
        char *answer = get_checked_word("SMTP server to send email", db.emailServer,
                                        "The server name", EMAIL_WORD_MAX, FIELD_PLAIN);
        if (!server_has_credentials(answer)) {
            store_setting(&db.emailServer, answer);
            return;
        }
        errfree(answer);
        printf("? The server setting may not hold a user or password.\n");
        credentials_advice();
    }
}

void change_emailSender() {
    store_setting(&db.emailSender,
                  get_checked_word("Email for the FROM and REPLYTO fields when sending email",
                                   db.emailSender, "The sender's address", EMAIL_WORD_MAX,
                                   FIELD_PLAIN));
}

void change_emailSubject() {
    store_setting(&db.emailSubject,
                  get_checked_line("Text for the SUBJECT field when sending email", db.emailSubject,
                                   false, false, "The subject", EMAIL_SUBJECT_MAX, FIELD_PLAIN));
}

void do_change() {
    maybe_read();
    int which = get_list("Choose what to change", "CUSTOMER", changes, true);
    switch (which) {
    case ABBREVIATION:
        repeat(change_abbreviation, changes[which]);
        break;
    case CUSTOMER:
        repeat(chg_cust, changes[which]);
        break;
    case PRICE:
        repeat(add_price, changes[which]);
        break;
    // The settings are changed once, without an "another" question.
    case EMAIL_SENDER:
        change_emailSender();
        break;
    case EMAIL_SERVER:
        change_emailServer();
        break;
    case EMAIL_SUBJECT:
        change_emailSubject();
        break;
    default: // "~", or the empty entry
        break;
    }
}
