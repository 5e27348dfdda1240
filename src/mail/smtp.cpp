// The SMTP client. It talks to the relay in the simplest way that works
// with the relays the club has used: every command is written, then exactly
// one receive takes whatever has arrived, and only three reply codes are
// ever looked at. Replies therefore usually arrive one step late (the greeting
// is read after HELO has gone out); that is how the dialogue has always run.
#include "mail/smtp.h"
#include "mail/smtp_internal.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

constexpr size_t COMMAND_SIZE = 8192;
constexpr long REPLY_SIZE = 4096;
constexpr size_t HEADER_SIZE = 4096;

// An impossible argument ends the program, as an assertion would, but also
// in builds that compile assertions out.
#define SMTP_ASSERT(cond, text)                                                                    \
    do {                                                                                           \
        if (!(cond))                                                                               \
            assertion_failed(text, __FILE__, __LINE__);                                            \
    } while (0)

[[noreturn]] void assertion_failed(const char *text, const char *file, int line) {
    fflush(stdout);
    fprintf(stderr, "Assertion failed: %s, file %s, line %d\n", text, file, line);
    abort();
}

// Nothing can go on without sockets: end at once, the way an uncaught error
// would, after the message has reached the console.
[[noreturn]] void terminate_abnormally() {
    fflush(stdout);
    abort();
}

// POSIX sockets need no start-up or clean-up; these keep the places where
// a socket library would be set up and released.
int socket_startup(unsigned short requested, SmtpSocketLibrary *data) {
    data->wVersion = requested;
    data->wHighVersion = requested;
    return 0;
}

void socket_cleanup() {}

// Writes all of text; false with errno set when the connection fails. A
// peer that has gone away must not kill the program with SIGPIPE.
bool send_all(Smtp::SOCKET s, const char *text, size_t length) {
    while (length > 0) {
        ssize_t n = send(s, text, length, MSG_NOSIGNAL);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        text += n;
        length -= static_cast<size_t>(n);
    }
    return true;
}

long clamp_fill(long fill) {
    return fill < 0 ? 0 : (fill > REPLY_SIZE ? REPLY_SIZE : fill);
}

// One receive appended at the fill level of a reply buffer of
// REPLY_SIZE + 1 bytes; returns the new fill level. A failed receive is
// counted as it comes (-1), but never makes the buffer be written outside
// its bounds.
long receive_more(Smtp::SOCKET s, char *reply, long fill) {
    long at = clamp_fill(fill);
    ssize_t n = recv(s, reply + at, static_cast<size_t>(REPLY_SIZE - at), 0);
    // A relay silent for the whole time limit is taken as gone: its later
    // replies are not waited for, so one send fails within one limit while
    // the dialogue still runs to its end.
    if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
        shutdown(s, SHUT_RD);
    fill += static_cast<long>(n);
    reply[clamp_fill(fill)] = '\0';
    return fill;
}

// The copy is reused when the new text fits into it.
void store_text(char *&slot, const char *text) {
    size_t length = strlen(text);
    if (slot == nullptr || length > strlen(slot)) {
        delete[] slot;
        slot = new char[length + 1];
    }
    memcpy(slot, text, length + 1);
}

void appendf(std::string &out, const char *format, ...) __attribute__((format(printf, 2, 3)));
void appendf(std::string &out, const char *format, ...) {
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    int length = vsnprintf(nullptr, 0, format, args);
    va_end(args);
    if (length > 0) {
        size_t old = out.size();
        out.resize(old + static_cast<size_t>(length) + 1);
        vsnprintf(out.data() + old, static_cast<size_t>(length) + 1, format, again);
        out.resize(old + static_cast<size_t>(length));
    }
    va_end(again);
}

bool add_recipient(std::vector<Smtp::CRecipient> &list, const char *email, const char *name) {
    SMTP_ASSERT(email != nullptr, "email");
    if (*email == '\0')
        return false;
    SMTP_ASSERT(name != nullptr, "name");
    std::string text;
    appendf(text, "%s<%s>", name, email);
    Smtp::CRecipient recipient;
    recipient.SetEmail(text.c_str());
    list.push_back(recipient);
    return true;
}

std::string join_recipients(const std::vector<Smtp::CRecipient> &list) {
    std::string joined;
    for (const Smtp::CRecipient &r : list) {
        if (!joined.empty())
            joined += ',';
        joined += r.GetEmail();
    }
    return joined;
}

} // namespace

void smtp_format_date(time_t when, char *date, size_t dateSize, char *timeText, size_t timeSize) {
    static const char *const days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static const char *const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    struct tm utc;
    if (gmtime_r(&when, &utc) == nullptr) {
        snprintf(date, dateSize, "%s", "");
        snprintf(timeText, timeSize, "%s", "");
        return;
    }
    snprintf(date, dateSize, "%s, %02d %s %04d", days[utc.tm_wday], utc.tm_mday, months[utc.tm_mon],
             utc.tm_year + 1900);
    snprintf(timeText, timeSize, "%02d:%02d:%02d %s", utc.tm_hour, utc.tm_min, utc.tm_sec,
             utc.tm_hour < 12 ? "AM" : "PM");
}

bool smtp_split_server(const char *server, std::string &host, unsigned short &port) {
    const char *colon = strchr(server, ':');
    if (colon == nullptr || colon == server || strchr(colon + 1, ':') != nullptr)
        return false;
    const char *digits = colon + 1;
    size_t count = strlen(digits);
    if (count == 0 || count > 5 || strspn(digits, "0123456789") != count)
        return false;
    long value = strtol(digits, nullptr, 10);
    if (value < 1 || value > 65535)
        return false;
    host.assign(server, static_cast<size_t>(colon - server));
    port = static_cast<unsigned short>(value);
    return true;
}

unsigned short smtp_service_port() {
    const servent *service = getservbyname("mail", nullptr);
    if (service == nullptr)
        return htons(25);
    return static_cast<unsigned short>(service->s_port);
}

Smtp::Smtp()
    : bCon(false), m_cHostName{}, m_pcFromEmail(nullptr), m_pcFromName(nullptr),
      m_pcSubject(nullptr), m_pcMsgBody(nullptr), m_pcXMailer(nullptr), m_pcReplyTo(nullptr),
      m_pcIPAddr(nullptr), wsaData(), hSocket(INVALID_SOCKET), m_ownedSocket(INVALID_SOCKET) {
    Recipients.clear();
    CCRecipients.clear();
    BCCRecipients.clear();
    if (socket_startup(0x0202, &wsaData) != 0) {
        printf("WSAStartup %d\r\n", errno);
        terminate_abnormally();
    }
    if ((wsaData.wVersion & 0xff) != 2 || (wsaData.wVersion >> 8) != 2) {
        printf("Can't find a useable WinSock DLL\r\n");
        socket_cleanup();
        terminate_abnormally();
    }
}

Smtp::~Smtp() {
    delete[] m_pcFromEmail;
    delete[] m_pcFromName;
    delete[] m_pcSubject;
    delete[] m_pcMsgBody;
    delete[] m_pcXMailer;
    delete[] m_pcReplyTo;
    delete[] m_pcIPAddr;
    m_pcFromEmail = m_pcFromName = m_pcSubject = m_pcMsgBody = nullptr;
    m_pcXMailer = m_pcReplyTo = m_pcIPAddr = nullptr;
    if (bCon)
        Disconnect();
    _releaseSocket();
    socket_cleanup();
}

void Smtp::_releaseSocket() {
    if (m_ownedSocket != INVALID_SOCKET)
        close(m_ownedSocket);
    m_ownedSocket = INVALID_SOCKET;
}

bool Smtp::AddRecipient(const char *email, const char *name) {
    return add_recipient(Recipients, email, name);
}

bool Smtp::AddCCRecipient(const char *email, const char *name) {
    return add_recipient(CCRecipients, email, name);
}

bool Smtp::AddBCCRecipient(const char *email, const char *name) {
    return add_recipient(BCCRecipients, email, name);
}

bool Smtp::SetSubject(const char *subject) {
    SMTP_ASSERT(subject != nullptr, "subject");
    store_text(m_pcSubject, subject);
    return true;
}

bool Smtp::SetSenderName(const char *name) {
    SMTP_ASSERT(name != nullptr, "name");
    store_text(m_pcFromName, name);
    return true;
}

bool Smtp::SetSenderEmail(const char *email) {
    SMTP_ASSERT(email != nullptr, "email");
    store_text(m_pcFromEmail, email);
    return true;
}

bool Smtp::SetReplyTo(const char *replyto) {
    SMTP_ASSERT(replyto != nullptr, "replyto");
    store_text(m_pcReplyTo, replyto);
    return true;
}

bool Smtp::SetXMailer(const char *xmailer) {
    SMTP_ASSERT(xmailer != nullptr, "xmailer");
    store_text(m_pcXMailer, xmailer);
    return true;
}

// Every LF gets a CR in front of it unless the character before it is a
// lower-case "m". Relays the club has used depend on this exact rule, so a
// CR LF in the input becomes CR CR LF and "m" LF passes unchanged.
bool Smtp::SetMessageBody(const char *body) {
    SMTP_ASSERT(body != nullptr, "body");
    delete[] m_pcMsgBody;
    size_t length = strlen(body);
    m_pcMsgBody = new char[2 * length + 1];
    size_t out = 0;
    for (size_t i = 0; i < length; i++) {
        if (body[i] == '\n' && !(i > 0 && body[i - 1] == 'm'))
            m_pcMsgBody[out++] = '\r';
        m_pcMsgBody[out++] = body[i];
    }
    m_pcMsgBody[out] = '\0';
    return true;
}

const char *Smtp::GetLocalHostname() {
    if (gethostname(m_cHostName, sizeof m_cHostName - 1) != 0)
        return nullptr;
    m_cHostName[sizeof m_cHostName - 1] = '\0';
    return m_cHostName;
}

const char *Smtp::GetLocalHostIp() {
    if (!bCon)
        return m_pcIPAddr;
    sockaddr_in local{};
    socklen_t size = sizeof local;
    char text[INET_ADDRSTRLEN];
    if (getsockname(hSocket, reinterpret_cast<sockaddr *>(&local), &size) == 0 &&
        local.sin_family == AF_INET &&
        inet_ntop(AF_INET, &local.sin_addr, text, sizeof text) != nullptr)
        store_text(m_pcIPAddr, text);
    return m_pcIPAddr;
}

Smtp::SOCKET Smtp::_connectServerSocket(const char *server, unsigned short port) {
    const hostent *host = gethostbyname(server);
    if (host == nullptr || host->h_addrtype != AF_INET || host->h_addr_list[0] == nullptr)
        return INVALID_SOCKET;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    memcpy(&address.sin_addr, host->h_addr_list[0], sizeof address.sin_addr);

    // A socket left over from an earlier failed attempt goes first.
    _releaseSocket();
    SOCKET s = socket(AF_INET, SOCK_STREAM, 0);
    if (s < 0) {
        printf("Invalid socket\r\n");
        terminate_abnormally();
    }
    m_ownedSocket = s;
    // Connecting and each reply are bounded, so a dead relay never hangs a
    // bill run.
    timeval limit{};
    limit.tv_sec = smtp_time_limit();
    setsockopt(s, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    setsockopt(s, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    address.sin_port = port != 0 ? port : smtp_service_port();
    if (connect(s, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        return INVALID_SOCKET;
    return s;
}

bool Smtp::ConnectServer(const char *server, unsigned short port) {
    SMTP_ASSERT(server != nullptr, "server");
    if (bCon)
        Disconnect();
    bCon = false;
    hSocket = INVALID_SOCKET;

    // "host:port" names the port; the host alone is looked up.
    std::string host = server;
    unsigned short hostPort = 0;
    if (smtp_split_server(server, host, hostPort) && port == 0)
        port = htons(hostPort);

    hSocket = _connectServerSocket(host.c_str(), port);
    if (hSocket == INVALID_SOCKET) {
        printf("Invalid socket\r\n");
        return false;
    }

    // HELO goes out before the greeting is read, and names the server just
    // as it was given to us.
    char command[COMMAND_SIZE];
    snprintf(command, sizeof command, "HELO %s\r\n", server);
    if (!send_all(hSocket, command, strlen(command))) {
        printf("Socket send error: %d\r\n", errno);
        return false;
    }
    char reply[REPLY_SIZE + 1];
    receive_more(hSocket, reply, 0);
    if (strncmp(reply, "220", 3) != 0)
        printf("SMTP warning, at connect got: %s\r\n\r\n", reply);
    bCon = true;
    return true;
}

char *Smtp::_formatHeader() {
    if (Recipients.empty()) {
        printf("Please add a message recipient!\r\n");
        return nullptr;
    }
    // Bcc recipients never appear in the header.
    std::string to = join_recipients(Recipients);
    std::string cc = join_recipients(CCRecipients);

    char date[500];
    char timeText[500];
    smtp_format_date(time(nullptr), date, sizeof date, timeText, sizeof timeText);

    std::string header;
    appendf(header, "DATE: %s %s\r\n", date, timeText);
    if (m_pcFromName != nullptr) {
        header += "FROM: ";
        appendf(header, "\"%s\"<%s>", m_pcFromName, m_pcFromEmail ? m_pcFromEmail : "");
        header += "\r\n";
    }
    appendf(header, "To: %s\r\n", to.c_str());
    appendf(header, "Cc: %s\r\n", cc.c_str());
    if (m_pcSubject != nullptr)
        appendf(header, "Subject: %s\r\n", m_pcSubject);
    if (m_pcXMailer != nullptr)
        appendf(header, "X-Mailer: %s\r\n", m_pcXMailer);
    if (m_pcReplyTo != nullptr)
        appendf(header, "Reply-To: %s\r\n", m_pcReplyTo);
    header += "MIME-Version: 1.0\r\n";
    header += "Content-type: text/plain; charset=US-ASCII\r\n";
    header += "\r\n";

    size_t size = header.size() + 1 > HEADER_SIZE ? header.size() + 1 : HEADER_SIZE;
    char *text = new char[size];
    memcpy(text, header.c_str(), header.size() + 1);
    return text;
}

char *Smtp::_formatMessage() {
    std::unique_ptr<char[]> header(_formatHeader());
    if (!header)
        return nullptr;
    size_t headerLength = strlen(header.get());
    size_t bodyLength = m_pcMsgBody ? strlen(m_pcMsgBody) : 0;
    char *message = new char[headerLength + bodyLength + 1];
    memcpy(message, header.get(), headerLength);
    if (bodyLength > 0)
        memcpy(message + headerLength, m_pcMsgBody, bodyLength);
    message[headerLength + bodyLength] = '\0';
    return message;
}

bool Smtp::Send() {
    if (m_pcFromEmail == nullptr) {
        printf("Please specifiy a sender email address\r\n");
        return false;
    }
    std::unique_ptr<char[]> header(_formatHeader());
    if (!header) {
        printf("Failed to format message header\r\n");
        return false;
    }

    char command[COMMAND_SIZE];
    char reply[REPLY_SIZE + 1];
    snprintf(command, sizeof command, "MAIL FROM: <%s>\r\n", m_pcFromEmail);
    if (!send_all(hSocket, command, strlen(command))) {
        printf("Socket send error: %d\r\n", errno);
        return false;
    }
    long fill = receive_more(hSocket, reply, 0);

    // The stored recipient text already ends in "<mailbox>", so the line
    // carries no closing bracket for the opening one written here.
    for (const std::vector<CRecipient> *list : {&Recipients, &CCRecipients, &BCCRecipients}) {
        for (const CRecipient &r : *list) {
            snprintf(command, sizeof command, "RCPT TO: <%s\r\n", r.GetEmail());
            if (!send_all(hSocket, command, strlen(command))) {
                printf("Socket send error: %d\r\n", errno);
                return false;
            }
            fill = receive_more(hSocket, reply, fill);
        }
    }

    snprintf(command, sizeof command, "%s", "DATA\r\n");
    if (!send_all(hSocket, command, strlen(command))) {
        printf("Socket send error: %d\r\n", errno);
        return false;
    }
    fill = receive_more(hSocket, reply, fill);

    // The body goes out as it is: a line holding a single "." ends the
    // message early at the server.
    const char *body = m_pcMsgBody ? m_pcMsgBody : "";
    if (!send_all(hSocket, header.get(), strlen(header.get())) ||
        !send_all(hSocket, body, strlen(body)) || !send_all(hSocket, "\r\n.\r\n", 5)) {
        printf("Socket send error: %d\r\n", errno);
        return false;
    }
    receive_more(hSocket, reply, fill);

    // Only the first reply received after MAIL FROM decides.
    if (strncmp(reply, "250", 3) == 0)
        return true;
    printf("SMTP problem, at send got: %s\r\n\r\n", reply);
    return false;
}

bool Smtp::Disconnect() {
    if (!bCon) {
        printf("Not connected to server!\r\n");
        return false;
    }
    if (!send_all(hSocket, "QUIT\r\n", 6)) {
        printf("SMTP socket send error: %d\r\n", errno);
        return false;
    }
    char reply[REPLY_SIZE + 1];
    receive_more(hSocket, reply, 0);
    bCon = false;
    hSocket = 0;
    _releaseSocket();
    if (strncmp(reply, "250", 3) != 0) {
        printf("SMTP problem at disconnect, got: %s\r\n\r\n", reply);
        return false;
    }
    return true;
}
