// The rules a flight must keep however it comes in, typed at ENTER or read
// by IMPORT: each gives the refusal ENTER prints after "? ", or "" when the
// value is accepted.
#pragma once

#include <string>

#include "db/db.h"

std::string duration_refusal(long minutes);
// Tow heights are in hundreds of feet.
std::string tow_height_refusal(long height);
// The default tow height of the customer's category, as typed: "2.0".
std::string default_tow_height(const customer *c);
