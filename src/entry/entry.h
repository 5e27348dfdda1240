// Data entry: the ENTER dialogues. Uses the database and the console
// library.
#pragma once

void do_enter();
