// TIMES: the period's aircraft, instructor, ride pilot and tow pilot times,
// gathered in one pass over every customer's flights into the times file.
#include <cstdio>

#include "billing/billing.h"
#include "billing/times.h"
#include "conio/iosubs.h"
#include "db/record_warmer.h"

namespace {

const char kPurpose[] = "Aircraft and CFI times";

enum { TYPE_RIDE = 1, TYPE_INSTRUCTION = 2 };

struct TimeSummaries {
    duration_list aircraft, tows, cfi_log, cfi_paid, rides;
};

// Instructor time the club pays for: the flight priced at the category's
// paid-hours rate (with its minimum and ground time) turned back into
// minutes.
int paid_minutes(const flight *f, int minutes) {
    static PriceItem paid("CFI-HOURS-PAID"), minimum("MINIMUM-TIME"), ground("GROUND-TIME");
    const char *category = categoryOnDate(f->date, f->customer);
    long priced =
        calc_price(wrap32(int64_t{minutes} * 1000) / 60, category, paid, &minimum, &ground);
    return (int)(priced * 60 / 100);
}

void add_flight_times(TimeSummaries &s, const flight *f) {
    int minutes = sub32(f->end, f->start);
    add_duration(s.aircraft, f->plane, minutes, f->pilot);
    add_duration(s.tows, f->towpilot, f->towheight, date_text(f->date));
    if (f->type == TYPE_INSTRUCTION) {
        add_duration(s.cfi_log, f->cfi, minutes, f->pilot);
        add_duration(s.cfi_paid, f->cfi, paid_minutes(f, minutes), f->pilot);
    } else if (f->type == TYPE_RIDE) {
        add_duration(s.rides, f->cfi, minutes, f->pilot);
    }
}

void accumulate(TimeSummaries &s, const char *start, const char *end) {
    date_t first = start ? i_convertDateToTime(start) : 0;
    date_t last = end ? i_convertDateToTime(end) : 0;
    RecordWarmer warmer(RecordWarmer::FLIGHTS);
    for (customer *c : db.cust_list) {
        warmer.reach(c);
        for (flight *f : c->flights) {
            if ((start && f->date < first) || (end && f->date > last))
                continue;
            add_flight_times(s, f);
        }
    }
}

void write_section(const char *start, const char *end, const char *what, const char *title,
                   const duration_list &list, bool is_tow) {
    out_period(start, end, what);
    o_lstring(title, 0, false);
    o_newline(3);
    o_newline(3);
    o_newline(3);
    write_times(list, is_tow);
    o_now_info(true, 0);
}

void write_summaries(const TimeSummaries &s, const char *start, const char *end) {
    write_section(start, end, "times", " for aircraft:", s.aircraft, false);
    o_formfeed();
    write_section(start, end, "times", " to log flight time for instructors:", s.cfi_log, false);
    o_formfeed();
    write_section(start, end, "times", " billed flight time for instructors:", s.cfi_paid, false);
    o_formfeed();
    write_section(start, end, "times", " for ride pilots:", s.rides, false);
    o_formfeed();
    write_section(start, end, "tows", " for tow pilots:", s.tows, true);
}

// Asks for the range; false when the user wants no new times.
bool ask_range(char **start, char **end) {
    if (db.times_computed && !get_yesno("Times were already created. Make them again", "NO"))
        return false;
    *start = *end = nullptr;
    if (get_yesno("Times summary for specific dates only", "NO")) {
        *start =
            get_date("Flights after and including (mm-dd-yy)", i_convertTimeToString(db.curDate));
        *end = get_date("Flights before and including (mm-dd-yy)", *start);
    }
    return true;
}

} // namespace

void do_times() {
    char *start = nullptr, *end = nullptr;
    if (!ask_range(&start, &end))
        return;
    maybe_read();
    // The period's flights include those already exported to the accounting
    // package, which live in the companion files: the summaries cover the
    // whole period, and a bill run after them finds everything loaded.
    free_flights();
    do_r_flights(true);
    free_gas();
    do_r_gas(true);

    FILE *out = open_o_file(db.timesfile, kPurpose);
    if (out == nullptr) {
        set_o_file(stdout);
    } else {
        printf("Accumulating times.\n");
        TimeSummaries s;
        accumulate(s, start, end);
        printf("Writing aircraft and CFI times to file \"%s\"\n", db.timesfile);
        write_summaries(s, start, end);
        if (close_o_file(out, db.timesfile, kPurpose) == 0)
            db.times_computed = 1;
        else
            set_o_file(stdout);
    }
    errfree(start);
    errfree(end);
}
