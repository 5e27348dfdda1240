// Data entry: the ENTER dialogues through which the clerk types in the
// period's paper (day sheets, fuel sheets, misc charges and credits,
// payments) and corrects account balances. Uses the database and the
// console library.
#pragma once

#include <cstdio>

// What entry keeps between commands, in one place so that start-up, RESET
// and the tests can drop it with one call.
struct EntryState {
    // The next flight number offered; it runs on from one ENTER to the next.
    int flight_number = 1;
    // The temporary file of the dialogue that is running, so that the end
    // of the console's input can still keep the lines already accepted.
    FILE *temp_file = nullptr;
    const char *temp_name = nullptr; // a database file name, not owned
    const char *temp_kind = nullptr;
};
extern EntryState entry;

// Entry's share of start-up and RESET.
void entry_reset();
// Closes the running dialogue's temporary file, keeping what it holds;
// the shell calls it when the console's input ends in the middle of a
// dialogue. Nothing is appended to any history file.
void entry_close_temporary();

void do_enter();
void do_flights(bool is_glider);
void do_gas();
void do_misc(bool is_charge);
void do_payments();
void do_balance();
// VERIFY: lists what the bill run would charge wrongly or not at all.
void do_verify();
// IMPORT: flights from a CSV file, through the checks of flight entry.
void do_import();
