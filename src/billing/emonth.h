// Closing a billing period: the command and its file steps.
#pragma once

#include <vector>

#include "billing/billing.h"

// The balances file and the six history files, by their current names.
std::vector<const char *> period_files();

// Stages in `t` a dated folder under periods/ holding a complete copy of
// the period's files; false (reported, nothing changed) when it cannot.
bool keep_period(FileTransaction &t);

// Stages in `t` the keeping of a period file under its fixed ".OLD" name
// (or, when there is no such file, the removal of a stale ".OLD" copy) and
// a fresh history file in its place when `fresh`.
bool stage_old_and_fresh(FileTransaction &t, const char *name, const char *old_name, bool fresh);
