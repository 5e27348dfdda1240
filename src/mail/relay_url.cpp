// Delivery through today's mail relays. A server setting written as a URL,
// smtp://host[:port] (STARTTLS required) or smtps://host[:port] (TLS from
// the start), sends through libcurl, which brings the TLS, authentication
// and protocol handling every public provider requires. A bare host name
// never comes here: it keeps the club's old client.
#include "mail/smtp.h"
#include "mail/smtp_internal.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <strings.h>
#include <unistd.h>
#include <vector>

#include "mail/curl_library.h"

namespace {

long time_limit_seconds = 30;
const char *stop_reason = nullptr;

// Failures that every later message to the same relay would meet again.
const char *reason_to_stop(CURLcode code) {
    switch (code) {
    case CURLE_LOGIN_DENIED:
        return "the relay refused the log-in";
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_USE_SSL_FAILED:
        return "TLS with the relay failed";
    default:
        return nullptr;
    }
}

struct RelayUrl {
    bool tls_from_start = false;
    std::string host; // lower case: DNS names are case-insensitive
    unsigned port = 0;
};

bool starts_with_nocase(const char *text, const char *prefix) {
    return strncasecmp(text, prefix, strlen(prefix)) == 0;
}

// The prices file stores settings upper-cased, so the scheme and host are
// taken in any case. Credentials never belong in the setting: a URL with a
// user part is refused, so the setting can be shown in messages.
bool parse_relay_url(const char *server, RelayUrl &url) {
    const char *rest;
    if (starts_with_nocase(server, "smtps://")) {
        url.tls_from_start = true;
        rest = server + 8;
    } else if (starts_with_nocase(server, "smtp://")) {
        rest = server + 7;
    } else {
        return false;
    }
    size_t length = strcspn(rest, "/");
    std::string authority(rest, length);
    if (authority.empty() || authority.find('@') != std::string::npos)
        return false;
    std::string host = authority;
    size_t colon = authority.rfind(':');
    if (colon != std::string::npos && authority.find(']', colon) == std::string::npos) {
        std::string digits = authority.substr(colon + 1);
        if (digits.empty() || digits.size() > 5 ||
            digits.find_first_not_of("0123456789") != std::string::npos)
            return false;
        url.port = static_cast<unsigned>(atoi(digits.c_str()));
        if (url.port < 1 || url.port > 65535)
            return false;
        host = authority.substr(0, colon);
    }
    if (host.empty())
        return false;
    for (char &c : host)
        c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    url.host = host;
    // Submission ports: a provider's STARTTLS port, or its TLS port.
    if (url.port == 0)
        url.port = url.tls_from_start ? 465 : 587;
    return true;
}

std::string relay_text(const RelayUrl &url) {
    return std::string(url.tls_from_start ? "smtps://" : "smtp://") + url.host + ":" +
           std::to_string(url.port);
}

// Line ends become CR LF; a CR LF already there stays as it is.
std::string crlf_lines(const char *text) {
    std::string out;
    for (const char *p = text; *p != '\0'; p++) {
        if (*p == '\n' && (p == text || p[-1] != '\r'))
            out += '\r';
        out += *p;
    }
    return out;
}

std::string domain_of(const char *mailbox) {
    const char *at = strrchr(mailbox, '@');
    return at != nullptr && at[1] != '\0' ? std::string(at + 1) : std::string("varnok.invalid");
}

// The header lines every message carries, without their line ends.
std::vector<std::string> header_lines(const char *toEmail, const char *subject,
                                      const char *senderName, const char *senderEmail,
                                      const char *replyTo) {
    static unsigned serial = 0;
    time_t now = time(nullptr);
    struct tm utc;
    gmtime_r(&now, &utc);
    static const char *const days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static const char *const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    char line[1200];
    std::vector<std::string> header;
    snprintf(line, sizeof line, "Date: %s, %02d %s %04d %02d:%02d:%02d +0000", days[utc.tm_wday],
             utc.tm_mday, months[utc.tm_mon], utc.tm_year + 1900, utc.tm_hour, utc.tm_min,
             utc.tm_sec);
    header.push_back(line);
    snprintf(line, sizeof line, "From: \"%s\" <%s>", senderName, senderEmail);
    header.push_back(line);
    snprintf(line, sizeof line, "To: <%s>", toEmail);
    header.push_back(line);
    snprintf(line, sizeof line, "Reply-To: <%s>", replyTo);
    header.push_back(line);
    snprintf(line, sizeof line, "Subject: %s", subject);
    header.push_back(line);
    snprintf(line, sizeof line, "Message-ID: <%ld.%ld.%u.varnok@%s>", static_cast<long>(now),
             static_cast<long>(getpid()), ++serial, domain_of(senderEmail).c_str());
    header.push_back(line);
    return header;
}

const char *const kTextType = "text/plain; charset=UTF-8";

std::string plain_message(const std::vector<std::string> &header, const char *body) {
    std::string text;
    for (const std::string &line : header)
        text += line + "\r\n";
    text += std::string("MIME-Version: 1.0\r\n"
                        "Content-Type: ") +
            kTextType +
            "\r\n"
            "Content-Transfer-Encoding: 8bit\r\n"
            "\r\n";
    return text + crlf_lines(body);
}

struct Upload {
    const std::string *text;
    size_t at;
};

size_t read_upload(char *buffer, size_t size, size_t count, void *data) {
    Upload *up = static_cast<Upload *>(data);
    size_t left = up->text->size() - up->at;
    size_t n = left < size * count ? left : size * count;
    memcpy(buffer, up->text->data() + up->at, n);
    up->at += n;
    return n;
}

// Keeps the last reply line the server sent, for the failure message.
// Only the server's own lines are looked at: what the client sends (the
// credentials among it) is never kept.
int keep_reply(CURL *, curl_infotype type, char *data, size_t size, void *last) {
    if (type != CURLINFO_HEADER_IN)
        return 0;
    std::string text(data, size);
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
        text.pop_back();
    size_t cut = text.rfind('\n');
    if (cut != std::string::npos)
        text.erase(0, cut + 1);
    if (!text.empty())
        *static_cast<std::string *>(last) = text;
    return 0;
}

const char *environment(const char *name) {
    const char *value = getenv(name);
    return value != nullptr && *value != '\0' ? value : nullptr;
}

// A MIME message: the text as its first part, unchanged, and the file
// beside it in base64. libcurl writes the MIME version and boundaries.
curl_mime *mime_message(const CurlLibrary &lib, CURL *curl, const std::string &text,
                        const MailAttachment &attachment) {
    curl_mime *mime = lib.mime_init(curl);
    curl_mimepart *part = lib.mime_addpart(mime);
    lib.mime_data(part, text.data(), text.size());
    lib.mime_type(part, kTextType);
    lib.mime_encoder(part, "8bit");
    part = lib.mime_addpart(mime);
    lib.mime_data(part, attachment.data.data(), attachment.data.size());
    lib.mime_type(part, attachment.content_type.c_str());
    lib.mime_filename(part, attachment.file_name.c_str());
    lib.mime_encoder(part, "base64");
    return mime;
}

bool deliver(const RelayUrl &relay, const char *toEmail, const std::vector<std::string> &header,
             const char *body, const MailAttachment *attachment, const char *senderEmail) {
    std::string load_failure;
    const CurlLibrary *loaded = curl_library(load_failure);
    if (loaded == nullptr) {
        printf("? Mail relay %s: cannot load the mail library: %s\n", relay_text(relay).c_str(),
               load_failure.c_str());
        return false;
    }
    const CurlLibrary &lib = *loaded;
    CURL *curl = lib.easy_init();
    if (curl == nullptr) {
        printf("? Mail relay %s: cannot start the mail library\n", relay_text(relay).c_str());
        return false;
    }
    std::string url = relay_text(relay);
    std::string from = std::string("<") + senderEmail + ">";
    std::string to = std::string("<") + toEmail + ">";
    curl_slist *recipients = lib.slist_append(nullptr, to.c_str());
    std::string message;
    std::string text;
    curl_slist *header_list = nullptr;
    curl_mime *mime = nullptr;
    if (attachment == nullptr) {
        message = plain_message(header, body);
    } else {
        text = crlf_lines(body);
        for (const std::string &line : header)
            header_list = lib.slist_append(header_list, line.c_str());
        // Written as in a plain message; libcurl then adds none of its own.
        header_list = lib.slist_append(header_list, "MIME-Version: 1.0");
        mime = mime_message(lib, curl, text, *attachment);
    }
    Upload upload{&message, 0};
    std::string last_reply;
    char error[CURL_ERROR_SIZE] = "";

    lib.easy_setopt(curl, CURLOPT_URL, url.c_str());
    lib.easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "smtp,smtps");
    lib.easy_setopt(curl, CURLOPT_USE_SSL, static_cast<long>(CURLUSESSL_ALL));
    if (const char *cafile = environment("VARNOK_SMTP_CAFILE"))
        lib.easy_setopt(curl, CURLOPT_CAINFO, cafile);
    if (const char *user = environment("VARNOK_SMTP_USER")) {
        lib.easy_setopt(curl, CURLOPT_USERNAME, user);
        const char *password = getenv("VARNOK_SMTP_PASSWORD");
        lib.easy_setopt(curl, CURLOPT_PASSWORD, password != nullptr ? password : "");
    } else {
        lib.easy_setopt(curl, CURLOPT_NETRC, static_cast<long>(CURL_NETRC_OPTIONAL));
    }
    lib.easy_setopt(curl, CURLOPT_MAIL_FROM, from.c_str());
    lib.easy_setopt(curl, CURLOPT_MAIL_RCPT, recipients);
    if (mime != nullptr) {
        lib.easy_setopt(curl, CURLOPT_HTTPHEADER, header_list);
        lib.easy_setopt(curl, CURLOPT_MIMEPOST, mime);
    } else {
        lib.easy_setopt(curl, CURLOPT_UPLOAD, 1L);
        lib.easy_setopt(curl, CURLOPT_READFUNCTION, read_upload);
        lib.easy_setopt(curl, CURLOPT_READDATA, &upload);
        lib.easy_setopt(curl, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(message.size()));
    }
    // A dead relay must never hang a bill run: connecting (TLS included),
    // each reply, and any stall while sending are bounded.
    lib.easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, time_limit_seconds);
    lib.easy_setopt(curl, CURLOPT_SERVER_RESPONSE_TIMEOUT, time_limit_seconds);
    lib.easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, 1L);
    lib.easy_setopt(curl, CURLOPT_LOW_SPEED_TIME, time_limit_seconds);
    lib.easy_setopt(curl, CURLOPT_ERRORBUFFER, error);
    lib.easy_setopt(curl, CURLOPT_DEBUGFUNCTION, keep_reply);
    lib.easy_setopt(curl, CURLOPT_DEBUGDATA, &last_reply);
    lib.easy_setopt(curl, CURLOPT_VERBOSE, 1L);

    CURLcode code = lib.easy_perform(curl);
    lib.slist_free_all(recipients);
    lib.easy_cleanup(curl);
    lib.mime_free(mime);
    lib.slist_free_all(header_list);
    if (code == CURLE_OK)
        return true;
    stop_reason = reason_to_stop(code);
    std::string why = error[0] != '\0' ? error : lib.easy_strerror(code);
    // A 4xx or 5xx reply is the relay's own reason; otherwise the relay went
    // silent or away, and the library's reason says how.
    if (!last_reply.empty() && (last_reply[0] == '4' || last_reply[0] == '5'))
        printf("? Mail relay %s refused the message: %s (%s)\n", url.c_str(), last_reply.c_str(),
               why.c_str());
    else
        printf("? Mail relay %s failed: %s\n", url.c_str(), why.c_str());
    return false;
}

} // namespace

const char *sendmail_stop_reason() {
    return stop_reason;
}

void smtp_clear_stop_reason() {
    stop_reason = nullptr;
}

bool smtp_is_relay_url(const char *server) {
    return server != nullptr &&
           (starts_with_nocase(server, "smtp://") || starts_with_nocase(server, "smtps://"));
}

void smtp_set_time_limit(long seconds) {
    time_limit_seconds = seconds;
}

long smtp_time_limit() {
    return time_limit_seconds;
}

bool sendmail_relay(const char *toEmail, const char *subject, const char *body,
                    const char *senderName, const char *senderEmail, const char *replyTo,
                    const char *server, const MailAttachment *attachment) {
    RelayUrl relay;
    if (!parse_relay_url(server, relay)) {
        printf("? Mail server \"%s\" is not smtp://host[:port] or smtps://host[:port]\n", server);
        return false;
    }
    std::vector<std::string> header =
        header_lines(toEmail, subject, senderName, senderEmail, replyTo);
    return deliver(relay, toEmail, header, body, attachment, senderEmail);
}
