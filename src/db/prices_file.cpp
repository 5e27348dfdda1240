// The prices file: item costs per category plus the club's settings (fuel
// grades, tow planes, e-mail, the always-bill flag, cash bills, flag labels).
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "db/db.h"
#include "db/file_lines.h"

namespace {

enum { LINE_SIZE = 202, WORD_SIZE = 202, PRICES_VERSION = 2 };

void replace_setting(char **slot, const char *text) {
    errfree(*slot);
    *slot = alloc_str(text);
}

bool blank_text(const char *text) {
    if (text == nullptr)
        return true;
    for (; *text != '\0'; ++text)
        if (*text != ' ' && *text != '\t' && *text != '\n' && *text != '\r')
            return false;
    return true;
}

bool all_digits(std::string_view text) {
    if (text.empty())
        return false;
    for (char ch : text)
        if (!isdigit(static_cast<unsigned char>(ch)))
            return false;
    return true;
}

// Reads a cost written with up to three decimals into mills. The sign is
// taken from the whole part alone, so "-0.500" comes out as +500; files in
// use depend on this reading.
bool parse_cost(const char *text, int32_t *cost) {
    std::string_view all(text);
    size_t dot = all.find('.');
    std::string_view whole = all.substr(0, dot);
    std::string_view fraction = dot == std::string_view::npos ? "" : all.substr(dot + 1);
    if (whole.empty())
        whole = "0";
    if (fraction.empty())
        fraction = "0";

    size_t digits_from = (whole[0] == '-' || whole[0] == '+') ? 1 : 0;
    if (!all_digits(whole.substr(digits_from)) || !all_digits(fraction))
        return false;
    errno = 0;
    long whole_value = strtol(std::string(whole).c_str(), nullptr, 10);
    if (errno == ERANGE)
        return false;

    // A cost that does not fit the 32-bit field is a bad value, not a
    // wrapped one.
    if (whole_value < -int64_t{INT32_MAX} / 1000 - 1 || whole_value > int64_t{INT32_MAX} / 1000 + 1)
        return false;
    int64_t magnitude = whole_value < 0 ? -int64_t{whole_value} : int64_t{whole_value};
    int64_t mills = magnitude * 1000;
    int64_t scale = 100;
    for (size_t i = 0; i < 3; ++i, scale /= 10)
        if (i < fraction.size())
            mills += (fraction[i] - '0') * scale;
    if (whole_value < 0)
        mills = -mills;
    if (mills < INT32_MIN || mills > INT32_MAX)
        return false;
    *cost = static_cast<int32_t>(mills);
    return true;
}

void set_fast_key(price *item, int key) {
    if (key < 1 || key > FAST_KEYS)
        return;
    char *&entry = db.nnumbers[key - 1];
    errfree(entry);
    entry = alloc_str(item->name);
}

void read_email_subject(const char *raw, int line_number) {
    const char *tab = strchr(raw, '\t');
    if (tab == nullptr) {
        printf("? Error %s %d: incorrect format EMAIL_SUBJECT line\n", db.pricefile, line_number);
        return;
    }
    std::string subject(tab + 1);
    while (!subject.empty() && (subject.back() == '\n' || subject.back() == '\r'))
        subject.pop_back();
    replace_setting(&db.emailSubject, subject.c_str());
}

// A password in the prices file is readable by anyone who reads the club's
// files: it is left out of the setting (and so of the next save).
void read_email_server(const char *word, int line_number) {
    if (!server_has_credentials(word)) {
        replace_setting(&db.emailServer, word);
        return;
    }
    replace_setting(&db.emailServer, server_without_credentials(word).c_str());
    printf("? The email server on line %d holds a user or password; they are left out.\n",
           line_number);
    credentials_advice();
}

void read_always_bill_flag(const char *word, const char *line, int line_number) {
    if (db.always_bill_flag != nullptr && strcmp(db.always_bill_flag, word) != 0) {
        printf("? There can only be one $ALWAYS_BILL_FLAG at a time\n");
        printf("    second one found on line: %d\n    %s\n", line_number, line);
    }
    namelist *flag = fc_namelist_entry(&db.flag_names, word, true, true);
    db.always_bill_flag = flag ? flag->name : nullptr;
}

void read_cash_bills(const char *word, const char *line, int line_number) {
    if (strcmp(word, "YES") == 0) {
        db.print_cash_bills = 1;
    } else if (strcmp(word, "NO") == 0) {
        db.print_cash_bills = 0;
    } else {
        printf("?  $PRINT_BILLS_FOR_CASH_CUSTOMERS must have a");
        printf(" value of YES or NO.\n");
        printf("    %s found on line: %d\n    %s\n", word, line_number, line);
    }
}

void read_attach_pdf(const char *word, const char *line, int line_number) {
    if (strcmp(word, "YES") == 0 || strcmp(word, "NO") == 0) {
        db.email_attach_pdf = word[0] == 'Y';
    } else {
        printf("? $EMAIL_ATTACH_PDF must have a value of YES or NO.\n");
        printf("    %s found on line: %d\n    %s\n", word, line_number, line);
    }
}

// " $PRICE %s %d" with both values; a fast key too large for its field
// makes the line no $PRICE line, so that it is reported, not wrapped.
bool price_line(const char *line, char *word, int &number) {
    int after_word = 0;
    int32_t key = 0;
    if (sscanf(line, " $PRICE %201s%n", word, &after_word) != 1 ||
        !dbfile::scan_int32(line + after_word, key))
        return false;
    number = key;
    return true;
}

// One line of the file; `line` is the upper-case copy, `raw` the line as read.
void read_price_line(const char *raw, const char *line, int line_number, price *&item) {
    char word[WORD_SIZE];
    char value[WORD_SIZE];
    int number = 0;

    const char *first = line + strspn(line, " \t");
    if (*first == '$')
        item = nullptr; // costs belong directly under their $PRICE line

    if (dbfile::scan_version(line, number)) {
        if (number == 1) {
            // The first version knew these grades without listing them.
            fc_gas_grade("100", true);
            fc_gas_grade("80", true);
            fc_gas_grade("JETA", true);
            db.price_changed = 1;
        } else if (number != PRICES_VERSION) {
            printf("? Bad version number on line %d.\n", line_number);
        }
    } else if (strchr(line, '!') != nullptr) {
        // comment
    } else if (sscanf(line, " $FLAG1 %201s ", word) == 1) {
        snprintf(db.sharetext, sizeof db.sharetext, "%.200s", word);
    } else if (sscanf(line, " $FLAG2 %201s ", word) == 1) {
        snprintf(db.boardtext, sizeof db.boardtext, "%.200s", word);
    } else if (sscanf(line, " $GAS_GRADE %201s ", word) == 1) {
        fc_gas_grade(word, true);
    } else if (sscanf(line, " $EMAIL_SENDER %201s ", word) == 1) {
        replace_setting(&db.emailSender, word);
    } else if (sscanf(line, " $EMAIL_SEND_ONLY %201s ", word) == 1) {
        replace_setting(&db.emailSendOnly, word);
    } else if (sscanf(line, " $EMAIL_SERVER %201s ", word) == 1) {
        read_email_server(word, line_number);
    } else if (sscanf(line, " $EMAIL_SUBJECT %201s ", word) == 1) {
        read_email_subject(raw, line_number);
    } else if (sscanf(line, " $ALWAYS_BILL_FLAG %201s ", word) == 1) {
        read_always_bill_flag(word, line, line_number);
    } else if (sscanf(line, " $PRINT_BILLS_FOR_CASH_CUSTOMERS %201s ", word) == 1) {
        read_cash_bills(word, line, line_number);
    } else if (sscanf(line, " $EMAIL_ATTACH_PDF %201s ", word) == 1) {
        read_attach_pdf(word, line, line_number);
    } else if (sscanf(line, " $TUG %201s ", word) == 1) {
        fc_tug(word, true);
    } else if (price_line(line, word, number)) {
        item = fc_item(word);
        item->fastkey = number;
        set_fast_key(item, number);
    } else if (blank_text(line)) {
        // nothing on this line
    } else if (item == nullptr) {
        printf("? Illegal format line %d: %s", line_number, line);
    } else {
        int32_t cost = 0;
        if (sscanf(line, " %201s %201s", word, value) == 2 && parse_cost(value, &cost))
            set_price(item, word, cost, line_number);
        else
            printf("? Bad format price on line: %d\n    %s\n", line_number, line);
    }
}

} // namespace

bool server_has_credentials(const char *server) {
    return server != nullptr && server_without_credentials(server) != server;
}

std::string server_without_credentials(const char *server) {
    std::string text = server;
    size_t start = text.find("://");
    start = start == std::string::npos ? 0 : start + 3;
    size_t at = text.find('@', start);
    if (at == std::string::npos || at > text.find('/', start))
        return text;
    return text.erase(start, at + 1 - start);
}

void credentials_advice() {
    printf("    Set VARNOK_SMTP_USER and VARNOK_SMTP_PASSWORD, or put them in ~/.netrc.\n");
}

void do_r_price() {
    db.always_bill_flag = nullptr;
    const char *name = db.pricefile ? db.pricefile : "";
    FILE *file = fopen(name, "r");
    if (file == nullptr) {
        printf("? Unable to read prices file \"%s\"\n", name);
        return;
    }
    printf("Reading prices file: \"%s\"\n", name);

    char raw[LINE_SIZE];
    char line[LINE_SIZE];
    int line_number = 0;
    price *item = nullptr;
    while (fgets(raw, sizeof raw, file) != nullptr) {
        ++line_number;
        size_t i = 0;
        for (; raw[i] != '\0'; ++i)
            line[i] = static_cast<char>(toupper(static_cast<unsigned char>(raw[i])));
        line[i] = '\0';
        read_price_line(raw, line, line_number, item);
    }
    fclose(file);
}

bool do_w_prices() {
    if (!db.price_changed) {
        printf("Prices are up to date.\n");
        return true;
    }
    const char *name = db.pricefile ? db.pricefile : "";
    SafeFile sf;
    FILE *out = safe_open(sf, name);
    if (out == nullptr) {
        printf("? Unable to open prices file \"%s\"\n", name);
        return false;
    }

    fprintf(out, "$VERSION %d\n\n", PRICES_VERSION);
    for (price *item : db.price_list) {
        fprintf(out, "$PRICE\t%s\t%d\n", item->name, item->fastkey);
        for (category *cat = item->cat; cat != nullptr; cat = cat->next) {
            int64_t cost = cat->cost;
            if (cost >= 0)
                fprintf(out, "\t%s\t%ld.%03ld\n", cat->name, (long)(cost / 1000),
                        (long)(cost % 1000));
            else
                fprintf(out, "\t%s\t-%ld.%03ld\n", cat->name, (long)(-cost / 1000),
                        (long)(-cost % 1000));
        }
        fprintf(out, "\n");
    }
    for (namelist *grade = db.gas_grades; grade != nullptr; grade = grade->next)
        fprintf(out, "$GAS_GRADE\t%s\n", grade->name);
    if (!blank_text(db.emailSender))
        fprintf(out, "$EMAIL_SENDER\t%s\n", db.emailSender);
    if (!blank_text(db.emailSendOnly))
        fprintf(out, "$EMAIL_SEND_ONLY\t%s\n", db.emailSendOnly);
    if (!blank_text(db.emailServer))
        fprintf(out, "$EMAIL_SERVER\t%s\n", db.emailServer);
    if (!blank_text(db.emailSubject))
        fprintf(out, "$EMAIL_SUBJECT\t%s\n", db.emailSubject);
    if (db.always_bill_flag != nullptr)
        fprintf(out, "$ALWAYS_BILL_FLAG\t%s\n", db.always_bill_flag);
    fprintf(out, "$PRINT_BILLS_FOR_CASH_CUSTOMERS\t%s\n", db.print_cash_bills ? "YES" : "NO");
    // Written only when off, so a club that never used it keeps its file.
    if (!db.email_attach_pdf)
        fprintf(out, "$EMAIL_ATTACH_PDF\tNO\n");
    fprintf(out, "$FLAG1\t%s\n", db.sharetext);
    fprintf(out, "$FLAG2\t%s\n", db.boardtext);
    for (const towplane &row : db.tugList)
        if (row.tugname[0] != '\0')
            fprintf(out, "$TUG\t%s\n", row.tugname);

    if (!safe_commit(sf)) {
        printf("? Unable to close prices file \"%s\"\n", name);
        return false;
    }
    printf("Prices file \"%s\" written\n", name);
    db.price_changed = 0;
    return true;
}
