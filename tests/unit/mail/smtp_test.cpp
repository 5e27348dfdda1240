// The SMTP dialogue against a scripted peer on loopback: every byte the
// client writes and every diagnostic it prints.
#include "mail/smtp.h"
#include "mail/smtp_internal.h"
#include "peer.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <netdb.h>
#include <sys/resource.h>

using mailtest::ScriptedPeer;
using mailtest::StdoutCapture;
using mailtest::Step;

namespace {

const char *const TO = "member@example.org";
const char *const FROM = "club@example.org";
const std::string HELO = "HELO 127.0.0.1\r\n";
const std::string MAIL = "MAIL FROM: <club@example.org>\r\n";
const std::string RCPT = "RCPT TO: <member@example.org<member@example.org>\r\n";
const std::string HEADER_REST = "FROM: \"VARNOK\"<club@example.org>\r\n"
                                "To: member@example.org<member@example.org>\r\n"
                                "Cc: \r\n"
                                "Subject: Your statement\r\n"
                                "Reply-To: club@example.org\r\n"
                                "MIME-Version: 1.0\r\n"
                                "Content-type: text/plain; charset=US-ASCII\r\n"
                                "\r\n";

std::string date_line(time_t when) {
    char date[100], timeText[100];
    smtp_format_date(when, date, sizeof date, timeText, sizeof timeText);
    return std::string("DATE: ") + date + " " + timeText + "\r\n";
}

// The DATE line must show a moment of the call in UTC; it is then replaced
// by "DATE: *" so that the rest can be compared byte for byte.
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

std::string whole_dialogue(const std::string &convertedBody) {
    return HELO + MAIL + RCPT + "DATA\r\n" + "DATE: *\r\n" + HEADER_REST + convertedBody +
           "\r\n.\r\nQUIT\r\n";
}

// Replies keyed to the client's commands; bodyEnd marks the end of the data.
std::vector<Step> script(const char *greeting, const char *afterMail, const char *afterRcpt,
                         const char *afterData, const char *afterEnd, const char *afterQuit,
                         const std::string &bodyEnd = "\r\n.\r\n") {
    return {{HELO, greeting},        {MAIL, afterMail},   {RCPT, afterRcpt},
            {"DATA\r\n", afterData}, {bodyEnd, afterEnd}, {"QUIT\r\n", afterQuit}};
}

struct Outcome {
    bool result;
    std::string out;
    std::string wire;
};

Outcome run_sendmail(std::vector<Step> steps, const char *body, bool reset = false) {
    ScriptedPeer peer(std::move(steps), reset);
    std::string server = peer.server();
    Outcome o;
    time_t before = time(nullptr);
    {
        StdoutCapture capture;
        o.result = sendmail(TO, TO, "Your statement", body, "VARNOK", FROM, FROM, server.c_str());
        o.out = capture.text();
    }
    time_t after = time(nullptr);
    EXPECT_FALSE(peer.timedOut()) << "the client blocked";
    o.wire = mask_date(peer.received(), before, after);
    return o;
}

} // namespace

TEST(SmtpDialogue, SendmailWritesTheWholeConversationWithRepliesOneStepLate) {
    // A bare LF gets a CR, "m" LF keeps its bare LF, CR LF becomes CR CR LF,
    // and the lone "." line is not stuffed.
    Outcome o = run_sendmail(script("220 relay ready\r\n", "250 relay hello\r\n",
                                    "250 sender ok\r\n", "250 recipient ok\r\n", "354 go ahead\r\n",
                                    "250 queued\r\n221 bye\r\n", "after\r\n\r\n.\r\n"),
                             "Dear member,\nsent from\nthe club\r\n.\nafter\n");
    EXPECT_TRUE(o.result);
    EXPECT_EQ(o.out, "");
    EXPECT_EQ(o.wire, whole_dialogue("Dear member,\r\nsent from\nthe club\r\r\n.\r\nafter\r\n"));
}

TEST(SmtpDialogue, EachCheckReportsButTheDialogueRunsToTheEnd) {
    Outcome o = run_sendmail(script("554 busy\r\n", "451 later\r\n", "250 a\r\n", "354 b\r\n",
                                    "250 c\r\n", "221 bye\r\n"),
                             "one\ntwo\n");
    EXPECT_FALSE(o.result);
    EXPECT_EQ(o.out, "SMTP warning, at connect got: 554 busy\r\n\r\n\r\n"
                     "SMTP problem, at send got: 451 later\r\n250 a\r\n354 b\r\n250 c\r\n\r\n\r\n"
                     "SMTP problem at disconnect, got: 221 bye\r\n\r\n\r\n");
    EXPECT_EQ(o.wire, whole_dialogue("one\r\ntwo\r\n"));
}

TEST(SmtpDialogue, SplitAndMergedRepliesAreJudgedOnTheAccumulatedText) {
    // "250" arrives in two reads; merged replies leave nothing to wait for.
    Outcome ok = run_sendmail(script("220 hi\r\n250 hello\r\n", "2", "50 sender ok\r\n",
                                     "250 rcpt ok\r\n354 go\r\n", "250 queued\r\n", "250 ok\r\n"),
                              "x\n");
    EXPECT_TRUE(ok.result);
    EXPECT_EQ(ok.out, "");
    EXPECT_EQ(ok.wire, whole_dialogue("x\r\n"));

    Outcome refused = run_sendmail(
        script("220 hi\r\n", "5", "50 no\r\n", "250 late\r\n", "354 go\r\n", "250 bye\r\n"), "x\n");
    EXPECT_FALSE(refused.result);
    EXPECT_EQ(refused.out, "SMTP problem, at send got: 550 no\r\n250 late\r\n354 go\r\n\r\n\r\n");
}

TEST(SmtpDialogue, AFullReplyBufferStopsFillingAndLeavesTheRestUnread) {
    // 4000 + 200 bytes exceed the 4096-byte buffer: DATA and the end of data
    // read nothing, and QUIT's read finds the 104 bytes left over.
    std::string big = "250" + std::string(3997, 'x');
    Outcome o = run_sendmail(
        script("220 hi\r\n", big.c_str(), std::string(200, 'y').c_str(), "", "", ""), "x\n");
    EXPECT_FALSE(o.result);
    EXPECT_EQ(o.out, "SMTP problem at disconnect, got: " + std::string(104, 'y') + "\r\n\r\n");
    EXPECT_EQ(o.wire, whole_dialogue("x\r\n"));
}

TEST(SmtpDialogue, AConnectionResetIsReportedWithoutKillingTheProgram) {
    // The peer resets the connection once HELO is in; the later writes fail
    // with EPIPE, and the destructor tries QUIT once more.
    Outcome o = run_sendmail({{HELO, ""}}, "x\n", true);
    EXPECT_FALSE(o.result);
    char expected[300];
    snprintf(expected, sizeof expected,
             "SMTP warning, at connect got: \r\n\r\n"
             "Socket send error: %d\r\n"
             "SMTP socket send error: %d\r\n"
             "SMTP socket send error: %d\r\n",
             EPIPE, EPIPE, EPIPE);
    EXPECT_EQ(o.out, expected);
    EXPECT_EQ(o.wire, HELO);
}

TEST(SmtpDialogue, RecipientListsAndOptionalHeaderLines) {
    ScriptedPeer peer({{HELO, "220 hi\r\n"},
                       {"MAIL", "250 hello\r\n"},
                       {"RCPT", "250 a\r\n"},
                       {"RCPT", "250 b\r\n"},
                       {"RCPT", "250 c\r\n"},
                       {"RCPT", "250 d\r\n"},
                       {"DATA\r\n", "250 e\r\n"},
                       {"\r\n.\r\n", "354 f\r\n"},
                       {"QUIT\r\n", "250 queued\r\n"}});
    std::string server = peer.server();
    std::string out;
    time_t before = time(nullptr);
    {
        StdoutCapture capture;
        Smtp m;
        EXPECT_TRUE(m.AddRecipient("a@x.org", "Ann"));
        EXPECT_TRUE(m.AddRecipient("b@x.org", "b@x.org"));
        EXPECT_FALSE(m.AddRecipient("", "nobody"));
        EXPECT_TRUE(m.AddCCRecipient("c@x.org", "Cy"));
        EXPECT_TRUE(m.AddBCCRecipient("d@x.org", "Di"));
        EXPECT_EQ(m.GetRecipientCount(), 2u);
        m.SetXMailer("VARNOK");
        m.SetSenderEmail("club@x.org");
        m.SetMessageBody("hi\n");
        EXPECT_TRUE(m.ConnectServer(server.c_str(), 0));
        ASSERT_NE(m.GetLocalHostIp(), nullptr);
        EXPECT_STREQ(m.GetLocalHostIp(), "127.0.0.1");
        EXPECT_TRUE(m.Send());
        EXPECT_TRUE(m.Disconnect());
        EXPECT_EQ(m.GetSocket(), 0);
        out = capture.text();
    }
    EXPECT_EQ(out, "");
    EXPECT_EQ(mask_date(peer.received(), before, time(nullptr)),
              HELO + "MAIL FROM: <club@x.org>\r\n"
                     "RCPT TO: <Ann<a@x.org>\r\nRCPT TO: <b@x.org<b@x.org>\r\n"
                     "RCPT TO: <Cy<c@x.org>\r\nRCPT TO: <Di<d@x.org>\r\n"
                     "DATA\r\n"
                     "DATE: *\r\n"
                     "To: Ann<a@x.org>,b@x.org<b@x.org>\r\n"
                     "Cc: Cy<c@x.org>\r\n"
                     "X-Mailer: VARNOK\r\n"
                     "MIME-Version: 1.0\r\n"
                     "Content-type: text/plain; charset=US-ASCII\r\n"
                     "\r\n"
                     "hi\r\n\r\n.\r\nQUIT\r\n");
}

TEST(SmtpDialogue, SendRefusesWithoutSenderOrRecipientAndWritesNothing) {
    ScriptedPeer peer({{"HELO localhost\r\n", "220 hi\r\n"}, {"QUIT\r\n", "250 bye\r\n"}});
    std::string out;
    {
        StdoutCapture capture;
        Smtp m;
        // A name without a colon, with the port given by the caller.
        EXPECT_TRUE(m.ConnectServer("localhost", htons(peer.port())));
        EXPECT_TRUE(m.GetConnectStatus());
        EXPECT_FALSE(m.Send());
        m.SetSenderEmail("club@x.org");
        EXPECT_FALSE(m.Send());
        EXPECT_TRUE(m.Disconnect());
        EXPECT_FALSE(m.Disconnect());
        out = capture.text();
    }
    EXPECT_EQ(out, "Please specifiy a sender email address\r\n"
                   "Please add a message recipient!\r\n"
                   "Failed to format message header\r\n"
                   "Not connected to server!\r\n");
    EXPECT_EQ(peer.received(), "HELO localhost\r\nQUIT\r\n");
}

TEST(SmtpDialogue, NoServerListeningGivesInvalidSocketOnly) {
    unsigned short port;
    close(mailtest::listen_loopback(port)); // nothing listens there now
    std::string server = "127.0.0.1:" + std::to_string(port);
    std::string out;
    bool result;
    {
        StdoutCapture capture;
        result = sendmail(TO, TO, "s", "b", "VARNOK", FROM, FROM, server.c_str());
        out = capture.text();
    }
    EXPECT_FALSE(result);
    EXPECT_EQ(out, "Invalid socket\r\n");
}

TEST(SmtpMessage, BodyLineEndsFollowTheLowerCaseMRule) {
    Smtp m;
    const struct {
        const char *in, *out;
    } cases[] = {
        {"a\nb", "a\r\nb"}, {"from\nto", "from\nto"}, {"x\r\ny", "x\r\r\ny"},
        {"\n", "\r\n"},     {"M\n", "M\r\n"},         {"mm\n\n", "mm\n\r\n"},
        {"", ""},           {"no end", "no end"},     {"\n\n\n", "\r\n\r\n\r\n"},
    };
    for (const auto &c : cases) {
        m.SetMessageBody(c.in);
        EXPECT_STREQ(m.GetMessageBody(), c.out) << c.in;
    }
    // A stored text is reused for a shorter one and replaced by a longer one.
    m.SetSubject("a long subject");
    m.SetSubject("short");
    EXPECT_STREQ(m.GetSubject(), "short");
    m.SetSubject("a much longer subject than before");
    EXPECT_STREQ(m.GetSubject(), "a much longer subject than before");
    EXPECT_EQ(m.GetXMailer(), nullptr);
    EXPECT_EQ(m.GetLocalHostIp(), nullptr);
    ASSERT_NE(m.GetLocalHostname(), nullptr);
    EXPECT_GT(strlen(m.GetLocalHostname()), 0u);
}

TEST(SmtpMessage, DateLineIsEnglishUtcWithMarker) {
    setenv("TZ", "America/Denver", 1); // the machine's zone plays no part
    tzset();
    const struct {
        time_t when;
        const char *date, *time;
    } cases[] = {
        {0, "Thu, 01 Jan 1970", "00:00:00 AM"},
        {1118145600, "Tue, 07 Jun 2005", "12:00:00 PM"},
        {1118145600 - 1, "Tue, 07 Jun 2005", "11:59:59 AM"},
        {1135987199, "Fri, 30 Dec 2005", "23:59:59 PM"},
        {951782400 + 3723, "Tue, 29 Feb 2000", "01:02:03 AM"},
    };
    for (const auto &c : cases) {
        char date[100], timeText[100];
        smtp_format_date(c.when, date, sizeof date, timeText, sizeof timeText);
        EXPECT_STREQ(date, c.date);
        EXPECT_STREQ(timeText, c.time);
    }
    unsetenv("TZ");
    tzset();
}

TEST(SmtpMessage, ServerNamesAndPorts) {
    std::string host = "unchanged";
    unsigned short port = 7;
    EXPECT_TRUE(smtp_split_server("mail.example.org:587", host, port));
    EXPECT_EQ(host, "mail.example.org");
    EXPECT_EQ(port, 587);
    EXPECT_TRUE(smtp_split_server("h:65535", host, port));
    EXPECT_EQ(port, 65535);
    for (const char *plain : {"mail.example.org", "h:", ":25", "h:0", "h:65536", "h:2x", "h:-1",
                              "a:b:25", "h:000025"}) {
        host = "unchanged";
        EXPECT_FALSE(smtp_split_server(plain, host, port)) << plain;
        EXPECT_EQ(host, "unchanged");
    }
    EXPECT_EQ(ntohs(smtp_service_port()), 25);
}

// Runs in the child of a death test only.
static void connect_without_sockets(Smtp &m) {
    fflush(stdout);
    dup2(2, 1);                 // the message goes to standard output
    gethostbyname("127.0.0.1"); // the resolver reads its configuration now
    rlimit none{0, 0};
    setrlimit(RLIMIT_NOFILE, &none);
    m.ConnectServer("127.0.0.1", htons(25));
}

TEST(SmtpDeathTest, ImpossibleArgumentsAndNoSocketsEndTheProgram) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Smtp m;
    EXPECT_DEATH(m.AddRecipient(nullptr, "x"), "Assertion failed: email");
    EXPECT_DEATH(m.SetMessageBody(nullptr), "Assertion failed: body");
    EXPECT_DEATH(m.SetReplyTo(nullptr), "Assertion failed: replyto");
    EXPECT_DEATH(m.ConnectServer(nullptr, 0), "Assertion failed: server");
    EXPECT_DEATH(connect_without_sockets(m), "^Invalid socket\r\n$");
}
