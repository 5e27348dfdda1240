#include <cstdarg>
#include <cstdio>

#include "conio/iosubs.h"
#include "shell/shell.h"

void log_error(const char *format, ...) {
    char message[404];
    va_list args;
    va_start(args, format);
    vsnprintf(message, sizeof message, format, args);
    va_end(args);
    printf("Error at %s:\n  %s\n", timestamp(), message);
}
