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
// True when the message went out or there was none to send. A message goes
// out only when the capture file read back holds exactly what was written
// for this recipient; otherwise o_emailGetLastContent still gives that text.
bool o_emailEnd();
const char *o_emailGetLastContent();
// Asks that the current recipient's message carry a file made from the
// captured text (`make` fills the attachment; false sends the text alone).
// Only a relay named by a URL carries it: the plain client sends text
// only, and `make` is then never called. Call after o_emailStart; the
// request ends with the recipient's message.
void o_emailAttach(std::function<bool(const char *text, MailAttachment &file)> make);
void o_emailClose();
bool o_emailActive();
// After the relay refused the log-in or TLS failed (said once), no message
// is tried until o_emailNewRun, which a command calls before its first.
bool o_emailHalted();
void o_emailNewRun();
// For input that ends in the middle of a capture: forgets it without
// closing; the caller then abandons the open output files.
void o_emailAbandon();

// The mail layer's share of start-up and RESET: no capture active.
void mail_reset();
