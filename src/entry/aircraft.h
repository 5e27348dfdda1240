// The aircraft questions of flight entry.
#pragma once

#include "db/db.h"

// "Aircraft flown": a fast key 1 to 9 that names an item stands for that
// item; any other answer is the plane's name as typed. Returns a new text.
char *ask_aircraft(const char *previous);
// The item a fast key answer stands for, or null when the answer is a name.
const char *fast_key_item(const char *answer);
// The tow plane an answer names (a used slot number or a name, a new name
// taking the first free slot), or null with *refusal saying why.
towplane *towplane_answer(const char *answer, const char **refusal);
// "Towplane": a used slot number 1 to 16 or a name, a new name taking the
// first free slot. Asked until a row of the table results.
towplane *ask_towplane(const towplane *previous);
