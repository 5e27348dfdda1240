// The club database: records and lists, customer and rate lookup, the
// readers and writers of every data file, transaction and customer record
// printing, and the run-time state of the database's life cycle (current
// date, file names, read/changed/computed flags, READ, FILENAMES). Uses the
// console library only.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "conio/iosubs.h"
#include "conio/transaction.h"
#include "db/lists.h"
#include "db/name_index.h"

struct customer;
struct flight;
struct gas;
struct misc;
struct payment;
struct price;
struct category;
struct abbrev;
struct towplane;
struct charges;
struct misc_breakdown;

struct customer {
    customer *next;
    // Added to only through add_* and emptied through the free family.
    RecordList<flight> flights;
    RecordList<struct gas> gas;
    RecordList<struct misc> misc;
    RecordList<payment> payments;
    // The wrapping sum of the flights' tow heights, kept by the add and free
    // family: a statement's heading needs it before the flights are walked,
    // and a walk of its own would be the first, uncached touch of each one.
    int32_t tow_height_sum;
    struct charges *charges;
    int32_t balance; // cents
    char *lastname;
    char *firstname;
    const char *category; // interned in category_names
    date_t transitionDate;
    const char *priorCategory; // interned, or null
    namelist *flags;           // nodes owned, names shared with flag_names
    char shareholder;
    char boardmember;
    char granite;
    char cash;
    char *info;
    char *contestNumber;
    char *spouse;
    char *phone[3];
    char *eMail;
    char *addr[4];
};

struct flight {
    flight *next;
    struct customer *customer;
    date_t date;
    int number;
    int32_t invoice;
    char *plane;
    struct towplane *towplane;
    char *pilot;
    char *cfi;
    char *passenger;
    char type;
    char *towpilot;
    int towheight; // hundreds of feet
    int32_t start; // minutes after midnight
    int32_t end;
    char exported; // read from the "QU" file: already sent to the accounting package
};

struct gas {
    gas *next;
    date_t date;
    int sheet;
    int line;
    struct customer *customer;
    int32_t invoice;
    int32_t charge;    // cents
    const char *grade; // shared: a gas_grades name or the literal "GAS100"
    int gallons;       // tenths of a gallon
    char *plane;
    char *pilot;
    char exported; // as a flight's
};

struct misc {
    misc *next;
    date_t date;
    int sheet;
    int line;
    struct customer *customer;
    int32_t invoice;
    int32_t charge; // cents; negative for a credit
    char taxable;
    char *why;
    char exported; // as a flight's
};

struct payment {
    payment *next;
    date_t date;
    struct customer *customer;
    int32_t amount; // cents
    int32_t check;
    char *note;
    char exported; // as a flight's
};

struct price {
    price *next;
    char *name;
    category *cat;
    int fastkey;
};

struct category {
    category *next;
    const char *name; // interned in category_names
    int32_t cost;     // mills
    // Named DEFAULT, the price of every category the item does not name:
    // known once here instead of compared for every rate looked up.
    bool is_default;
};

struct abbrev {
    abbrev *next;
    char *name;
    char *lastname;
    char *firstname;
};

struct towplane {
    char tugname[64];
    int32_t charges;
    int32_t numberTows;
    int32_t towheight;
};

struct misc_breakdown {
    misc_breakdown *next;
    int32_t charge;
    int count;
    const char *item_name; // borrowed from the misc record
};

struct charges {
    charges *next;
    char *name;
    char is_aircraft;
    int32_t instruction;
    int inst_count;
    int inst_min;
    int32_t tow;
    int tow_count;
    int tow_height;
    int32_t rental;
    int rental_count;
    int rental_min;
    int flight_min;
    int32_t salestax;
    int32_t gas;
    int gallons;
    int32_t rope_break_charge;
    int rope_break_count;
    int32_t pattern_tow_charge;
    int pattern_tow_count;
    int32_t misc_charge;
    int misc_charge_count;
    int32_t misc_credit;
    int misc_credit_count;
    struct misc_breakdown *misc_breakdown;
    int32_t payments;
    int payment_count;
    int32_t prev_balance;
    int32_t financeCharges;
};

enum { TUG_TABLE_SIZE = 16, FLAG_TEXT_SIZE = 201, FAST_KEYS = 9 };

extern const char *const flight_types[]; // OTHER ... PATTERN-TOW, then null
extern const char flight_type_id[];      // "OCIRPU"

// How a data file went the last time it was read: a rewrite refuses to
// replace history from a file that could not be read, and keeps a copy of a
// file whose reported bad lines were read with defaults.
struct FileReadNote {
    std::string name;
    bool unreadable = false;
    int bad_lines = 0;
};

// Everything the database holds, in one place so that start-up, RESET and
// the tests can drop it with one call.
struct DbState {
    date_t curDate = 0; // local midnight of the program's current date
    // Bills and time summaries stay valid until new data is remembered or
    // removed; entry and maintenance clear these, billing sets them.
    char bills_computed = 0;
    char times_computed = 0;

    // The sorted lists, each with its index (lists.h).
    SortedList<customer, std::pair<std::string, std::string>> cust_list;
    char cust_changed = 0;
    SortedList<abbrev, std::string> abbrevs;
    char abbrev_changed = 0;
    SortedList<price, std::string> price_list;
    char price_changed = 0;
    namelist *category_names = nullptr;
    namelist *flag_names = nullptr;
    namelist *gas_grades = nullptr;
    const char *always_bill_flag = nullptr;
    char print_cash_bills = 1;
    // Statements mailed through a relay named by a URL carry a PDF copy
    // unless the prices file says "$EMAIL_ATTACH_PDF NO".
    char email_attach_pdf = 1;
    towplane tugList[TUG_TABLE_SIZE] = {};
    char flights_read = 0;
    char gas_read = 0;
    char payments_read = 0;
    char balances_read = 0;
    char balances_changed = 0;
    // Temporaries of killed runs are looked for once per run.
    char leftovers_removed = 0;
    // The "QU" file is being read: its records were exported already.
    char reading_exported = 0;
    // Only the finance marks of the "QU" file are wanted.
    char reading_marks_only = 0;
    std::vector<FileReadNote> read_notes;
    char month_ended = 0;

    // The quicken value each history loader last loaded with.
    char flights_quicken = 0;
    char gas_quicken = 0;
    char payments_quicken = 0;

    char sharetext[FLAG_TEXT_SIZE] = "FLAG1";
    char boardtext[FLAG_TEXT_SIZE] = "FLAG2";
    char *nnumbers[FAST_KEYS] = {};

    // Data file names (owned); start-up sets the defaults.
    char *abbrevfile = nullptr;
    char *pricefile = nullptr;
    char *customerfile = nullptr;
    char *balancesfile = nullptr;
    char *statementfile = nullptr;
    char *headfile = nullptr;
    char *trailfile = nullptr;
    char *emailTempFile = nullptr;
    char *gashistfile = nullptr;
    char *gashistqufile = nullptr;
    char *gastempfile = nullptr;
    char *payhistfile = nullptr;
    char *payhistqufile = nullptr;
    char *paytempfile = nullptr;
    char *daysheetfile = nullptr;
    char *daysheetqufile = nullptr;
    char *daytempfile = nullptr;
    char *timesfile = nullptr;

    // E-mail settings from the prices file (owned, or null).
    char *emailSender = nullptr;
    char *emailSendOnly = nullptr;
    char *emailServer = nullptr;
    char *emailSubject = nullptr;

    // Exact names to customers: one hash probe per account line read,
    // where the ordered index would cost a string compare per level.
    ExactNameIndex cust_exact;
};
extern DbState db;

// Drops every list and setting and returns the database to its start-up
// state, file names included. Used by tests; start-up has its own order.
void db_reset();

// ---- Run-time state: start-up, READ, FILENAMES ---------------------------------

// The database's share of start-up and RESET: today's date, the default
// file names, every list freed and every flag cleared.
void db_init();
void do_read();
void do_r_all();
void do_filenames();
void do_flagnames();
int create_empty_file(const char *name);
int set_invoice_number(int32_t *out, const char *text);

// The customer editor belongs to maintenance, above this layer; the shell
// installs it at start-up so that the account prompt can open a customer it
// has just added. Without it (the lower layers' tests) the customer is
// created without the questions.
extern void (*modify_customer_hook)(customer *c);

// ---- Data model and in-memory lists ----------------------------------------

namelist *fc_namelist_entry(namelist **list, const char *name, bool create, bool copy);
const char *fc_category(const char *name);
namelist *fc_customer_flag(customer *c, const char *flagname, bool create);
namelist *fc_gas_grade(const char *name, bool create);
towplane *fc_tug(const char *name, bool create);
int translate_flight_type(const char *text);
void add_flight(flight *f, customer *c);
void add_gas(gas *g, customer *c);
void add_misc(misc *m, customer *c);
void add_payment(payment *p, customer *c);
// A file reader's records (customer set, next null), linked onto their
// customers' lists once the file is read: the same lists as add_* on each
// record in turn, without touching each customer's earlier records. The
// batch is emptied.
void add_flights(std::vector<flight *> &batch);
void add_gas_sales(std::vector<struct gas *> &batch);
void add_miscs(std::vector<struct misc *> &batch);
void add_payments(std::vector<payment *> &batch);

void free_flight_contents(flight *f);
void free_flight(flight *f);
void free_customer_flights(customer *c);
void free_flights();
void free_gas_contents(gas *g);
void free_gas_charge(gas *g);
void free_customer_gas(customer *c);
void free_misc_contents(misc *m);
void free_misc_charge(misc *m);
void free_customer_misc(customer *c);
void free_gas();
void free_payment_contents(payment *p);
void free_payment(payment *p);
void free_customer_payments(customer *c);
void free_all_payments();
void free_misc_breakdown(misc_breakdown *list);
void free_customer_charges(customer *c);
// Takes a record out of its sorted list and the list's indexes, leaving it
// to be freed; false when it is not in the list.
bool unlink_customer(customer *c);
bool unlink_price(price *p);
bool unlink_abbrev(abbrev *a);
// The free_ routines free a record already unlinked, or a whole list.
void free_customer(customer *c);
void free_mcustomers();
void free_cat(category *cat);
void free_price(price *p);
void free_mprices();
void free_abbrev(abbrev *a);
void free_mabbrevs();
void free_namelist(namelist *list, bool free_names);
void free_mnames();
void free_flag_names();
void free_gas_grades();

// ---- Customer lookup and abbreviations --------------------------------------

customer *fc_cust(const char *lastname, const char *firstname, bool create);
customer *find_cust(const char *lastname, const char *firstname);
customer *lookup_account(const char *text, bool use_abbrevs);
// The index hash a history file's account text is most likely looked up
// under, for fetching the lookup's memory ahead of it (see ExactNameIndex).
uint32_t account_hint(const char *text, size_t length);
void parse_name(const char *text, std::string &lastname, std::string &firstname);
void normalize_name(char *text);
abbrev *fc_abbrev(const char *name, const char *lastname, const char *firstname, bool create);
char *get_name(const char *prompt, const char *def, bool allow_blank);
enum { ACCOUNT_TILDE = 1, ACCOUNT_ADDED = 2, ACCOUNT_FOUND = 3 };
char *get_account(const char *prompt, const char *def, bool allow_add, customer **customer_out,
                  int *how_out);

// ---- Prices, categories and rate lookup -------------------------------------

// Money, counts and times are signed 32-bit and wrap around on overflow, as
// they always have; these compute in 64 bits and keep the low 32, where a
// plain int addition past the limit would be undefined.
inline int32_t wrap32(int64_t value) {
    return static_cast<int32_t>(value);
}
inline int32_t add32(int32_t a, int32_t b) {
    return wrap32(int64_t{a} + b);
}
inline int32_t sub32(int32_t a, int32_t b) {
    return wrap32(int64_t{a} - b);
}

price *fc_item(const char *name);
category *find_category(category *cat_list, const char *name);
bool set_price(price *item, const char *category_name, int32_t cost, int line);
int32_t lookup_rate(const char *item_name, const char *category_name, bool report);

// A price item named by the program itself ("HOOKUP", "THOUSAND", a tax),
// looked up for every flight of a bill run. The handle keeps the item it
// found until the price list changes, so its name is hashed once per
// change instead of once per lookup.
class PriceItem {
  public:
    explicit PriceItem(const char *name) : name_(name) {}
    const char *name() const { return name_; }
    // The item, or null when the price list has none of that name.
    price *find();

  private:
    const char *name_;
    price *item_ = nullptr;
    uint64_t version_ = 0; // lists start at version 1: 0 is "not looked up"
};
int32_t lookup_rate(PriceItem &item, const char *category_name, bool report);

const char *categoryOnDate(date_t date, customer *c);
int32_t gas_price(const char *grade, int gallons, customer *c);
// The quantity (at least `minimum`'s rate, plus `extra`'s; either may be
// null) at `item`'s rate.
int32_t calc_price(int32_t quantity, const char *category_name, PriceItem &item, PriceItem *minimum,
                   PriceItem *extra);

// ---- Data files ----------------------------------------------------------------

void do_r_price();
// The relay's log-in belongs in VARNOK_SMTP_USER/VARNOK_SMTP_PASSWORD or
// ~/.netrc, never in the server setting: true when `server` has a
// "user[:password]@" part, the setting without it, and the line that says
// where the log-in goes instead.
bool server_has_credentials(const char *server);
std::string server_without_credentials(const char *server);
void credentials_advice();
bool do_w_prices();
void do_r_cust();
int read_member(customer *c, FILE *file, int line_number, int version);
void r_old_cust_file(FILE *file);
void warn_phone(const char *phone, const char *line, int line_number);
bool update_phone(customer *c, const char *text, int index);
bool update_address(customer *c, const char *text, int index);
bool do_w_custs();
void do_r_abbrev();
bool do_w_abbrev();
void do_r_balances();
// With a transaction the new file is staged in it instead of written.
bool do_w_balances(FileTransaction *t = nullptr);
void readPaymentsFile(const char *file);
void do_r_payments(bool quicken);
// An exported finance charge is kept as a payment of nothing with this
// note in the payments' "QU" file, until the period ends.
inline constexpr const char *FINANCE_EXPORTED_NOTE = "Finance charge exported";
bool finance_mark(const payment *p);
void readFlights(const char *file);
void readGas(const char *file);
void do_r_flights(bool quicken);
void do_r_gas(bool quicken);
void maybe_read();
void do_save();
// How many record lines of an ENTER dialogue's temporary file are in none
// of the history file, its companion and the closed period's ".OLD" copy:
// a sheet cut off before "Remember", which nothing may overwrite unasked.
int unremembered_lines(const char *temporary, const char *history, const char *companion);
void do_write_database();
// The name of a file the history rewrite depends on that could not be read
// (or was never read), or nullptr: rewriting from what was read would lose
// its records for good, so the rewrite refuses, and so does anything that
// would lead to one.
const char *unreadable_source();
// Completes a change of several files that a crash interrupted, and
// removes the temporaries of killed runs; every loader calls it before
// reading. A run that opened the club read-only leaves both to the run
// holding the folder.
void finish_pending_rewrite();
// The three history families, and writing one from memory: the heading,
// then every record `keep` takes (given its customer and whether it was
// read from the "QU" file), in the file form.
enum class HistoryKind { GAS, PAYMENTS, FLIGHTS };
bool write_history(FILE *out, HistoryKind kind,
                   const std::function<bool(const customer *, bool exported)> &keep);
bool history_has(HistoryKind kind,
                 const std::function<bool(const customer *, bool exported)> &keep);
// Stages in `t` a new `name`: the file `before` (when not null; it must be
// readable) followed by the records `keep` takes, or when there is neither
// a `before` nor a record, the empty "!Start of billing cycle" file.
bool stage_history(FileTransaction &t, const char *name, HistoryKind kind,
                   const std::function<bool(const customer *, bool exported)> &keep,
                   const char *before = nullptr);
// The family's history file and its "QU" companion.
const char *history_file(HistoryKind kind);
const char *qu_file(HistoryKind kind);
// Appends a sheet entered into a temporary file to the family's history
// file, and forgets the family's records read before; false when the
// append failed (it has reported itself and left the history as it was).
bool append_to_history(HistoryKind kind, const char *sheet);
// Stages in `t` the move of the records `moving` takes (it is asked about
// records not yet exported) from the family's history file to the end of
// its "QU" file; the history keeps the rest, or starts afresh.
bool stage_move_to_qu(FileTransaction &t, HistoryKind kind,
                      const std::function<bool(const customer *, bool exported)> &moving);
// Where every closed period is kept, one folder per closing.
inline constexpr char kPeriodsFolder[] = "periods";
void note_file_read(const char *name, bool unreadable, int bad_lines);
const FileReadNote *file_read_note(const char *name); // nullptr: never read

// ---- Transaction record printing ------------------------------------------------

void o_date(const char *date_text, int column, bool flag);
// The lines a sheet being entered starts with, each with its end: the
// version, the section and the column names.
enum class HistoryHeading { DAY_SHEET, FUEL_SHEET, MISC_SHEET, PAYMENTS };
const char *history_heading(HistoryHeading h);
// A record's date as the history files and statements show it, "m-d-yyyy".
const char *record_date_text(date_t date);
void o_customer_name(const customer *c, int column, bool flag);
void o_misc_struct(const misc *m, int indent, bool date_flag, bool tabbed);
void o_gas_struct(const gas *g, int indent, bool date_flag, bool tabbed);
void o_payment_struct(const payment *p, int indent, bool date_flag, bool tabbed);
void o_flight_struct(const flight *f, int indent, bool date_flag, bool tabbed);
void o_now_info(bool show_version, int column);

// One customer's summary, printed straight into `file` (not through the
// formatter): the account prompt shows it while a report may be pending.
void w_mbr(const customer *c, bool full, FILE *file);
void w_mbr_flags(const customer *c);
