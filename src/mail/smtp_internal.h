// Pieces of the SMTP client that the tests reach directly.
#pragma once

#include <cstddef>
#include <ctime>
#include <string>

struct MailAttachment;

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

// True for a server setting written as smtp://... or smtps://... (any case).
bool smtp_is_relay_url(const char *server);
// Sends one message through a relay named by such a URL with libcurl:
// TLS, authentication from the environment or ~/.netrc, a standard header.
// On failure prints one "? ..." line with the relay's reply. With an
// attachment the message is MIME: the text part, then the file.
bool sendmail_relay(const char *toEmail, const char *subject, const char *body,
                    const char *senderName, const char *senderEmail, const char *replyTo,
                    const char *server, const MailAttachment *attachment = nullptr);
// Forgets the last failure's reason to stop (see sendmail_stop_reason).
void smtp_clear_stop_reason();
// The limit on connecting and on each reply, in seconds (30 by default),
// for both clients.
void smtp_set_time_limit(long seconds);
long smtp_time_limit();
