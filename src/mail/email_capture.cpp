// The e-mail capture. Its state is global because only one capture can be
// active at a time: a bill run or SEND-BY-EMAIL opens it, the writers they
// call mark where each recipient's part starts and ends.
#include "mail/email_capture.h"

#include <cstdio>
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

void close_capture_file() {
    if (capture.cur_emailFile != nullptr)
        close_o_file(capture.cur_emailFile, capture.cur_emailFileName, kCloseKind);
    capture.cur_emailFile = nullptr;
}

// Empties the capture file and makes it the current output again; when it
// cannot be opened the file stays none and the next start tries again.
void reopen_capture_file() {
    capture.cur_emailFile = open_o_file(capture.cur_emailFileName, kOpenKind);
}

bool send_content() {
    capture.cur_emailContent = alloc_file(capture.cur_emailFileName, "email temp read", false);
    const char *sender = capture.cur_emailSender != nullptr ? capture.cur_emailSender : "";
    const char *server = capture.cur_emailServer != nullptr ? capture.cur_emailServer : "";
    MailAttachment file;
    bool attached = capture.cur_emailContent != nullptr && capture.attach &&
                    smtp_is_relay_url(server) && capture.attach(capture.cur_emailContent, file);
    bool sent = capture.cur_emailContent != nullptr &&
                sendmail(capture.cur_emailUser, capture.cur_emailUser, capture.cur_emailSubject,
                         capture.cur_emailContent, program_name, sender, sender, server,
                         attached ? &file : nullptr);
    if (!sent)
        log_error("? Unable to send email to %s via server %s\n", capture.cur_emailUser, server);
    return sent;
}

void end_capture_state() {
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
    capture.attach = nullptr;
    close_capture_file();
    reopen_capture_file();
    o_lstring(capture.cur_emailText, 0, false);
    o_newline(3);
}

bool o_emailEnd() {
    capture.cur_emailContent = (char *)errfree(capture.cur_emailContent);
    if (capture.cur_emailSubject == nullptr)
        return false;
    close_capture_file();
    bool result = true;
    if (capture.cur_emailUser != nullptr && !is_blank(capture.cur_emailUser))
        result = send_content();
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

void o_emailClose() {
    // Closing makes standard output current again, even when the file could
    // not be opened; the last contents stay on disk.
    close_o_file(capture.cur_emailFile, capture.cur_emailFileName, kCloseKind);
    capture.cur_emailFile = nullptr;
    end_capture_state();
}

void mail_reset() {
    close_capture_file();
    end_capture_state();
    capture.cur_emailFileName = (char *)errfree(capture.cur_emailFileName);
    capture.cur_emailSender = (char *)errfree(capture.cur_emailSender);
    capture.cur_emailServer = (char *)errfree(capture.cur_emailServer);
}
