// The abbreviations file, the account balances file and the payments
// history.

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "db/db.h"
#include "db/file_lines.h"

namespace {

using dbfile::is_comment;
using dbfile::scan_int32;
using dbfile::tab_field;
using dbfile::upper;

enum { LINE_MAX_TEXT = 200 };
// The longest field tab_field hands back.
constexpr size_t kFieldText = 200;

// One line of at most LINE_MAX_TEXT characters plus its line end.
bool read_line(FILE *file, char *buffer, int size) {
    return fgets(buffer, size, file) != nullptr;
}

void strip_line_end(char *line) {
    size_t n = strlen(line);
    if (n > 0 && line[n - 1] == '\n')
        line[n - 1] = '\0';
}

// Customers named in a data file are never lost: an unknown name becomes
// a new account.
customer *find_or_create_named(const std::string &lastname, const std::string &firstname) {
    customer *c = fc_cust(lastname.c_str(), firstname.c_str(), false);
    if (!c) {
        printf("? Customer %s, %s does not exist,", lastname.c_str(), firstname.c_str());
        printf(" creating customer.\n");
        c = fc_cust(lastname.c_str(), firstname.c_str(), true);
    }
    return c;
}

} // namespace

// ---- Abbreviations ------------------------------------------------------------

void do_r_abbrev() {
    FILE *file = fopen(db.abbrevfile, "r");
    if (!file) {
        printf("? Unable to read abbreviations file \"%s\"\n", db.abbrevfile);
        return;
    }
    printf("Reading abbreviations file: \"%s\"\n", db.abbrevfile);

    char line[LINE_MAX_TEXT + 3];
    int line_number = 0;
    while (read_line(file, line, LINE_MAX_TEXT + 2)) {
        line_number++;
        uc_string(line);
        int version;
        if (dbfile::scan_version(line, version)) {
            if (version != 1)
                printf("? Bad version number on line %d.\n", line_number);
            continue;
        }
        // Deliberately tried before the comment test: a commented line of
        // two or more words still defines an abbreviation.
        char name[LINE_MAX_TEXT + 1], lastname[LINE_MAX_TEXT + 1], firstname[LINE_MAX_TEXT + 1];
        firstname[0] = '\0';
        int words = sscanf(line, "%200s %200s %200s", name, lastname, firstname);
        if (words >= 2) {
            if (words < 3)
                firstname[0] = '\0';
            // A word longer than a line is cut into two by the scan; stored,
            // the pieces would make a line the next read splits again.
            if (strlen(name) + strlen(lastname) + strlen(firstname) + 2 > LINE_MAX_TEXT + 1) {
                printf("? Illegal format line %d: %s", line_number, line);
                continue;
            }
            if (!fc_abbrev(name, lastname, firstname, false))
                fc_abbrev(name, lastname, firstname, true);
            continue;
        }
        if (!is_comment(line) && !is_blank(line))
            printf("? Illegal format line %d: %s", line_number, line);
    }
    fclose(file);
}

bool do_w_abbrev() {
    if (!db.abbrev_changed) {
        printf("Abbreviations are up to date.\n");
    } else {
        SafeFile sf;
        FILE *file = safe_open(sf, db.abbrevfile);
        if (!file) {
            printf("? Unable to open abbreviations file \"%s\"\n", db.abbrevfile);
            return false;
        }
        fprintf(file, "$VERSION 1\n");
        for (abbrev *a : db.abbrevs)
            fprintf(file, "%s\t%s %s\n", a->name, a->lastname, a->firstname);
        if (!safe_commit(sf)) {
            printf("? Unable to close abbreviations file \"%s\"\n", db.abbrevfile);
            return false;
        }
        printf("Abbreviations file \"%s\" written\n", db.abbrevfile);
    }
    db.abbrev_changed = 0;
    return true;
}

// ---- Account balances --------------------------------------------------------

void do_r_balances() {
    if (db.balances_read)
        return;
    FILE *file = fopen(db.balancesfile, "r");
    if (!file) {
        note_file_read(db.balancesfile, errno != ENOENT, 0);
        printf("? Unable to read account balances file \"%s\"\n", db.balancesfile);
        return;
    }
    printf("Reading account balances file: \"%s\"\n", db.balancesfile);

    char line[LINE_MAX_TEXT + 3];
    int line_number = 0;
    while (read_line(file, line, LINE_MAX_TEXT + 2)) {
        line_number++;
        uc_string(line);
        int version;
        if (dbfile::scan_version(line, version)) {
            if (version != 1)
                printf("? Bad version number on line %d.\n", line_number);
            continue;
        }
        if (is_comment(line) || is_blank(line))
            continue;
        strip_line_end(line);

        std::string lastname = tab_field(line, 1);
        if (lastname.empty()) {
            printf("? Bad format, missing last name on line: %d\n", line_number);
            printf("    %s\n", line);
            continue;
        }
        std::string firstname = tab_field(line, 2);
        std::string amount_text = tab_field(line, 3);
        customer *c = find_or_create_named(lastname, firstname);

        int32_t amount = 0;
        if (!scan_int32(amount_text.c_str(), amount)) {
            printf("? Can not find account balance on line %d:\n\t", line_number);
            amount = 0;
        }
        if (c->balance != 0) {
            printf("? %s, %s already has a balance of %ld cents,\n", lastname.c_str(),
                   firstname.c_str(), (long)c->balance);
            printf("\tadding new balance of %ld on line %d\n", (long)amount, line_number);
        }
        c->balance = static_cast<int32_t>(static_cast<int64_t>(c->balance) + amount);
    }
    bool read_error = ferror(file) != 0;
    read_error = fclose(file) != 0 || read_error;
    note_file_read(db.balancesfile, read_error, 0);
    db.balances_read = 1;
}

bool do_w_balances(FileTransaction *t) {
    if (!db.balances_changed) {
        printf("Balances file is up to date.\n");
        return true;
    }
    SafeFile sf;
    FILE *file = safe_open(sf, db.balancesfile);
    if (!file) {
        printf("? Unable to open account balances file \"%s\"\n", db.balancesfile);
        return false;
    }
    fprintf(file, "$VERSION %d\n", 1);
    for (customer *c : db.cust_list) {
        // A cash customer has paid on the spot; nothing carries over.
        if (c->balance == 0 || c->cash)
            continue;
        fprintf(file, "%s\t%s\t%ld\n", c->lastname, c->firstname, (long)c->balance);
    }
    if (t != nullptr ? !t->place(sf) : !safe_commit(sf)) {
        printf("? Unable to close balances file \"%s\"\n", db.balancesfile);
        return false;
    }
    printf("Account balances file \"%s\" written.\n", db.balancesfile);
    // Staged, the file is written only when the whole change is.
    if (t == nullptr)
        db.balances_changed = 0;
    return true;
}

// ---- Payments history -------------------------------------------------------

void readPaymentsFile(const char *name) {
    // Looking only for the marks of exported finance charges is silent: no
    // record of the file is loaded.
    bool marks_only = db.reading_marks_only != 0;
    FILE *file = fopen(name, "r");
    if (!file) {
        bool missing = errno == ENOENT;
        if (!marks_only)
            note_file_read(name, !missing, 0);
        if (!marks_only || !missing)
            printf("? Unable to read payments file \"%s\"\n", name);
        return;
    }
    if (!marks_only)
        printf("Reading payments history file: \"%s\"\n", name);
    dbfile::DateCache dates; // one conversion per distinct date, not per line

    // A file without any "$" line is an old version 1 file whose payment
    // lines start at once; a "$" line switches them off until told again.
    int version = 1;
    bool payment_lines = true;
    std::vector<payment *> read; // linked onto the customers at the end
    char line[LINE_MAX_TEXT + 3];
    int line_number = 0;
    int bad_lines = 0;
    while (read_line(file, line, LINE_MAX_TEXT + 2)) {
        line_number++;
        char word[LINE_MAX_TEXT + 1];
        int number = 0;
        int after_word = 0;
        // Only a line whose first non-blank is "$" can match; the others
        // skip the scan, which most payment lines would fail anyway.
        const char *first = line;
        while (isspace(static_cast<unsigned char>(*first)))
            first++;
        int items = *first == '$' ? sscanf(line, " $%200s%n", word, &after_word) : 0;
        if (items == 1 && dbfile::scan_int_held(line + after_word, number))
            items = 2;
        if (items >= 1) {
            payment_lines = false;
            if (items == 2)
                version = number;
            uc_string(word);
            if (strcmp(word, "PAYMENTS") == 0) {
                payment_lines = true;
                continue;
            }
            if (strcmp(word, "VERSION") == 0) {
                if (items < 2)
                    printf("? Missing version number on line %d.\n", line_number);
                else if (version == 1)
                    payment_lines = true;
                else if (version != 3)
                    printf("? Bad version number on line %d.\n", line_number);
                continue;
            }
        }
        if (is_comment(line) || is_blank(line))
            continue;
        if (!payment_lines) {
            bad_lines++;
            printf("? Unrecognized line %d:\n\t%s", line_number, line);
            continue;
        }
        strip_line_end(line);
        if (marks_only && strstr(line, FINANCE_EXPORTED_NOTE) == nullptr)
            continue;

        // Split once, each field cut where tab_field would cut it.
        char split[LINE_MAX_TEXT + 3];
        memcpy(split, line, sizeof split);
        dbfile::Fields fields(split);
        auto field = [&fields](int n) {
            const char *text = fields[n];
            return std::string(text, strnlen(text, kFieldText));
        };

        bool date_ok = false;
        date_t date = dates.convert(field(1).c_str(), date_ok);
        customer *c;
        std::string note;
        if (version >= 3) {
            std::string account = upper(field(4));
            c = lookup_account(account.c_str(), false);
            if (!c) {
                std::string lastname, firstname;
                parse_name(account.c_str(), lastname, firstname);
                printf("? Customer %s, %s does not exist,", lastname.c_str(), firstname.c_str());
                printf(" creating customer.\n");
                c = fc_cust(lastname.c_str(), firstname.c_str(), true);
            }
            note = field(5);
        } else {
            std::string lastname = upper(field(4));
            if (lastname.empty()) {
                bad_lines++;
                printf("? Bad format, missing last name on line: %d\n", line_number);
                printf("    %s\n", line);
                continue;
            }
            std::string firstname = upper(field(5));
            c = find_or_create_named(lastname, firstname);
            note = field(6);
        }

        int32_t amount = 0;
        bool amount_ok = scan_int32(field(2).c_str(), amount);
        if (!amount_ok) {
            bad_lines++;
            printf("? Can not find payment amount on line %d:\n\t", line_number);
            amount = 0;
        }
        int32_t check = 0;
        if (!scan_int32(field(3).c_str(), check)) {
            bad_lines += amount_ok ? 1 : 0;
            printf("? Can not find payment check number on line %d:\n\t%s", line_number, line);
            check = 0;
        }
        if (marks_only && (amount != 0 || note != FINANCE_EXPORTED_NOTE))
            continue;

        auto *p = static_cast<payment *>(errmalloc_batch(sizeof(payment)));
        p->next = nullptr;
        p->exported = db.reading_exported;
        p->date = date;
        p->customer = c;
        p->amount = amount;
        p->check = check;
        p->note = alloc_str_batch(note.c_str(), strlen(note.c_str()));
        read.push_back(p);
    }
    add_payments(read);
    bool read_error = ferror(file) != 0;
    read_error = fclose(file) != 0 || read_error;
    if (!marks_only)
        note_file_read(name, read_error, bad_lines);
}

bool finance_mark(const payment *p) {
    return p->amount == 0 && p->exported && p->note != nullptr &&
           strcmp(p->note, FINANCE_EXPORTED_NOTE) == 0;
}

void do_r_payments(bool quicken) {
    if (db.payments_read && db.payments_quicken == static_cast<char>(quicken))
        return;
    finish_pending_rewrite();
    db.payments_quicken = static_cast<char>(quicken);
    free_all_payments();
    // Without the exported records, the marks of the finance charges
    // already exported still come in, so that none is charged twice.
    db.reading_exported = 1;
    db.reading_marks_only = !quicken;
    readPaymentsFile(db.payhistqufile);
    db.reading_marks_only = 0;
    db.reading_exported = 0;
    readPaymentsFile(db.payhistfile);
    db.payments_read = 1;
}
