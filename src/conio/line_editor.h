// The line editor used for console lines at a terminal: editing keys,
// history kept beside the club's files, Tab completion. Internal to this
// layer: line input decides when to use it.
#pragma once

#include <cstddef>

enum class ConsoleRead { LINE, END, FAILED };

// True when standard input and output are both a terminal that can be
// edited on; decided once. Otherwise lines are read as plain text.
bool line_editor_active();

// Shows `prompt` and reads one line, newline kept, into `line` (cut to
// `size`). Once the input has ended (Ctrl-D on an empty line, a terminal
// that went away) every later call says so without reading.
ConsoleRead line_editor_read(const char *prompt, char *line, size_t size);
