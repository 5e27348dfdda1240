// The e-mail subsystem: a minimal SMTP client that sends one plain-text
// message through a relay, and sendmail(), the one call the rest of the
// program uses.
//
// The client writes each command and performs exactly one receive after it;
// it never parses replies. Its only checks are the three-character reply
// codes at connect, after the message and at disconnect. All diagnostics go
// to standard output and end in CR LF, as they always have.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// A file sent beside a message's text, such as a statement as PDF.
struct MailAttachment {
    std::string file_name;
    std::string content_type;
    std::string data;
};

// Sends one message over its own SMTP connection. `server` is a host name or
// address, optionally followed by ":port" (a relay's submission port, a test
// server); without a port the "mail" service's port is used (25 when the
// system does not know it). True only when the message was accepted and the
// connection was closed cleanly. An `attachment` goes only through a relay
// named by a URL (a MIME message of the text and the file); the plain
// client always sends the text alone.
bool sendmail(const char *toEmail, const char *toName, const char *subject, const char *body,
              const char *senderName, const char *senderEmail, const char *replyTo,
              const char *server, const MailAttachment *attachment = nullptr);

// After a failed sendmail: why no later message through the same relay can
// succeed (it refused the log-in, TLS failed), or null when only this
// message failed.
const char *sendmail_stop_reason();

// What the socket library reports when it starts. POSIX sockets need no
// start-up, but the client keeps the place where a failed one is reported.
struct SmtpSocketLibrary {
    unsigned short wVersion = 0;
    unsigned short wHighVersion = 0;
};

class Smtp {
  public:
    using SOCKET = int;
    static constexpr SOCKET INVALID_SOCKET = -1;

    class CRecipient {
      public:
        CRecipient() = default;
        CRecipient(const CRecipient &other) = default;
        CRecipient &operator=(const CRecipient &other) = default;
        ~CRecipient() = default;

        const char *GetEmail() const { return m_csEmail.c_str(); }
        void SetEmail(const char *email) { m_csEmail = email; }

      private:
        std::string m_csEmail;
    };

    Smtp();
    virtual ~Smtp();
    Smtp(const Smtp &) = delete;
    Smtp &operator=(const Smtp &) = delete;

    bool AddRecipient(const char *email, const char *name);
    bool AddCCRecipient(const char *email, const char *name);
    bool AddBCCRecipient(const char *email, const char *name);

    // `port` is in network byte order; 0 asks for the "mail" service's port
    // (or the ":port" written after the server name).
    bool ConnectServer(const char *server, unsigned short port);
    bool Disconnect();
    bool Send();

    bool SetMessageBody(const char *body);
    bool SetSubject(const char *subject);
    bool SetSenderName(const char *name);
    bool SetSenderEmail(const char *email);
    bool SetReplyTo(const char *replyto);
    bool SetXMailer(const char *xmailer);

    bool GetConnectStatus() const { return bCon; }
    size_t GetRecipientCount() const { return Recipients.size(); }
    size_t GetCCRecipientCount() const { return CCRecipients.size(); }
    size_t GetBCCRecipientCount() const { return BCCRecipients.size(); }
    SOCKET GetSocket() const { return hSocket; }
    // The local address of the open connection, or null when not connected.
    const char *GetLocalHostIp();
    // This machine's host name, or null when the system cannot tell.
    const char *GetLocalHostname();
    const char *GetMessageBody() const { return m_pcMsgBody; }
    const char *GetReplyTo() const { return m_pcReplyTo; }
    const char *GetSenderEmail() const { return m_pcFromEmail; }
    const char *GetSenderName() const { return m_pcFromName; }
    const char *GetSubject() const { return m_pcSubject; }
    const char *GetXMailer() const { return m_pcXMailer; }

  private:
    SOCKET _connectServerSocket(const char *server, unsigned short port);
    char *_formatHeader();
    char *_formatMessage();
    void _releaseSocket();

    bool bCon;
    char m_cHostName[256];
    char *m_pcFromEmail;
    char *m_pcFromName;
    char *m_pcSubject;
    char *m_pcMsgBody;
    char *m_pcXMailer;
    char *m_pcReplyTo;
    char *m_pcIPAddr;
    SmtpSocketLibrary wsaData;
    SOCKET hSocket;
    std::vector<CRecipient> Recipients;
    std::vector<CRecipient> CCRecipients;
    std::vector<CRecipient> BCCRecipients;
    // The socket this object created and has not yet closed. hSocket forgets
    // it when a connect fails or after QUIT; closing it here stands in for
    // the library clean-up that releases every socket of the process.
    SOCKET m_ownedSocket;
};
