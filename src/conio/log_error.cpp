#include <cstdarg>
#include <cstdio>

#include "conio/iosubs.h"

const char *const program_name = "VARNOK";
const char *const program_version = "Version 10(116)";

void log_error(const char *format, ...) {
    char message[404];
    va_list args;
    va_start(args, format);
    vsnprintf(message, sizeof message, format, args);
    va_end(args);
    printf("Error at %s:\n  %s\n", timestamp(), message);
}
