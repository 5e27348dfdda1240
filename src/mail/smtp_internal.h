// Pieces of the SMTP client that the tests reach directly.
#pragma once

#include <cstddef>
#include <ctime>
#include <string>

// The mail's date line texts for `when` in UTC, rendered as an English
// default locale renders "ddd',' dd MMM yyyy" and, forced to 24 hours,
// "HH':'mm':'ss tt" (the AM/PM marker stays).
void smtp_format_date(time_t when, char *date, size_t dateSize, char *timeText, size_t timeSize);

// Splits "host:port" (exactly one colon, a port of 1 to 65535 in decimal).
// False, leaving the outputs alone, for any other text: it is then a plain
// host name.
bool smtp_split_server(const char *server, std::string &host, unsigned short &port);

// The port of the "mail" service in network byte order, 25 when unknown.
unsigned short smtp_service_port();
