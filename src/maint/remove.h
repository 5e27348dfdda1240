// The removals behind REMOVE, one per menu entry, for the command itself
// and for the tests.
#pragma once

void rmv_abbrev();
void rmv_cust();
void rmv_prices();
void rmv_flights();
void rmv_gas_sales();
void rmv_misc();
void rmv_payments();

// Whether every file the period's records come from could be read. A
// record that is not in memory cannot be listed, and would be dropped for
// good by the rewrite that follows a removal; a customer whose records
// were not read might still have some. When one could not be read this
// says so and returns false.
bool records_complete();
