// The e-mail capture. Its state is global because only one capture can be
// active at a time: a bill run or SEND-BY-EMAIL opens it, the writers they
// call mark where each recipient's part starts and ends.
#include "mail/email_capture.h"

#include <cstdio>
#include <string>
#include <utility>

#include "conio/iosubs.h"
#include "mail/smtp.h"
#include "mail/smtp_internal.h"

namespace {

struct CaptureState {
    FILE *cur_emailFile = nullptr;
    char *cur_emailFileName = nullptr;
    char *cur_emailSubject = nullptr; // null: no capture active
    char *cur_emailText = nullptr;
    char *cur_emailUser = nullptr;
    char *cur_emailSender = nullptr;
    char *cur_emailServer = nullptr;
    char *cur_emailContent = nullptr;
    // What the writer wrote for the current recipient: the message goes out
    // only when the capture file read back holds exactly this.
    std::string written;
    bool recording = false;
    // Set when the relay refused the log-in or its TLS failed: every later
    // message would fail the same way (each after a wait), so none is tried.
    bool halted = false;
    std::function<bool(const char *, MailAttachment &)> attach; // for this recipient
};

CaptureState capture;

// The descriptions differ on purpose: closing says "ouput", as it always has.
const char *const kOpenKind = "email output";
const char *const kCloseKind = "email ouput";

void set_text(char **slot, const char *text) {
    *slot = (char *)errfree(*slot);
    if (text != nullptr)
        *slot = alloc_str(text);
}

// True when a capture file was open and all of it reached the disk.
bool close_capture_file() {
    bool ok = capture.cur_emailFile != nullptr &&
              close_o_file(capture.cur_emailFile, capture.cur_emailFileName, kCloseKind) == 0;
    capture.cur_emailFile = nullptr;
    return ok;
}

void stop_recording() {
    if (capture.recording)
        o_copy_to(nullptr);
    capture.recording = false;
}

// Empties the capture file and makes it the current output again; when it
// cannot be opened the file stays none and the next start tries again.
void reopen_capture_file() {
    capture.cur_emailFile = open_o_file(capture.cur_emailFileName, kOpenKind);
}

// A capture file that could not be written (a full disk, a folder of its
// name, a refused rename) may still hold an earlier recipient's message:
// only a read-back equal to what was written for this one is sent. The
// written text stays available for the fall-back either way.
bool read_back(bool closed) {
    char *text = closed ? alloc_file(capture.cur_emailFileName, "email temp read", false) : nullptr;
    bool complete = text != nullptr && capture.written == text;
    if (complete) {
        capture.cur_emailContent = text;
        return true;
    }
    errfree(text);
    capture.cur_emailContent = alloc_str(capture.written.c_str());
    return false;
}

bool send_content(bool closed) {
    const char *server = capture.cur_emailServer != nullptr ? capture.cur_emailServer : "";
    if (!read_back(closed)) {
        log_error("? Email to %s not sent: its text could not be written to \"%s\"\n",
                  capture.cur_emailUser, capture.cur_emailFileName);
        return false;
    }
    if (capture.halted)
        return false;
    const char *sender = capture.cur_emailSender != nullptr ? capture.cur_emailSender : "";
    MailAttachment file;
    bool attached = capture.attach && smtp_is_relay_url(server) &&
                    capture.attach(capture.cur_emailContent, file);
    if (sendmail(capture.cur_emailUser, capture.cur_emailUser, capture.cur_emailSubject,
                 capture.cur_emailContent, program_name, sender, sender, server,
                 attached ? &file : nullptr))
        return true;
    log_error("? Unable to send email to %s via server %s\n", capture.cur_emailUser, server);
    if (const char *why = sendmail_stop_reason()) {
        capture.halted = true;
        printf("? No more email is sent in this run: %s\n", why);
    }
    return false;
}

void end_capture_state() {
    stop_recording();
    capture.written.clear();
    capture.attach = nullptr;
    capture.cur_emailContent = (char *)errfree(capture.cur_emailContent);
    capture.cur_emailSubject = (char *)errfree(capture.cur_emailSubject);
    capture.cur_emailText = (char *)errfree(capture.cur_emailText);
    capture.cur_emailUser = (char *)errfree(capture.cur_emailUser);
}

} // namespace

bool o_emailOpen(const char *fileName, const char *subject, const char *text, const char *sender,
                 const char *server) {
    set_text(&capture.cur_emailSender, sender);
    set_text(&capture.cur_emailServer, server);
    FILE *fp = open_o_file(fileName, kOpenKind);
    if (fp == nullptr)
        return false;
    capture.cur_emailFile = fp;
    set_text(&capture.cur_emailFileName, fileName);
    set_text(&capture.cur_emailSubject, subject != nullptr ? subject : "");
    set_text(&capture.cur_emailText, text != nullptr ? text : "");
    capture.cur_emailUser = (char *)errfree(capture.cur_emailUser);
    return true;
}

void o_emailStart(const char *user) {
    if (capture.cur_emailSubject == nullptr)
        return;
    set_text(&capture.cur_emailUser, user);
    stop_recording();
    capture.attach = nullptr;
    close_capture_file();
    reopen_capture_file();
    capture.written.clear();
    capture.recording = true;
    o_copy_to(&capture.written);
    o_lstring(capture.cur_emailText, 0, false);
    o_newline(3);
}

bool o_emailEnd() {
    capture.cur_emailContent = (char *)errfree(capture.cur_emailContent);
    if (capture.cur_emailSubject == nullptr)
        return false;
    stop_recording();
    bool closed = close_capture_file();
    bool result = true;
    if (capture.cur_emailUser != nullptr && !is_blank(capture.cur_emailUser))
        result = send_content(closed);
    capture.attach = nullptr;
    // Whatever the writer prints after this still goes into the (emptied)
    // capture file, never to the screen.
    reopen_capture_file();
    return result;
}

void o_emailAttach(std::function<bool(const char *text, MailAttachment &file)> make) {
    if (capture.cur_emailSubject != nullptr)
        capture.attach = std::move(make);
}

const char *o_emailGetLastContent() {
    return capture.cur_emailContent;
}

bool o_emailActive() {
    return capture.cur_emailSubject != nullptr;
}

bool o_emailHalted() {
    return capture.halted;
}

void o_emailNewRun() {
    capture.halted = false;
}

void o_emailAbandon() {
    // The output library drops the file itself (o_abandon_open_files).
    capture.cur_emailFile = nullptr;
    end_capture_state();
}

void o_emailClose() {
    // Closing makes standard output current again, even when the file could
    // not be opened; the last contents stay on disk.
    close_o_file(capture.cur_emailFile, capture.cur_emailFileName, kCloseKind);
    capture.cur_emailFile = nullptr;
    end_capture_state();
}

void mail_reset() {
    capture.halted = false;
    close_capture_file();
    end_capture_state();
    capture.cur_emailFileName = (char *)errfree(capture.cur_emailFileName);
    capture.cur_emailSender = (char *)errfree(capture.cur_emailSender);
    capture.cur_emailServer = (char *)errfree(capture.cur_emailServer);
}
