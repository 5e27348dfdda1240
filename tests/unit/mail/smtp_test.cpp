// The SMTP dialogue on loopback: every byte the client writes and every
// diagnostic it prints against a scripted peer, and what a real server
// (aiosmtpd) makes of it. Every wait is bounded: a client that blocks fails.
#include "mail/smtp.h"
#include "mail/smtp_internal.h"
#include "testutil.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

const char *const TO = "member@example.org";
const char *const FROM = "club@example.org";
const std::string MAIL = "MAIL FROM: <club@example.org>\r\n";
const std::string RCPT = "RCPT TO: <member@example.org<member@example.org>\r\n";

// English names, UTC, the 24-hour clock and an AM/PM marker all the same.
std::string date_line(time_t when) {
    struct tm utc;
    gmtime_r(&when, &utc);
    char text[100];
    strftime(text, sizeof text, "DATE: %a, %d %b %Y %H:%M:%S", &utc);
    return text + std::string(utc.tm_hour < 12 ? " AM\r\n" : " PM\r\n");
}

// The DATE line must show a moment of the call; it is then replaced by
// "DATE: *" so that the rest can be compared byte for byte.
std::string mask_date(std::string wire, time_t before, time_t after) {
    size_t at = wire.find("DATE: ");
    if (at == std::string::npos)
        return wire;
    size_t end = wire.find("\r\n", at) + 2;
    std::string line = wire.substr(at, end - at);
    bool shown = false;
    for (time_t t = before; t <= after; t++)
        shown = shown || line == date_line(t);
    EXPECT_TRUE(shown) << line;
    return wire.replace(at, end - at, "DATE: *\r\n");
}

// HELO names the server exactly as it was passed in, port and all.
std::string helo(const std::string &server) {
    return "HELO " + server + "\r\n";
}

std::string whole_dialogue(const std::string &server, const std::string &convertedBody) {
    return helo(server) + MAIL + RCPT +
           "DATA\r\nDATE: *\r\nFROM: \"VARNOK\"<club@example.org>\r\n"
           "To: member@example.org<member@example.org>\r\nCc: \r\n"
           "Subject: Your statement\r\nReply-To: club@example.org\r\n"
           "MIME-Version: 1.0\r\nContent-type: text/plain; charset=US-ASCII\r\n"
           "\r\n" +
           convertedBody + "\r\n.\r\nQUIT\r\n";
}

bool wait_readable(int fd, Clock::time_point deadline) {
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    pollfd p{fd, POLLIN, 0};
    return left.count() > 0 && poll(&p, 1, static_cast<int>(left.count())) > 0;
}

struct Outcome {
    bool result;
    std::string out, wire, server;
};

// Runs sendmail against a peer that records every byte until the client
// closes or five seconds have passed. Once the client's next command has
// arrived (HELO, MAIL, RCPT, DATA, the end of the data, QUIT), the peer
// sends the next of the six replies in one piece.
Outcome run_sendmail(const std::array<std::string, 6> &replies, const char *body,
                     const std::string &bodyEnd = "\r\n.\r\n") {
    int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof sa;
    EXPECT_TRUE(bind(listener, reinterpret_cast<sockaddr *>(&sa), len) == 0 &&
                listen(listener, 1) == 0 &&
                getsockname(listener, reinterpret_cast<sockaddr *>(&sa), &len) == 0);
    Outcome o;
    o.server = "127.0.0.1:" + std::to_string(ntohs(sa.sin_port));
    const std::string after[6] = {helo(o.server), MAIL, RCPT, "DATA\r\n", bodyEnd, "QUIT\r\n"};
    bool timedOut = false;
    std::thread peer([&] {
        auto deadline = Clock::now() + std::chrono::seconds(5);
        int conn = wait_readable(listener, deadline) ? accept(listener, nullptr, nullptr) : -1;
        size_t next = 0, matched = 0, at;
        ssize_t n = 1;
        while (conn >= 0 && n > 0) {
            for (; next < 6 && (at = o.wire.find(after[next], matched)) != std::string::npos;
                 next++) {
                matched = at + after[next].size();
                send(conn, replies[next].data(), replies[next].size(), MSG_NOSIGNAL);
            }
            char buf[8192];
            timedOut = !wait_readable(conn, deadline);
            n = timedOut ? 0 : recv(conn, buf, sizeof buf, 0);
            if (n > 0)
                o.wire.append(buf, static_cast<size_t>(n));
        }
        if (conn >= 0)
            close(conn);
    });
    time_t before = time(nullptr);
    o.out = output_of([&] {
        o.result = sendmail(TO, TO, "Your statement", body, "VARNOK", FROM, FROM, o.server.c_str());
    });
    time_t done = time(nullptr);
    peer.join();
    close(listener);
    EXPECT_FALSE(timedOut) << "the client blocked";
    o.wire = mask_date(o.wire, before, done);
    return o;
}

} // namespace

TEST(SmtpDialogue, SendmailWritesTheWholeConversationWithRepliesOneStepLate) {
    // The peer greets only after HELO. A bare LF gets a CR, but "m" LF (not
    // "M" LF) keeps its bare LF, CR LF becomes CR CR LF, and the lone "."
    // line is not stuffed.
    setenv("TZ", "America/Denver", 1); // the machine's zone plays no part
    tzset();
    Outcome o =
        run_sendmail({"220 relay ready\r\n", "250 relay hello\r\n", "250 sender ok\r\n",
                      "250 recipient ok\r\n", "354 go ahead\r\n", "250 queued\r\n221 bye\r\n"},
                     "Dear member,\nsent from\nthe club\r\n.\nfrom M\n", "from M\r\n\r\n.\r\n");
    unsetenv("TZ");
    tzset();
    EXPECT_TRUE(o.result);
    EXPECT_EQ(o.out, "");
    EXPECT_EQ(o.wire,
              whole_dialogue(o.server, "Dear member,\r\nsent from\nthe club\r\r\n.\r\nfrom M\r\n"));
}

TEST(SmtpMessage, DateLineKeepsTheMarkerOnTheTwentyFourHourClock) {
    const struct {
        time_t when;
        const char *date, *time;
    } cases[] = {{1118145600 - 1, "Tue, 07 Jun 2005", "11:59:59 AM"},
                 {1118145600, "Tue, 07 Jun 2005", "12:00:00 PM"},
                 {1135987199, "Fri, 30 Dec 2005", "23:59:59 PM"},
                 {951782400 + 3723, "Tue, 29 Feb 2000", "01:02:03 AM"}};
    for (const auto &c : cases) {
        char date[100], timeText[100];
        smtp_format_date(c.when, date, sizeof date, timeText, sizeof timeText);
        EXPECT_EQ(std::string(date) + " " + timeText, std::string(c.date) + " " + c.time);
    }
}

TEST(SmtpDialogue, EachCheckReportsButTheDialogueRunsToTheEnd) {
    Outcome o = run_sendmail(
        {"554 busy\r\n", "451 later\r\n", "250 a\r\n", "354 b\r\n", "250 c\r\n", "221 bye\r\n"},
        "one\ntwo\n");
    EXPECT_FALSE(o.result);
    EXPECT_EQ(o.out, "SMTP warning, at connect got: 554 busy\r\n\r\n\r\n"
                     "SMTP problem, at send got: 451 later\r\n250 a\r\n354 b\r\n250 c\r\n\r\n\r\n"
                     "SMTP problem at disconnect, got: 221 bye\r\n\r\n\r\n");
    EXPECT_EQ(o.wire, whole_dialogue(o.server, "one\r\ntwo\r\n"));
}

TEST(SmtpDialogue, SplitAndMergedRepliesAreJudgedOnTheAccumulatedText) {
    // "250" arrives in two reads; merged replies leave nothing to wait for.
    Outcome ok = run_sendmail({"220 hi\r\n250 hello\r\n", "2", "50 sender ok\r\n",
                               "250 rcpt ok\r\n354 go\r\n", "250 queued\r\n", "250 ok\r\n"},
                              "x\n");
    EXPECT_TRUE(ok.result);
    EXPECT_EQ(ok.out, "");
    EXPECT_EQ(ok.wire, whole_dialogue(ok.server, "x\r\n"));

    Outcome refused = run_sendmail(
        {"220 hi\r\n", "5", "50 no\r\n", "250 late\r\n", "354 go\r\n", "250 bye\r\n"}, "x\n");
    EXPECT_FALSE(refused.result);
    EXPECT_EQ(refused.out, "SMTP problem, at send got: 550 no\r\n250 late\r\n354 go\r\n\r\n\r\n");
}

TEST(SmtpDialogue, FailuresBeforeTheDialogueOnlyReport) {
    // A port nobody listens on: the connect fails and nothing else happens.
    int probe = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof sa;
    ASSERT_EQ(bind(probe, reinterpret_cast<sockaddr *>(&sa), len), 0);
    getsockname(probe, reinterpret_cast<sockaddr *>(&sa), &len);
    close(probe);
    std::string closed = "127.0.0.1:" + std::to_string(ntohs(sa.sin_port));
    bool result = true;
    EXPECT_EQ(output_of([&] {
                  result = sendmail(TO, TO, "s", "b\n", "VARNOK", FROM, FROM, closed.c_str());
              }),
              "Invalid socket\r\n");
    EXPECT_FALSE(result);

    Smtp mail;
    EXPECT_EQ(output_of([&] { result = mail.Send() || mail.Disconnect(); }),
              "Please specifiy a sender email address\r\nNot connected to server!\r\n");
    EXPECT_FALSE(result);
    mail.SetSenderEmail(FROM);
    EXPECT_FALSE(mail.AddRecipient("", "nobody"));
    EXPECT_EQ(output_of([&] { result = mail.Send(); }),
              "Please add a message recipient!\r\nFailed to format message header\r\n");
    EXPECT_FALSE(result);
}

TEST(SmtpRealServer, AiosmtpdRefusesTheRecipientLineAndWithItTheMessage) {
    char dir[] = "/tmp/varnok-mail-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    std::string d = dir;
    FILE *server = popen(
        ("/usr/bin/python3 " VARNOK_SOURCE_DIR "/tests/unit/mail/aiosmtpd_server.py " + d + " 20")
            .c_str(),
        "r");
    unsigned port = 0;
    ASSERT_TRUE(server != nullptr && fscanf(server, "PORT %u", &port) == 1)
        << "aiosmtpd did not start (scripts/setup-deps installs it)";
    std::string address = "127.0.0.1:" + std::to_string(port);
    bool result = true;
    std::string out = output_of([&] {
        result = sendmail(TO, TO, "Your statement", "Line one\nLine two\n", "VARNOK", FROM, FROM,
                          address.c_str());
    });
    pclose(server); // the server ends with the connection

    // HELO (sent before the greeting was read) and MAIL FROM pass; the RCPT
    // line without its closing bracket is a syntax error, so DATA is refused
    // and the header lines are unknown commands, until the server hangs up.
    // Nothing is delivered, and QUIT (whatever it meets) never succeeds.
    EXPECT_FALSE(result);
    EXPECT_FALSE(has(out, "at send")) << out;
    EXPECT_EQ(read_file(d + "/replies").substr(0, 24), "220\n250\n250\n501\n503\n500\n");
    EXPECT_FALSE(std::filesystem::exists(d + "/content"));
    std::filesystem::remove_all(d);
}
