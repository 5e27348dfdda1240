// Delivery through a present-day relay: aiosmtpd on loopback with STARTTLS
// or TLS from the start, a throwaway self-signed certificate and required
// AUTH LOGIN or PLAIN. Also the failures a treasurer meets: a wrong
// password, an untrusted certificate, a relay that never answers.
#include "loopback_relay.h"
#include "mail/email_capture.h"
#include "mail/smtp.h"
#include "mail/smtp_internal.h"
#include "scripted_peer.h"
#include "testutil.h"

#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>

#include <chrono>
#include <memory>

namespace {

const char *const TO = "member@example.org";
const char *const FROM = "club@example.org";
const char *const BODY = "Dear member,\n.\n..two dots\nlast line\r\n";
const char *const SENT_BODY = "Dear member,\r\n.\r\n..two dots\r\nlast line\r\n";

class Relay : public TempDirTest {
  protected:
    void SetUp() override {
        TempDirTest::SetUp();
        relay_ = std::make_unique<LoopbackRelay>();
    }

    void TearDown() override {
        relay_.reset();
        TempDirTest::TearDown();
    }

    unsigned start(const char *mode, const char *mechanism, const char *extra = "") {
        return relay_->start(mode, mechanism, extra);
    }
    void stop() { relay_->stop(); }

    bool send(const std::string &server, std::string &out) {
        bool result = false;
        out = output_of([&] {
            result = sendmail(TO, TO, "Your statement", BODY, "VARNOK", FROM, FROM, server.c_str());
        });
        return result;
    }

    std::unique_ptr<LoopbackRelay> relay_;
};

std::string header_field(const std::string &message, const std::string &name) {
    size_t at = message.find("\r\n" + name + ": ");
    if (at == std::string::npos)
        return "<missing>";
    at += name.size() + 4;
    return message.substr(at, message.find("\r\n", at) - at);
}

} // namespace

TEST_F(Relay, DeliversIntactWithStarttlsOrTlsAndEitherLogin) {
    const struct {
        const char *mode, *mechanism, *scheme;
    } cases[] = {{"starttls", "PLAIN", "SMTP://"}, {"tls", "LOGIN", "smtps://"}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.mode);
        std::filesystem::remove("1.content");
        std::filesystem::remove("1.envelope");
        unsigned port = start(c.mode, c.mechanism);
        std::string out;
        // The prices file keeps the setting upper-cased.
        EXPECT_TRUE(send(c.scheme + std::string("127.0.0.1:") + std::to_string(port), out));
        stop();
        EXPECT_EQ(out, "");
        EXPECT_EQ(read_file("1.envelope"), "club@example.org\nmember@example.org\n");
        std::string message = "\r\n" + read_file("1.content");
        size_t body = message.find("\r\n\r\n");
        ASSERT_NE(body, std::string::npos);
        // The lone "." and the ".." line arrive as written: the dots were
        // stuffed on the wire and taken out again by the server.
        EXPECT_EQ(message.substr(body + 4), SENT_BODY);
        // The other header fields are checked by the SEND-BY-EMAIL transcript.
        EXPECT_TRUE(has(header_field(message, "Message-ID"), "@example.org>"));
    }
}

// The text part is the plain message's body, dots and line ends as they
// were; the file arrives byte for byte, NUL and high bytes included, with
// the same header fields as a plain message.
TEST_F(Relay, AnAttachmentGoesAsOneFileBesideTheUnchangedText) {
    unsigned port = start("starttls", "LOGIN");
    MailAttachment file{"statement-ABLE-5-31-2005.pdf", "application/pdf",
                        std::string("%PDF-1.4\n\0\xff\r\n.\r\nend", 19)};
    bool sent = false;
    std::string server = "smtp://127.0.0.1:" + std::to_string(port);
    std::string out = output_of([&] {
        sent =
            sendmail(TO, TO, "Your statement", BODY, "VARNOK", FROM, FROM, server.c_str(), &file);
    });
    stop();
    EXPECT_TRUE(sent) << out;
    EXPECT_EQ(read_file("1.parts"), "text/plain \napplication/pdf statement-ABLE-5-31-2005.pdf\n");
    EXPECT_EQ(read_file("1.pdf"), file.data);
    EXPECT_EQ(read_file("1.body"), "Dear member,\n.\n..two dots\nlast line\n");
    EXPECT_EQ(header_field("\r\n" + read_file("1.content"), "Subject"), "Your statement");
}

TEST_F(Relay, CredentialsComeFromNetrcWhenTheEnvironmentHasNone) {
    unsigned port = start("starttls", "PLAIN");
    unsetenv("VARNOK_SMTP_USER");
    unsetenv("VARNOK_SMTP_PASSWORD");
    std::string home = getenv("HOME") != nullptr ? getenv("HOME") : "";
    setenv("HOME", dir_.c_str(), 1);
    write_file(".netrc", "machine 127.0.0.1 login treasurer password s3cret-pw\n");
    chmod(".netrc", 0600);
    std::string out;
    bool sent = send("smtp://127.0.0.1:" + std::to_string(port), out);
    setenv("HOME", home.c_str(), 1);
    stop();
    EXPECT_TRUE(sent) << out;
    EXPECT_TRUE(std::filesystem::exists("1.content"));
}

TEST_F(Relay, AnUntrustedCertificateOrABadSettingIsRefusedBeforeAnyLogin) {
    unsigned port = start("starttls", "LOGIN");
    std::string server = "smtp://127.0.0.1:" + std::to_string(port);
    std::string out;

    // (A wrong password is the refused-relay transcript's.) Without the
    // club's own CA the self-signed certificate is refused before any
    // password is sent.
    unsetenv("VARNOK_SMTP_CAFILE");
    EXPECT_FALSE(send(server, out));
    EXPECT_EQ(out.rfind("? Mail relay " + server, 0), 0u) << out;
    EXPECT_TRUE(has(out, "certificate")) << out;
    EXPECT_FALSE(std::filesystem::exists("refused"));
    stop();
    EXPECT_FALSE(std::filesystem::exists("1.content"));

    // A setting that names a user or no host is refused at once.
    EXPECT_FALSE(send("smtp://treasurer@127.0.0.1", out));
    EXPECT_EQ(out, "? Mail server \"smtp://treasurer@127.0.0.1\" is not smtp://host[:port] or "
                   "smtps://host[:port]\n");
    EXPECT_FALSE(send("SMTPS://:465", out));
    EXPECT_TRUE(has(out, "is not smtp://host[:port]")) << out;
}

// The legacy client at a real server without TLS or log-in: HELO (sent
// before the greeting was read) and MAIL FROM pass; the RCPT line without
// its closing bracket is a syntax error, so DATA is refused and the header
// lines are unknown commands. Nothing is delivered.
TEST_F(Relay, TheLegacyRecipientLineIsRefusedAndWithItTheMessage) {
    std::string server = "127.0.0.1:" + std::to_string(start("plain", "LOGIN"));
    std::string out;
    EXPECT_FALSE(send(server, out));
    stop();
    EXPECT_FALSE(has(out, "at send")) << out;
    EXPECT_EQ(read_file("replies").substr(0, 24), "220\n250\n250\n501\n503\n500\n");
    EXPECT_FALSE(std::filesystem::exists("1.content"));
}

TEST_F(Relay, ARelayThatNeverAnswersFailsWithinTheLimit) {
    // The kernel completes the connection; nobody ever says a word. The
    // legacy client's first reply waited for takes the whole limit, the
    // others none.
    unsigned short port = 0;
    int listener = peer::loopback_socket(true, port);
    smtp_set_time_limit(1);
    for (const char *scheme : {"", "smtp://", "smtps://"}) {
        std::string server = scheme + std::string("127.0.0.1:") + std::to_string(port);
        auto begun = std::chrono::steady_clock::now();
        std::string out;
        EXPECT_FALSE(send(server, out));
        auto took = std::chrono::steady_clock::now() - begun;
        EXPECT_LT(took, std::chrono::seconds(*scheme ? 10 : 3)) << scheme;
        if (*scheme) {
            EXPECT_EQ(out.rfind("? Mail relay " + server + " failed: ", 0), 0u) << out;
        } else {
            EXPECT_GE(took, std::chrono::milliseconds(900));
            EXPECT_TRUE(has(out, "at connect")) << out;
        }
    }
    close(listener);
}

// A relay that refuses the log-in and then goes silent: the refusal is said
// once and no other message is tried (each would wait out the limit), each
// keeping its own text for the statements file. An untrusted certificate
// stops a mailing the same way; the next mailing tries again.
TEST_F(Relay, ARefusedLoginOrFailedTlsStopsTheMailingAtOnce) {
    std::string server = "smtps://127.0.0.1:" + std::to_string(start("tls", "LOGIN", "stall"));
    smtp_set_time_limit(2);
    auto mailing = [&](int members, std::vector<bool> &sent, std::vector<std::string> &kept) {
        return output_of([&] {
            ASSERT_TRUE(o_emailOpen("VNKEMAIL.TMP", "s", "", FROM, server.c_str()));
            o_emailNewRun();
            for (int i = 0; i < members; i++) {
                std::string to = "m" + std::to_string(i) + "@example.org";
                o_emailStart(to.c_str());
                o_lstring(("Statement of " + to).c_str(), 0, false);
                o_newline(0);
                sent.push_back(o_emailEnd());
                kept.push_back(o_emailGetLastContent() ? o_emailGetLastContent() : "<none>");
            }
            o_emailClose();
        });
    };
    setenv("VARNOK_SMTP_PASSWORD", "wrong-pw", 1);
    std::vector<bool> sent;
    std::vector<std::string> kept;
    auto begun = std::chrono::steady_clock::now();
    std::string out = mailing(3, sent, kept);
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(4)) << out;
    EXPECT_EQ(sent, std::vector<bool>(3, false)) << out;
    EXPECT_EQ(kept[2], "\n\n\nStatement of m2@example.org\n");
    EXPECT_TRUE(o_emailHalted());
    EXPECT_EQ(read_file("refused"), "LOGIN\n");
    const std::string why = "? No more email is sent in this run: the relay refused the log-in\n";
    EXPECT_EQ(out.find(why), out.rfind(why)) << out;
    EXPECT_NE(out.find(why), std::string::npos) << out;

    stop();
    server = "smtps://127.0.0.1:" + std::to_string(start("tls", "LOGIN"));
    unsetenv("VARNOK_SMTP_CAFILE");
    setenv("VARNOK_SMTP_PASSWORD", "s3cret-pw", 1);
    out = mailing(2, sent, kept);
    EXPECT_TRUE(has(out, "? No more email is sent in this run: TLS with the relay failed")) << out;
    EXPECT_EQ(read_file("refused"), "LOGIN\n");
    EXPECT_FALSE(std::filesystem::exists("1.envelope"));
    setenv("VARNOK_SMTP_CAFILE", (dir_ / "cert.pem").c_str(), 1);
    sent.clear();
    out = mailing(1, sent, kept);
    EXPECT_EQ(sent, std::vector<bool>{true});
    EXPECT_EQ(read_file("1.envelope"), "club@example.org\nm0@example.org\n");
}
