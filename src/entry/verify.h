// VERIFY: what the bill run would charge wrongly or not at all, found before
// the bills go out. The checks are shared with IMPORT, which runs them on
// the rows it takes. Each finding is one line naming the history file and
// line (or the customer) and what to do about it.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "db/db.h"

// The closest of `names` to `typed` when it is close enough to be a typing
// error (letter case, blanks and dashes aside), else "".
std::string nearest_name(const char *typed, const std::vector<std::string> &names);

// A flight as the day sheet holds it; texts are borrowed.
struct FlightFacts {
    date_t date = 0;
    int number = 0;
    const char *account = ""; // as written
    customer *c = nullptr;    // null: not in the customer file
    const char *plane = "";
    int type = 0; // index into flight_types
    const char *towplane = "";
    int towheight = 0; // hundreds of feet
    int32_t start = 0; // minutes after midnight
    int32_t end = 0;
};

class Verifier {
  public:
    // Findings go to `out`; `file` names the history file in each line.
    explicit Verifier(FILE *out);

    void flight(const char *file, int line, const FlightFacts &f);
    void gas_sale(const char *file, int line, const char *account, customer *c, const char *grade);
    void misc_line(const char *file, int line, const char *account, customer *c);
    void payment(const char *file, int line, const char *account, customer *c, int32_t amount,
                 int32_t check);
    // The day sheet checks of the flights seen so far, then forgets them.
    void day_sheets(const char *file);
    // Customers whose e-mail address cannot be one.
    void email_addresses();
    long count() const { return count_; }

  private:
    void say(const char *file, int line, const char *format, ...)
        __attribute__((format(printf, 4, 5)));
    bool account_known(const char *file, int line, const char *account, customer *c);
    void priced(const char *file, int line, const char *what, const char *item, const customer *c,
                const std::vector<std::string> &names);
    void tow(const char *file, int line, const FlightFacts &f);
    const std::string &account_suggestion(const char *account);
    int plane_id(const char *plane);

    struct DayFlight {
        int number;
        int line;
        int plane;
        int32_t start;
        int32_t end;
    };

    FILE *out_;
    long count_ = 0;
    std::vector<std::string> items_; // every priced name
    std::vector<std::string> tugs_;  // the tow planes of the prices file
    std::unordered_map<std::string, std::string> suggested_;
    std::unordered_set<const customer *> addressless_seen_;
    std::unordered_set<std::string> private_seen_;
    std::unordered_map<std::string, int> plane_ids_;
    std::vector<std::string> plane_names_;
    std::unordered_map<date_t, std::vector<DayFlight>> days_;
};

// Whether an e-mail address has the shape one must have to be delivered.
bool plausible_email(const char *address);
