// Turning any report into a mail-merge: while a capture is active, a
// writer's output for one recipient goes into the capture file, which is
// read back and mailed to that recipient when the recipient's part ends.
#pragma once

#include <functional>

struct MailAttachment;

// Calling order: o_emailOpen once; per recipient o_emailStart(address), the
// writer's output, o_emailEnd(); then o_emailClose once. With no capture
// active, o_emailStart and o_emailEnd do nothing (o_emailEnd is false).
bool o_emailOpen(const char *fileName, const char *subject, const char *text, const char *sender,
                 const char *server);
void o_emailStart(const char *user);
bool o_emailEnd(); // true when the message went out or there was none to send
const char *o_emailGetLastContent();
// Asks that the current recipient's message carry a file made from the
// captured text (`make` fills the attachment; false sends the text alone).
// Only a relay named by a URL carries it: the plain client sends text
// only, and `make` is then never called. Call after o_emailStart; the
// request ends with the recipient's message.
void o_emailAttach(std::function<bool(const char *text, MailAttachment &file)> make);
void o_emailClose();

// The mail layer's share of start-up and RESET: no capture active.
void mail_reset();
