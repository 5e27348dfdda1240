// Reports and exports: the output selection behind TYPE, SHOW, PRINT and
// WRITE, and the report writers. Uses billing, the database, mail and the
// console library.
#pragma once

void w_choose();
void do_email();
