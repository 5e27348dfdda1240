// The checks that keep an edit readable: what the editors store is written
// back on lines that the readers split, skip or cut, so an answer that would
// not survive the next load is refused while the user is still at the prompt.
#include <cstring>

#include "maint/maint.h"

bool field_ok(const char *what, const char *text, size_t room, unsigned rules) {
    if (!text)
        text = "";
    if (text[0] == '\0') {
        if (rules & FIELD_REQUIRED) {
            printf("? %s can not be blank.\n", what);
            return false;
        }
        return true;
    }
    if (strchr(text, '!')) {
        printf("? %s can not contain \"!\": the data files take it for a comment.\n", what);
        return false;
    }
    if (strchr(text, '\t')) {
        printf("? %s can not contain a tab.\n", what);
        return false;
    }
    if ((rules & FIELD_ONE_WORD) && strchr(text, ' ')) {
        printf("? %s must be one word.\n", what);
        return false;
    }
    if ((rules & FIELD_NO_DASH) && text[0] == '-') {
        printf("? %s can not begin with \"-\": the customer file reads that as no value.\n", what);
        return false;
    }
    if ((rules & FIELD_NO_DOLLAR) && text[0] == '$') {
        printf("? %s can not begin with \"$\".\n", what);
        return false;
    }
    if (strlen(text) > room) {
        printf("? %s can be at most %zu characters long.\n", what, room);
        return false;
    }
    return true;
}

char *get_checked_line(const char *prompt, const char *def, bool upperCase, bool allowTilde,
                       const char *what, size_t room, unsigned rules) {
    for (;;) {
        char *answer = get_line(prompt, def, upperCase, allowTilde);
        // "~" with tilde allowed has become the empty text; without, it
        // is the caller's signal to leave, not a value to check.
        if (strcmp(answer, "~") == 0 || field_ok(what, answer, room, rules))
            return answer;
        errfree(answer);
    }
}

char *get_checked_word(const char *prompt, const char *def, const char *what, size_t room,
                       unsigned rules) {
    for (;;) {
        char *answer = get_word(prompt, def, true);
        if (strcmp(answer, "~") == 0 || field_ok(what, answer, room, rules))
            return answer;
        errfree(answer);
    }
}

char *get_checked_name(const char *prompt, const char *def, bool allow_blank, size_t room) {
    for (;;) {
        char *answer = get_name(prompt, def, allow_blank);
        if (strcmp(answer, "~") == 0 || field_ok("A name", answer, room, FIELD_PLAIN))
            return answer;
        errfree(answer);
    }
}

bool phones_fit(const customer *c, int index, const char *phone) {
    // The writer puts a tab after each phone it writes.
    size_t length = 0;
    for (int i = 0; i < 3; i++) {
        const char *p = i == index ? phone : c->phone[i];
        if (p && *p)
            length += strlen(p) + 1;
    }
    if (length <= DATA_LINE_MAX)
        return true;
    printf("? The phone numbers of a customer can take at most %d characters together.\n",
           DATA_LINE_MAX - 3);
    return false;
}

bool flags_fit(const customer *c, const char *flag) {
    size_t length = strlen(flag);
    for (const namelist *f = c->flags; f; f = f->next) {
        if (strcmp(f->name, flag) == 0)
            return true;
        length += strlen(f->name) + 1;
    }
    if (length <= DATA_LINE_MAX)
        return true;
    printf("? The flags of a customer can take at most %d characters together.\n", DATA_LINE_MAX);
    return false;
}

void mark_prices_changed() {
    db.price_changed = 1;
    db.bills_computed = 0;
}
