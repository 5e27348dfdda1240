// Private to the console I/O library: helpers shared by the parsers and
// the prompts.
#pragma once

// True when text is a whole integer: an optional sign and one to nine
// digits, nothing else.
bool parse_strict_int(const char *text, long *value);
