// Delivery through a present-day relay: aiosmtpd on loopback with STARTTLS
// or TLS from the start, a throwaway self-signed certificate and required
// AUTH LOGIN or PLAIN. Also the failures a treasurer meets: a wrong
// password, an untrusted certificate, a relay that never answers.
#include "loopback_relay.h"
#include "mail/email_capture.h"
#include "scripted_peer.h"

#include <memory>
#include <optional>
#include <regex>

namespace {

const char *const BODY = "Dear member,\n.\n..two dots\nlast line\r\n";

class Relay : public TempDirTest {
  protected:
    void SetUp() override {
        TempDirTest::SetUp();
        relay.emplace();
    }
    void TearDown() override {
        relay.reset();
        TempDirTest::TearDown();
    }
    // `scheme` and the relay started in `mode`, with only `mechanism` offered.
    std::string start(const char *scheme, const char *mode, const char *mechanism,
                      const char *extra = "") {
        return scheme + std::string("127.0.0.1:") +
               std::to_string(relay->start(mode, mechanism, extra));
    }
    bool send(const std::string &server, std::string &out) {
        bool result = false;
        out = output_of([&] {
            result = sendmail(peer::TO, peer::TO, "Your statement", BODY, "VARNOK", peer::FROM,
                              peer::FROM, server.c_str());
        });
        return result;
    }

    std::optional<LoopbackRelay> relay;
};

} // namespace

// The lone "." and the ".." line arrive as written: the dots were stuffed on
// the wire and taken out again by the server. The last message logs in with
// .netrc, as the environment then has no account. (An attachment is the PDF
// statements' test's, through EMAIL-BILLS.)
TEST_F(Relay, DeliversIntactWithStarttlsOrTlsEitherLoginOrNetrc) {
    std::string home = getenv("HOME") != nullptr ? getenv("HOME") : "";
    // The prices file keeps the setting upper-cased; "" is smtp:// and .netrc.
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"starttls", "PLAIN", "SMTP://"}, {"tls", "LOGIN", "smtps://"}, {"starttls", "LOGIN", ""}};
    for (auto [mode, mechanism, scheme] : cases) {
        SCOPED_TRACE(mode);
        for (const char *name : {"1.content", "1.envelope", "1.body"})
            std::filesystem::remove(name);
        std::string out, server = start(*scheme ? scheme : "smtp://", mode, mechanism);
        if (!*scheme) {
            unsetenv("VARNOK_SMTP_USER");
            unsetenv("VARNOK_SMTP_PASSWORD");
            setenv("HOME", dir_.c_str(), 1);
            write_file(".netrc", "machine 127.0.0.1 login treasurer password s3cret-pw\n");
            chmod(".netrc", 0600);
        }
        EXPECT_TRUE(send(server, out)) << out;
        relay->stop();
        EXPECT_EQ(out, "");
        EXPECT_EQ(read_file("1.envelope"), "club@example.org\nmember@example.org\n");
        EXPECT_EQ(read_file("1.body"), "Dear member,\n.\n..two dots\nlast line\n");
        std::string message = "\r\n" + read_file("1.content");
        // The other header fields are checked by the SEND-BY-EMAIL transcript.
        EXPECT_TRUE(has(message, "\r\nSubject: Your statement\r\n"));
        EXPECT_EQ(message.substr(message.find("\r\n\r\n") + 4),
                  "Dear member,\r\n.\r\n..two dots\r\nlast line\r\n");
        EXPECT_TRUE(std::regex_search(message, std::regex("\r\nMessage-ID: <.*@example.org>\r")));
    }
    setenv("HOME", home.c_str(), 1);
}

// (A wrong password is the refused-relay transcript's; an untrusted
// certificate is the stopped mailing's below.) A setting that names a user or
// no host is refused at once.
TEST_F(Relay, ABadSettingIsRefusedAtOnce) {
    std::string out;
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
    std::string out, server = start("", "plain", "LOGIN");
    EXPECT_FALSE(send(server, out));
    relay->stop();
    EXPECT_FALSE(has(out, "at send")) << out;
    EXPECT_EQ(read_file("replies").substr(0, 24), "220\n250\n250\n501\n503\n500\n");
    EXPECT_FALSE(std::filesystem::exists("1.content"));
}

// The kernel completes the connection; nobody ever says a word. The legacy
// client's first reply waited for takes the whole limit, the others none.
TEST_F(Relay, ARelayThatNeverAnswersFailsWithinTheLimit) {
    unsigned short port = 0;
    int listener = peer::loopback_socket(true, port);
    smtp_set_time_limit(1);
    for (const char *scheme : {"", "smtp://", "smtps://"}) {
        std::string out, server = scheme + std::string("127.0.0.1:") + std::to_string(port);
        auto begun = std::chrono::steady_clock::now();
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
    std::string server = start("smtps://", "tls", "LOGIN", "stall");
    smtp_set_time_limit(2);
    std::vector<bool> sent;
    std::vector<std::string> kept;
    auto mailing = [&](int members) {
        return output_of([&] {
            ASSERT_TRUE(o_emailOpen("VNKEMAIL.TMP", "s", "", peer::FROM, server.c_str()));
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
    auto begun = std::chrono::steady_clock::now();
    std::string out = mailing(3);
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(4)) << out;
    EXPECT_EQ(sent, std::vector<bool>(3, false)) << out;
    EXPECT_EQ(kept[2], "\n\n\nStatement of m2@example.org\n");
    EXPECT_TRUE(o_emailHalted());
    EXPECT_EQ(read_file("refused"), "LOGIN\n");
    const std::string why = "? No more email is sent in this run: the relay refused the log-in\n";
    EXPECT_EQ(out.find(why), out.rfind(why)) << out;
    EXPECT_NE(out.find(why), std::string::npos) << out;

    relay->stop();
    server = start("smtps://", "tls", "LOGIN");
    unsetenv("VARNOK_SMTP_CAFILE");
    setenv("VARNOK_SMTP_PASSWORD", "s3cret-pw", 1);
    out = mailing(2);
    EXPECT_TRUE(has(out, "? No more email is sent in this run: TLS with the relay failed")) << out;
    EXPECT_TRUE(has(out, "? Mail relay " + server + " failed: ") && has(out, "certificate")) << out;
    EXPECT_EQ(read_file("refused"), "LOGIN\n");
    EXPECT_FALSE(std::filesystem::exists("1.envelope"));
    setenv("VARNOK_SMTP_CAFILE", (dir_ / "cert.pem").c_str(), 1);
    sent.clear();
    mailing(1);
    EXPECT_EQ(sent, std::vector<bool>{true});
    EXPECT_EQ(read_file("1.envelope"), "club@example.org\nm0@example.org\n");
}
