// Data entry: the ENTER dialogues.
#pragma once

void do_enter();
