// GAS-SALES: a numbered fuel sheet typed in line by line into the gas
// temporary file, then appended to the gas history on "Remember".
#include <cstdio>

#include "conio/iosubs.h"
#include "db/db.h"
#include "entry/dialogue.h"
#include "entry/entry.h"

namespace {

// Each field keeps its last value as the default of the next line.
struct WorkingSale {
    gas g{};
    char *account = alloc_str("");
    char *date_text = alloc_str(i_convertTimeToString(db.curDate));

    WorkingSale() {
        g.grade = "100";
        g.plane = alloc_str("N1234");
        g.pilot = alloc_str("Smith");
    }
    ~WorkingSale() {
        free_gas_contents(&g);
        errfree(account);
        errfree(date_text);
    }
};

const char *ask_grade(const char *previous) {
    const char *grade = get_namelist("Grade of fuel", previous, db.gas_grades, true);
    return grade != nullptr ? grade : "100";
}

int ask_gallons() {
    for (;;) {
        int32_t gallons = ask_fixed("Gallons", 1, "0", false);
        if (gallons != 0)
            return gallons;
        printf("? Number of gallons must be provided.\n");
    }
}

// A plane that is itself a customer's abbreviation (a member's own
// aircraft) names the account to charge.
void ask_plane_and_pilot(WorkingSale &w) {
    auto print = [&w] { o_gas_struct(&w.g, 0, false, true); };
    ask_text(&w.g.plane, [&w] { return get_word("Aircraft fueled", w.g.plane, true); }, print,
             {&w.g.pilot});
    ask_text(
        &w.g.pilot, [&w] { return get_line("Pilot fueling", w.g.pilot, true, true); }, print);
    if (fc_abbrev(w.g.plane, nullptr, nullptr, false) != nullptr)
        replace_str(&w.account, w.g.plane);
}

void echo(const WorkingSale &w) {
    const gas &g = w.g;
    printf("%s Sheet: %d Line: %d\nAccount: %s %s\n", w.date_text, g.sheet, g.line,
           g.customer->firstname, g.customer->lastname);
    printf("    Charge: %s Grade: %s Gallons: %d.%d \n", cents_text(g.charge), g.grade,
           g.gallons / 10, g.gallons % 10);
    printf("    Plane: %s Pilot: %s\n", g.plane, g.pilot);
}

} // namespace

void do_gas() {
    maybe_read();
    if (!settle_pending_sheet(db.gastempfile, HistoryKind::GAS))
        return;
    WorkingSale w;
    gas &g = w.g;
    g.sheet = ask_sheet();
    if (!open_temporary(db.gastempfile, "gas"))
        return;
    temporary_heading(history_heading(HistoryHeading::FUEL_SHEET));

    int next = 1;
    for (;;) {
        int line = ask_sheet_line(next, g.sheet, &w.date_text, &g.date);
        if (line == 0)
            break;
        next = line;
        g.line = line;
        g.grade = ask_grade(g.grade);
        printf("Gas grade: %s\n", g.grade);
        g.gallons = ask_gallons();
        ask_plane_and_pilot(w);
        g.customer = ask_customer("Recipt # or Account (First Last)", &w.account, true,
                                  "? You must supply an account.\n");
        set_invoice_number(&g.invoice, w.account);
        g.charge = gas_price(g.grade, g.gallons, g.customer);
        echo(w);
        if (!line_is_right(true) || !record_fits([&g] { o_gas_struct(&g, 0, false, true); }))
            continue;
        o_gas_struct(&g, 0, false, true);
        end_record();
        next = next_number(line);
    }
    if (close_temporary())
        remember("Remember this data in the permanent history file", HistoryKind::GAS,
                 db.gastempfile);
}
