// The customer file: multi-line records, read in every format the club has
// used and written in the current one.

#include <cstdint>
#include <cstring>
#include <string>

#include "db/db.h"
#include "db/file_lines.h"

namespace {

using dbfile::is_comment;
using dbfile::tab_field;
using dbfile::upper;

enum { LINE_MAX_TEXT = 200, CURRENT_VERSION = 6, PHONES = 3, ADDRESS_LINES = 4 };

using Line = char[LINE_MAX_TEXT + 3];

bool is_absent(const char *text) {
    return !text || !*text;
}

// Reads the next line of the file and drops its last character, the line
// end of every line but possibly the last one of the file.
bool read_chopped(FILE *file, Line line, int &line_number) {
    if (!fgets(line, LINE_MAX_TEXT + 2, file))
        return false;
    line_number++;
    size_t n = strlen(line);
    if (n > 0)
        line[n - 1] = '\0';
    return true;
}

// The next line of the current record: comments are passed over, a blank
// line or the end of the file ends the record.
bool read_record_line(FILE *file, Line line, int &line_number) {
    while (read_chopped(file, line, line_number)) {
        if (is_comment(line))
            continue;
        return !is_blank(line);
    }
    return false;
}

void read_account_line(customer *c, const char *line, int line_number, int version) {
    char type[LINE_MAX_TEXT + 1] = "", category[LINE_MAX_TEXT + 1] = "";
    char prior[LINE_MAX_TEXT + 1] = "", date[LINE_MAX_TEXT + 1] = "";
    int words = sscanf(line, "%200s %200s %200s %200s", type, category, prior, date);
    std::string cat;
    if (words == 2 || words == 4) {
        uc_string(type);
        cat = upper(category);
        if (words == 4 && version < 4)
            printf("? Extra fields found after account type on line %d.\n    %s\n", line_number,
                   line);
        if (strcmp(type, "CASH") == 0) {
            c->cash = 1;
        } else if (strcmp(type, "CREDIT") == 0) {
            c->cash = 0;
        } else {
            printf("? Not CREDIT or CASH \"%s\" for \"%s %s\" on line %d.\n", type, c->firstname,
                   c->lastname, line_number);
            c->cash = 0;
        }
    } else if (words == 1) {
        cat = upper(type);
        c->cash = cat == "CASH";
    } else {
        printf("? Bad format account type \"%s\" for \"%s %s\" on line %d.\n", line, c->firstname,
               c->lastname, line_number);
        cat = upper(line);
    }
    c->category = fc_category(cat.c_str());
    if (words >= 3)
        c->priorCategory = fc_category(prior);
    c->transitionDate = 0;
    if (words >= 4) {
        bool ok = false;
        date_t when = i_convertDateToTime(date, &ok);
        if (ok)
            c->transitionDate = when;
    }
}

// One search instead of a look-up followed by a creation: whether the
// customer was there already shows in the size of the index.
customer *find_or_add(const std::string &lastname, const std::string &firstname, bool &existed) {
    size_t before = db.cust_list.size();
    customer *c = fc_cust(lastname.c_str(), firstname.c_str(), true);
    existed = db.cust_list.size() == before;
    return c;
}

void store_phone(customer *c, int &next_phone, const char *phone) {
    if (next_phone < PHONES)
        replace_str(&c->phone[next_phone], phone);
    next_phone++;
}

// First line of an old-format record: the names, a status code and a phone.
customer *read_old_first_line(const char *line, int line_number, int &next_phone) {
    std::string names = tab_field(line, 1);
    if (is_blank(names.c_str())) {
        printf("? Bad format, missing names on line: %d\n", line_number);
        printf("    %s\n", line);
        return nullptr;
    }
    std::string lastname = names, firstname;
    size_t comma = names.find(',');
    if (comma != std::string::npos) {
        lastname = names.substr(0, comma);
        char word[LINE_MAX_TEXT + 1] = "";
        if (sscanf(names.c_str() + comma + 1, "%200s", word) == 1)
            firstname = word;
    }
    if (is_blank(lastname.c_str())) {
        printf("? Warning: missing last name on line: %d\n", line_number);
        printf("    %s\n", line);
        lastname.clear();
    }
    lastname = upper(lastname);
    firstname = upper(firstname);

    bool existed;
    customer *c = find_or_add(lastname, firstname, existed);
    if (existed) {
        printf("? Customer \"%s %s\" already exists.\n", firstname.c_str(), lastname.c_str());
        printf("    Customer data will be updated from input file line:\n");
    }

    char status[LINE_MAX_TEXT + 1] = "", phone[LINE_MAX_TEXT + 1] = "";
    const char *tab = strchr(line, '\t');
    int items = tab ? sscanf(tab + 1, "%200s %200s", status, phone) : 0;
    if (items == 2 && phone[0]) {
        warn_phone(phone, line, line_number);
        store_phone(c, next_phone, phone);
    }
    if (items < 1) {
        printf("? Missing category for customer %s %s on line: %d.\n", firstname.c_str(),
               lastname.c_str(), line_number);
        printf("    %s\n", line);
    }

    uc_string(status);
    if (status[0]) {
        switch (status[0]) {
        case 'B':
            c->shareholder = 1;
            c->boardmember = 1;
            break;
        case 'S':
            c->shareholder = 1;
            break;
        case 'N':
        case 'X':
            break;
        default:
            printf("? Unrecognized %s status \"%c\"\n", db.sharetext, status[0]);
            break;
        }
    }
    if (status[0] && status[1]) {
        static const struct {
            char code;
            const char *name;
        } categories[] = {{'A', "ASSOCIATE"}, {'B', "BULK"},     {'C', "CASH"},
                          {'F', "FULL"},      {'I', "INACTIVE"}, {'N', "DEFAULT"},
                          {'X', "DEFAULT"},   {'O', "OTHER"},    {'P', "PREPAID"}};
        const char *category = nullptr;
        for (const auto &entry : categories)
            if (entry.code == status[1])
                category = entry.name;
        if (!category) {
            printf("? Unrecognized customer category \"%c\"\n", status[1]);
            category = "DEFAULT";
        }
        c->category = fc_category(category);
    }
    if (status[0] && status[1] && status[2]) {
        if (status[2] == 'G')
            c->granite = 1;
        if (status[3] == 'B')
            c->boardmember = 1;
    }

    if (c->boardmember && db.boardtext[0])
        fc_customer_flag(c, db.boardtext, true);
    if (c->granite)
        fc_customer_flag(c, "GRANITE", true);
    if (c->shareholder && db.sharetext[0])
        fc_customer_flag(c, db.sharetext, true);
    return c;
}

// Further lines of an old-format record: an address line, optionally
// followed by phones (or, on the first one, the information text).
void read_old_address_line(customer *c, const char *line, int line_number, int &address_index,
                           int &next_phone) {
    std::string first = tab_field(line, 1);
    char *rest = i_afterField("\t", line, 1, false);
    for (char *p = rest; *p == '\t'; p++)
        *p = ' ';
    std::string second = tab_field(rest, 1);
    const char *tab = strchr(rest, '\t');
    std::string third = tab ? tab + 1 : "";
    errfree(rest);

    if (is_blank(first.c_str()) && is_blank(second.c_str()) && is_blank(third.c_str())) {
        printf("? Bad format address line %d\n    %s\n", line_number, line);
        return;
    }
    if (address_index < ADDRESS_LINES)
        replace_str(&c->addr[address_index], first.c_str());
    if (address_index == 0) {
        if (!is_blank(second.c_str())) {
            if (is_valid_phone(second.c_str())) {
                warn_phone(second.c_str(), line, line_number);
                store_phone(c, next_phone, second.c_str());
            } else {
                replace_str(&c->info, second.c_str());
            }
        }
        if (!is_blank(third.c_str()))
            store_phone(c, next_phone, third.c_str());
    } else if (!is_blank(second.c_str())) {
        store_phone(c, next_phone, second.c_str());
    }
    address_index++;
}

} // namespace

void warn_phone(const char *phone, const char *line, int line_number) {
    if (!is_valid_phone(phone))
        printf("? Bad format phone number %s on line %d\n\t%s\n", phone, line_number, line);
}

bool update_phone(customer *c, const char *text, int index) {
    if (!c || index < 0 || index >= PHONES)
        return false;
    if (!text)
        text = "";
    if (c->phone[index] && strcmp(c->phone[index], text) == 0)
        return false;
    replace_str(&c->phone[index], text);
    return true;
}

bool update_address(customer *c, const char *text, int index) {
    if (!c || index < 0 || index >= ADDRESS_LINES)
        return false;
    if (!text)
        text = "";
    if (c->addr[index] && strcmp(c->addr[index], text) == 0)
        return false;
    replace_str(&c->addr[index], text);
    return true;
}

int read_member(customer *c, FILE *file, int line_number, int version) {
    Line line;
    const char *first = c->firstname;
    const char *last = c->lastname;

    if (!read_record_line(file, line, line_number)) {
        printf("? Missing account type for \"%s %s\" on line %d.\n", first, last, line_number);
        c->category = "MISSING";
        return line_number;
    }
    read_account_line(c, line, line_number, version);

    if (!read_record_line(file, line, line_number)) {
        printf("? Missing phone numbers for \"%s %s\" on line %d.\n", first, last, line_number);
        return line_number;
    }
    if (line[0] != '-') {
        for (int i = 0; i < PHONES; i++) {
            std::string phone = tab_field(line, i + 1);
            if (!phone.empty()) {
                replace_str(&c->phone[i], phone.c_str());
                warn_phone(phone.c_str(), line, line_number);
            }
        }
    }

    if (!read_record_line(file, line, line_number)) {
        printf("? Missing info line for \"%s %s\" on line %d.\n", first, last, line_number);
        return line_number;
    }
    if (line[0] != '-')
        replace_str(&c->info, line);

    if (version >= 5) {
        if (!read_record_line(file, line, line_number)) {
            printf("? Missing contest number line for \"%s %s\" on line %d.\n", first, last,
                   line_number);
            return line_number;
        }
        if (line[0] != '-')
            replace_str(&c->contestNumber, line);
        if (!read_record_line(file, line, line_number)) {
            printf("? Missing spouse line for \"%s %s\" on line %d.\n", first, last, line_number);
            return line_number;
        }
        if (line[0] != '-')
            replace_str(&c->spouse, line);
    }

    if (!read_record_line(file, line, line_number)) {
        printf("? Missing flags line for \"%s %s\" on line %d.\n", first, last, line_number);
        return line_number;
    }
    if (line[0] != '-') {
        for (int i = 1;; i++) {
            std::string flag = tab_field(line, i);
            if (flag.empty())
                break;
            fc_customer_flag(c, flag.c_str(), true);
        }
    }

    if (version >= 6) {
        if (!read_record_line(file, line, line_number)) {
            printf("? Missing eMail line for \"%s %s\" on line %d.\n", first, last, line_number);
            return line_number;
        }
        if (line[0] != '-')
            replace_str(&c->eMail, line);
    }

    int address_lines = 0;
    while (read_record_line(file, line, line_number)) {
        if (address_lines < ADDRESS_LINES && line[0] != '-')
            replace_str(&c->addr[address_lines], line);
        address_lines++;
    }
    if (address_lines == 0)
        printf("? Missing address lines for \"%s %s\" on line %d.\n", first, last, line_number);
    return line_number;
}

void r_old_cust_file(FILE *file) {
    printf("? Customer file is in an old format.\n");
    printf("    It will read properly and be converted to the new format.\n");
    db.cust_changed = 1;

    Line line;
    int line_number = 0;
    customer *c = nullptr;
    int address_index = 0;
    int next_phone = 0;
    while (fgets(line, LINE_MAX_TEXT + 2, file)) {
        line_number++;
        size_t n = strlen(line);
        if (n > 0 && line[n - 1] == '\n')
            line[n - 1] = '\0';
        if (is_comment(line))
            continue;
        if (is_blank(line)) {
            c = nullptr;
            continue;
        }
        if (!c) {
            address_index = 0;
            next_phone = 0;
            c = read_old_first_line(line, line_number, next_phone);
        } else {
            read_old_address_line(c, line, line_number, address_index, next_phone);
        }
    }
}

// A read that stopped on an error (an unreadable disk block, a folder
// where the file should be) leaves the customers half known, as bad for a
// rewrite as no file at all.
static void close_customer_file(FILE *file) {
    bool read_error = ferror(file) != 0;
    read_error = fclose(file) != 0 || read_error;
    if (read_error)
        note_file_read(db.customerfile, true, 0);
}

void do_r_cust() {
    FILE *file = fopen(db.customerfile, "r");
    // Without customers every history line would be billed to CASH.
    note_file_read(db.customerfile, file == nullptr, 0);
    if (!file) {
        printf("? Unable to read customer file \"%s\"\n", db.customerfile);
        return;
    }
    printf("Reading customer file: \"%s\"\n", db.customerfile);

    Line line;
    int version = 0;
    int line_number = 0;
    if (!read_chopped(file, line, line_number) || !dbfile::scan_version(line, version)) {
        // No version line: the first format of the file, converted on the
        // next save. Its balances stay unread.
        rewind(file);
        r_old_cust_file(file);
        close_customer_file(file);
        return;
    }
    if (version > CURRENT_VERSION) {
        printf("? Customer file version %d expected version %d or less.\n", version,
               CURRENT_VERSION);
        printf("? Customer file has version number %d expected %d or less.\n", version,
               CURRENT_VERSION);
    }

    while (read_chopped(file, line, line_number)) {
        if (is_blank(line) || is_comment(line))
            continue;
        std::string lastname = upper(tab_field(line, 1));
        std::string firstname = upper(tab_field(line, 2));
        if (is_blank(firstname.c_str()))
            firstname.clear();
        if (is_blank(lastname.c_str())) {
            if (firstname.empty()) {
                printf("? Error: Empty customer name on line: %d\n", line_number);
                printf("    Bad format file.\n");
                break;
            }
            printf("? Warning: missing last name on line: %d\n", line_number);
            printf("    %s\n", line);
            lastname.clear();
        }

        bool existed;
        customer *c = find_or_add(lastname, firstname, existed);
        if (existed) {
            printf("? Customer \"%s %s\" already exists.\n", firstname.c_str(), lastname.c_str());
            printf("    Customer data will be updated from input file.\n");
        }
        line_number = read_member(c, file, line_number, version);
    }
    close_customer_file(file);
    do_r_balances();
}

bool do_w_custs() {
    if (!db.cust_changed) {
        printf("Customer file is up to date.\n");
        return true;
    }
    SafeFile sf;
    FILE *file = safe_open(sf, db.customerfile);
    if (!file) {
        printf("? Unable to open customer file \"%s\"\n", db.customerfile);
        return false;
    }

    fprintf(file, "$VERSION %d\n", CURRENT_VERSION);
    for (const customer *c : db.cust_list) {
        fprintf(file, "%s\t%s\n", c->lastname, c->firstname);

        fprintf(file, "%s\t%s", c->cash ? "CASH" : "CREDIT", c->category);
        if (c->priorCategory) {
            fprintf(file, "\t%s", c->priorCategory);
            if (c->transitionDate != 0)
                fprintf(file, "\t%s", i_convertTimeToString(c->transitionDate));
        }
        fprintf(file, "\n");

        if (!is_absent(c->phone[0])) {
            for (const char *phone : c->phone)
                if (!is_absent(phone))
                    fprintf(file, "%s\t", phone);
        } else {
            fprintf(file, "-No Phones");
        }
        fprintf(file, "\n");

        fprintf(file, "%s\n", is_absent(c->info) ? "-No Info" : c->info);
        fprintf(file, "%s\n", is_absent(c->contestNumber) ? "-No #" : c->contestNumber);
        fprintf(file, "%s\n", is_absent(c->spouse) ? "-No spouse name" : c->spouse);

        if (c->flags) {
            for (const namelist *f = c->flags; f; f = f->next) {
                if (is_absent(f->name))
                    printf("? Flag without name for %s %s\n", c->firstname, c->lastname);
                fprintf(file, "%s%s", f == c->flags ? "" : "\t", f->name ? f->name : "");
            }
        } else {
            fprintf(file, "-No Flags");
        }
        fprintf(file, "\n");

        fprintf(file, "%s\n", is_absent(c->eMail) ? "-No eMail" : c->eMail);

        if (!is_absent(c->addr[0])) {
            for (const char *addr : c->addr)
                if (!is_absent(addr))
                    fprintf(file, "%s\n", addr);
        } else {
            printf("? No address for %s %s\n", c->firstname, c->lastname);
            fprintf(file, "-No Address\n");
        }
        fprintf(file, "\n");
    }

    if (!safe_commit(sf)) {
        printf("? Unable to close customer file \"%s\"\n", db.customerfile);
        return false;
    }
    printf("Customer file \"%s\" written.\n", db.customerfile);
    db.cust_changed = 0;
    return true;
}
