// What Tab offers at the database's questions: accounts, the price list's
// items and the tow planes, as sources for conio's completion.
#pragma once

#include "conio/completion.h"

// Every customer as "FIRST LAST" (as the account prompt takes it; "LAST,
// FIRST" when the first name has a blank) and every abbreviation.
void complete_accounts(const void *context, const std::string &typed,
                       std::vector<std::string> &candidates);
// The names of the price list's items (the aircraft among them).
void complete_items(const void *context, const std::string &typed,
                    std::vector<std::string> &candidates);
// The names of the tow planes in the table.
void complete_towplanes(const void *context, const std::string &typed,
                        std::vector<std::string> &candidates);
