// Reports and exports: the output selection behind TYPE, SHOW, PRINT and
// WRITE, and the report writers. Uses billing, the database, mail and the
// console library.
#pragma once

void w_choose();

// SEND-BY-EMAIL and its writers.
void do_email();
int w_email_choose(); // the menu position chosen, negative when cancelled
void w_email_file(const char *defaultName);
