// GLIDER-FLIGHTS and AIRPLANE-FLIGHTS: one day sheet typed in flight by
// flight into the day sheet temporary file, then appended to the day
// sheet history on "Remember".
#include <cstdio>
#include <cstring>

#include "conio/iosubs.h"
#include "db/db.h"
#include "entry/aircraft.h"
#include "entry/dialogue.h"
#include "entry/entry.h"
#include "entry/flight_index.h"
#include "entry/flight_rules.h"

namespace {

enum { OTHER = 0, COMMERCIAL_RIDE = 1 };
enum { MAX_DURATION = 1199 }; // minutes: anything from 20 hours on is a typing error

// Each field keeps its last value as the default of the next flight.
struct WorkingFlight {
    flight f{};
    char *account = nullptr; // the account as typed
    char *date_text = nullptr;

    WorkingFlight() {
        f.plane = alloc_str("N1234");
        f.pilot = alloc_str("");
        f.cfi = alloc_str("");
        f.passenger = alloc_str("");
        f.towpilot = alloc_str("");
        f.type = OTHER;
        f.start = 540;
        f.end = 540;
        account = alloc_str("");
        date_text = alloc_str(i_convertTimeToString(db.curDate));
    }
    ~WorkingFlight() {
        free_flight_contents(&f);
        errfree(account);
        errfree(date_text);
    }
};

// Each answer gets the room the answers before it leave on the line.
void ask_people(WorkingFlight &w, const RecordPrinter &print) {
    flight &f = w.f;
    const char *lastname = f.customer->lastname;
    auto line = [](const char *prompt, const char *def) {
        return [prompt, def] { return get_line(prompt, def, true, true); };
    };
    if (f.type == OTHER) {
        replace_str(&f.cfi, "");
        ask_text(&f.pilot, line("Pilot", lastname), print, {&f.passenger, &f.towpilot});
        ask_text(&f.passenger, line("Passenger", ""), print, {&f.towpilot});
    } else if (f.type == COMMERCIAL_RIDE) {
        replace_str(&f.cfi, "");
        ask_text(&f.pilot, line("Pilot", f.pilot), print, {&f.passenger, &f.towpilot});
        ask_text(&f.passenger, line("Ride customer", lastname), print, {&f.towpilot});
    } else {
        replace_str(&f.passenger, "");
        ask_text(&f.pilot, line("Student", lastname), print, {&f.cfi, &f.towpilot});
        ask_text(&f.cfi, [&f] { return get_word("Instructor (initials)", f.cfi, true); }, print,
                 {&f.towpilot});
    }
}

int ask_tow_height(const customer *c) {
    std::string def = default_tow_height(c);
    for (;;) {
        long h = get_fixed_number("Tow height", 1, def.c_str(), false);
        std::string refusal = tow_height_refusal(h);
        if (refusal.empty())
            return (int)h;
        printf("? %s\n", refusal.c_str());
    }
}

void ask_times(flight &f) {
    for (;;) {
        f.start = (int32_t)get_time("Start time", f.start);
        f.end = (int32_t)get_time("End time", f.start);
        std::string refusal = duration_refusal((long)f.end - f.start);
        if (refusal.empty())
            return;
        printf("? %s\n", refusal.c_str());
    }
}

bool is_receipt(const char *account) {
    return account[0] == '#' || (account[0] >= '0' && account[0] <= '9');
}

void echo(const WorkingFlight &w, bool is_glider) {
    const flight &f = w.f;
    printf("\tFlight: %d\n", f.number);
    if (is_receipt(w.account))
        printf("\tRecipt: %s\n", w.account);
    else
        printf("\tCustomer: %s %s\n", f.customer->firstname, f.customer->lastname);
    printf("Plane: %s Type: %s", f.plane, flight_types[(int)f.type]);
    if (is_glider)
        printf("\tTug: %s Towheight: %d.%1d\n", f.towplane ? f.towplane->tugname : "",
               f.towheight / 10, f.towheight % 10);
    printf("\n");
    long duration = (long)f.end - f.start;
    printf("\tStart: %ld:%02ld", (long)f.start / 60, (long)f.start % 60);
    printf("\tEnd: %ld:%02ld", (long)f.end / 60, (long)f.end % 60);
    printf("\tDuration: %ld:%02ld\n", duration / 60, duration % 60);
    printf("Pilot: %s", f.pilot);
    if (f.passenger[0] != '\0')
        printf("\tPassenger: %s", f.passenger);
    if (f.cfi[0] != '\0')
        printf("\tCFI: %s", f.cfi);
    if (is_glider)
        printf("\tTowpilot: %s", f.towpilot);
    printf("\n\n");
}

// The warning goes to the console even while the records go to the
// temporary file.
void warn_duplicate(const flight *earlier) {
    printf("WARNING: flight may be a duplicate of this previous flight\n");
    FILE *file = set_o_file(stdout);
    o_flight_struct(earlier, 0, false, false);
    o_newline(0);
    set_o_file(file);
}

} // namespace

std::string duration_refusal(long minutes) {
    if (minutes >= 0 && minutes <= MAX_DURATION)
        return "";
    char text[96];
    snprintf(text, sizeof text, "Flight duration of %ld:%2ld is unreasonable.", minutes / 60,
             minutes % 60);
    return text;
}

std::string tow_height_refusal(long height) {
    if (height >= 0 && height <= 99)
        return "";
    char text[96];
    snprintf(text, sizeof text, "Tow height of %d.%1d is unreasonable.", (int)(height / 10),
             (int)(height % 10));
    return text;
}

std::string default_tow_height(const customer *c) {
    // The rate is in thousandths; the default shows thousands of feet.
    long height = lookup_rate("DEFAULT-TOWHEIGHT", c->category, false) / 100;
    char def[32];
    snprintf(def, sizeof def, "%ld.%ld", height / 10, height % 10);
    return def;
}

bool start_day_sheet() {
    if (!settle_pending_sheet(db.daytempfile, HistoryKind::FLIGHTS))
        return false;
    // Forced, companion included, so that the duplicate test sees every
    // flight already stored for the period.
    free_flights();
    do_r_flights(true);

    if (!open_temporary(db.daytempfile, "day sheet"))
        return false;
    temporary_heading(history_heading(HistoryHeading::DAY_SHEET));
    return true;
}

void remember_day_sheet() {
    remember("Remember this data in the permanent history file", HistoryKind::FLIGHTS,
             db.daytempfile);
}

void do_flights(bool is_glider) {
    maybe_read();
    if (!start_day_sheet())
        return;

    WorkingFlight w;
    flight &f = w.f;
    f.date = ask_date("Date of flights (mm-dd) or (dd)", &w.date_text);
    FlightIndex stored;
    int next = entry.flight_number;
    for (;;) {
        int number = ask_number("Next flight_number (0 if done)", next);
        if (number == 0)
            break;
        next = number; // a declined line offers its number again
        f.number = number;
        printf("Date: %s Flight number: %d\n", w.date_text, number);

        f.customer = ask_customer("Recipt # or Account (First Last)", &w.account, true,
                                  "? You must supply an account.\n");
        set_invoice_number(&f.invoice, w.account);

        auto print = [&f] { o_flight_struct(&f, 0, false, true); };
        ask_text(&f.plane, [&f] { return ask_aircraft(f.plane); }, print,
                 {&f.pilot, &f.cfi, &f.passenger, &f.towpilot});
        f.type = (char)get_list("Flight type", flight_types[(int)f.type], flight_types, false);
        ask_people(w, print);

        if (is_glider) {
            ask_text(
                &f.towpilot, [&f] { return get_word("Towpilot initials", f.towpilot, true); },
                print);
            f.towplane = ask_towplane(f.towplane);
            f.towheight = ask_tow_height(f.customer);
        } else {
            replace_str(&f.towpilot, "");
            f.towplane = nullptr;
            f.towheight = 0;
        }
        ask_times(f);
        echo(w, is_glider);

        const flight *earlier = stored.first(f.customer, f.date, f.number);
        if (earlier != nullptr)
            warn_duplicate(earlier);
        if (!line_is_right(earlier == nullptr) || !record_fits(print))
            continue;
        o_flight_struct(&f, 0, false, true);
        end_record();
        next = next_number(number);
    }
    bool written = close_temporary();
    entry.flight_number = next;
    if (written)
        remember_day_sheet();
}
