// What a flight goes through however it comes in, typed at ENTER or read by
// IMPORT: the day sheet's temporary file and its "Remember", and the rules
// whose refusal ENTER prints after "? " ("" when the value is accepted).
#pragma once

#include <string>

#include "db/db.h"

// Opens the day sheet temporary file with its heading, every flight of
// the period read for the duplicate test; false when it cannot be opened.
bool start_day_sheet();
// "Remember this data in the permanent history file" for the day sheet.
void remember_day_sheet();

std::string duration_refusal(long minutes);
// Tow heights are in hundreds of feet.
std::string tow_height_refusal(long height);
// The default tow height of the customer's category, as typed: "2.0".
std::string default_tow_height(const customer *c);
