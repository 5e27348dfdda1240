// Turning any report into a mail-merge: while a capture is active, a
// writer's output for one recipient goes into the capture file, which is
// read back and mailed to that recipient when the recipient's part ends.
#pragma once

// Calling order: o_emailOpen once; per recipient o_emailStart(address), the
// writer's output, o_emailEnd(); then o_emailClose once. With no capture
// active, o_emailStart and o_emailEnd do nothing (o_emailEnd is false).
bool o_emailOpen(const char *fileName, const char *subject, const char *text, const char *sender,
                 const char *server);
void o_emailStart(const char *user);
bool o_emailEnd(); // true when the message went out or there was none to send
const char *o_emailGetLastContent();
void o_emailClose();

// The mail layer's share of start-up and RESET: no capture active.
void mail_reset();
