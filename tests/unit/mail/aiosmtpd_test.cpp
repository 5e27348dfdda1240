// sendmail() against a real SMTP server (aiosmtpd) on loopback, with a
// recording relay in between. The test pins down what such a server makes
// of the client's dialogue: which lines it accepts and which it refuses.
#include "mail/smtp.h"
#include "peer.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <spawn.h>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>

extern char **environ;

namespace {

using mailtest::Clock;

std::string read_file(const std::string &name) {
    std::ifstream in(name, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// The server process, stopped by closing its standard input.
class RealServer {
  public:
    explicit RealServer(const std::string &recordDir) {
        int in[2], out[2];
        if (pipe(in) != 0 || pipe(out) != 0)
            return;
        std::string script = std::string(VARNOK_SOURCE_DIR) + "/tests/unit/mail/aiosmtpd_server.py";
        const char *argv[] = {"/usr/bin/python3", script.c_str(), recordDir.c_str(), "30", nullptr};
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, in[0], 0);
        posix_spawn_file_actions_adddup2(&actions, out[1], 1);
        posix_spawn_file_actions_addclose(&actions, in[1]);
        posix_spawn_file_actions_addclose(&actions, out[0]);
        if (posix_spawn(&pid_, argv[0], &actions, nullptr, const_cast<char **>(argv), environ) != 0)
            pid_ = -1;
        posix_spawn_file_actions_destroy(&actions);
        close(in[0]);
        close(out[1]);
        stdin_ = in[1];
        // "PORT <n>\n" once it listens.
        std::string line;
        auto deadline = Clock::now() + std::chrono::seconds(20);
        char c;
        while (pid_ > 0 && mailtest::wait_readable(out[0], deadline) && read(out[0], &c, 1) == 1 &&
               c != '\n')
            line += c;
        close(out[0]);
        if (line.rfind("PORT ", 0) == 0)
            port = static_cast<unsigned short>(atoi(line.c_str() + 5));
    }
    ~RealServer() {
        if (stdin_ >= 0)
            close(stdin_);
        if (pid_ <= 0)
            return;
        auto deadline = Clock::now() + std::chrono::seconds(10);
        while (waitpid(pid_, nullptr, WNOHANG) == 0) {
            if (Clock::now() > deadline) {
                kill(pid_, SIGKILL);
                waitpid(pid_, nullptr, 0);
                return;
            }
            usleep(20000);
        }
    }
    unsigned short port = 0;

  private:
    pid_t pid_ = -1;
    int stdin_ = -1;
};

// The reply codes in a stream of single-line replies.
std::vector<std::string> reply_codes(const std::string &stream) {
    std::vector<std::string> codes;
    for (size_t at = 0; at < stream.size();) {
        size_t end = stream.find("\r\n", at);
        if (end == std::string::npos)
            break;
        codes.push_back(stream.substr(at, 3));
        at = end + 2;
    }
    return codes;
}

// Plays the chunks one by one, as a client that waits for each reply would
// (the greeting, then one reply a chunk), each read with a time limit.
std::string replay(unsigned short port, const std::vector<std::string> &chunks) {
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    timeval limit{10, 0};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sa.sin_port = htons(port);
    std::string replies;
    if (connect(fd, reinterpret_cast<sockaddr *>(&sa), sizeof sa) == 0) {
        for (size_t i = 0; i < chunks.size(); i++) {
            send(fd, chunks[i].data(), chunks[i].size(), MSG_NOSIGNAL);
            char buf[4096];
            ssize_t n = 1;
            while (n > 0 && reply_codes(replies).size() < i + 2) {
                n = recv(fd, buf, sizeof buf, 0);
                if (n > 0)
                    replies.append(buf, static_cast<size_t>(n));
            }
        }
    }
    close(fd);
    return replies;
}

} // namespace

TEST(SmtpRealServer, AiosmtpdRefusesTheRecipientLineAndWithItTheMessage) {
    char dirTemplate[] = "/tmp/varnok-mail-XXXXXX";
    ASSERT_NE(mkdtemp(dirTemplate), nullptr);
    std::string dir = dirTemplate;
    RealServer server(dir);
    ASSERT_NE(server.port, 0) << "aiosmtpd did not start (scripts/setup-deps installs it)";

    mailtest::RecordingRelay relay(server.port);
    std::string address = relay.server();
    std::string out;
    bool result;
    {
        mailtest::StdoutCapture capture;
        result = sendmail("member@example.org", "member@example.org", "Your statement",
                          "Line one\nLine two\n", "VARNOK", "club@example.org", "club@example.org",
                          address.c_str());
        out = capture.text();
    }
    relay.finish();
    EXPECT_FALSE(relay.timedOut);

    // The client wrote the whole dialogue regardless of the replies.
    const std::string &sent = relay.fromClient;
    size_t data = sent.find("DATA\r\n");
    size_t quit = sent.rfind("QUIT\r\n");
    ASSERT_NE(data, std::string::npos) << sent;
    size_t header = data + 6;
    ASSERT_EQ(quit + 6, sent.size());
    EXPECT_EQ(sent.substr(0, header), "HELO 127.0.0.1\r\n"
                                      "MAIL FROM: <club@example.org>\r\n"
                                      "RCPT TO: <member@example.org<member@example.org>\r\n"
                                      "DATA\r\n");
    std::string message = sent.substr(header, quit - header);
    EXPECT_EQ(message.substr(message.size() - 25), "Line one\r\nLine two\r\n\r\n.\r\n");

    // Greeting; HELO (sent before the greeting was read) and MAIL FROM
    // accepted; the RCPT line without its closing bracket refused as a syntax
    // error, so DATA is refused for want of a recipient, and the header lines
    // that follow are taken for unknown commands.
    std::vector<std::string> codes = reply_codes(relay.fromServer);
    ASSERT_GE(codes.size(), 6u) << relay.fromServer;
    EXPECT_EQ(std::vector<std::string>(codes.begin(), codes.begin() + 6),
              (std::vector<std::string>{"220", "250", "250", "501", "503", "500"}))
        << relay.fromServer;

    // The late HELO reply passes the check after the message, and the refusal
    // of a header line, read after QUIT, fails the one at disconnect.
    EXPECT_FALSE(result);
    EXPECT_EQ(out.rfind("SMTP problem at disconnect, got: 500 Error: command \"", 0), 0u) << out;
    EXPECT_EQ(out.find("at send"), std::string::npos) << out;
    EXPECT_EQ(read_file(dir + "/1.content"), "") << "nothing is delivered";

    // The same bytes with the recipient line mended are all accepted: the
    // header's "DATE:"/"FROM:" capitals, its CR LF endings and the body.
    std::vector<std::string> mended = {"HELO 127.0.0.1\r\n",
                                       "MAIL FROM: <club@example.org>\r\n",
                                       "RCPT TO: <member@example.org>\r\n",
                                       "DATA\r\n",
                                       message,
                                       "QUIT\r\n"};
    std::string replies = replay(server.port, mended);
    codes = reply_codes(replies);
    EXPECT_EQ(codes, (std::vector<std::string>{"220", "250", "250", "250", "354", "250", "221"}))
        << replies;
    EXPECT_EQ(read_file(dir + "/1.from"), "club@example.org");
    EXPECT_EQ(read_file(dir + "/1.to"), "member@example.org\n");
    EXPECT_EQ(read_file(dir + "/1.content"), message.substr(0, message.size() - 3));

    for (const char *name : {"/1.from", "/1.to", "/1.content"})
        unlink((dir + name).c_str());
    rmdir(dir.c_str());
}
