// Closing a billing period: the command and its file steps.
#pragma once

#include <vector>

#include "billing/billing.h"

// Where every closed period is kept, one folder per closing.
inline constexpr char kPeriodsFolder[] = "periods";

// The balances file and the six history files, by their current names.
std::vector<const char *> period_files();

// Copies the period's files, each complete and synced, into a new folder
// under periods/; false (reported, nothing else changed) when it cannot.
bool keep_period();

// Moves a period file to its fixed ".OLD" name, replacing the previous one.
void move_to_old(const char *name, const char *old_name);
