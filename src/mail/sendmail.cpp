// One message, one connection: the rest of the program never holds an SMTP
// client of its own.
#include "mail/smtp.h"
#include "mail/smtp_internal.h"

bool sendmail(const char *toEmail, const char *toName, const char *subject, const char *body,
              const char *senderName, const char *senderEmail, const char *replyTo,
              const char *server, const MailAttachment *attachment) {
    smtp_clear_stop_reason();
    // A URL names a present-day relay; a bare host keeps the old client,
    // whose message is the text alone.
    if (smtp_is_relay_url(server))
        return sendmail_relay(toEmail, subject, body, senderName, senderEmail, replyTo, server,
                              attachment);
    Smtp mail;
    mail.AddRecipient(toEmail, toName);
    mail.SetMessageBody(body);
    mail.SetSubject(subject);
    mail.SetSenderName(senderName);
    mail.SetSenderEmail(senderEmail);
    mail.SetReplyTo(replyTo);
    if (!mail.ConnectServer(server, 0))
        return false;
    // QUIT goes out even after a refused message.
    bool sent = mail.Send();
    bool closed = mail.Disconnect();
    return sent && closed;
}
