// The scripted loopback peer of the mail tests: a listener on 127.0.0.1 that
// records every byte a client writes and answers each command with the next
// scripted reply. Every wait is bounded: a client that blocks fails.
#pragma once

#include "mail/smtp.h"
#include "mail/smtp_internal.h"
#include "testutil.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <regex>
#include <thread>

namespace peer {

using Clock = std::chrono::steady_clock;

const char *const TO = "member@example.org";
const char *const FROM = "club@example.org";
const std::string MAIL = "MAIL FROM: <club@example.org>\r\n";
const std::string RCPT = "RCPT TO: <member@example.org<member@example.org>\r\n";

// HELO names the server exactly as it was passed in, port and all.
inline std::string whole_dialogue(const std::string &server, const std::string &convertedBody) {
    return "HELO " + server + "\r\n" + MAIL + RCPT +
           "DATA\r\nDATE: *\r\nFROM: \"VARNOK\"<club@example.org>\r\n"
           "To: member@example.org<member@example.org>\r\nCc: \r\n"
           "Subject: Your statement\r\nReply-To: club@example.org\r\n"
           "MIME-Version: 1.0\r\nContent-type: text/plain; charset=US-ASCII\r\n"
           "\r\n" +
           convertedBody + "\r\n.\r\nQUIT\r\n";
}

inline bool wait_readable(int fd, Clock::time_point deadline) {
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    pollfd p{fd, POLLIN, 0};
    return left.count() > 0 && poll(&p, 1, static_cast<int>(left.count())) > 0;
}

// A socket bound to a free port of 127.0.0.1, listening when asked (the
// kernel then completes connections nobody accepts); -1 on failure.
inline int loopback_socket(bool listening, unsigned short &port) {
    int s = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof sa;
    bool ok = s >= 0 && bind(s, reinterpret_cast<sockaddr *>(&sa), len) == 0 &&
              (!listening || listen(s, 4) == 0) &&
              getsockname(s, reinterpret_cast<sockaddr *>(&sa), &len) == 0;
    EXPECT_TRUE(ok) << "no loopback socket";
    port = ntohs(sa.sin_port);
    return ok ? s : -1;
}

struct Outcome {
    bool result;
    std::string out, wire, server;
};

// Runs the client (given the server's "host:port") against a peer that records every byte until the
// client closes or five seconds have passed. Once the client's next command has arrived (HELO,
// MAIL, RCPT, DATA, the end of the data, QUIT), the peer sends the next of the six replies in one
// piece.
template <class Client>
Outcome run_with_peer(const std::array<std::string, 6> &replies, Client client,
                      const std::string &bodyEnd = "\r\n.\r\n") {
    unsigned short port = 0;
    int listener = loopback_socket(true, port);
    Outcome o;
    o.server = "127.0.0.1:" + std::to_string(port);
    const std::string after[6] = {
        "HELO " + o.server + "\r\n", MAIL, RCPT, "DATA\r\n", bodyEnd, "QUIT\r\n"};
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
    o.out = output_of([&] { o.result = client(o.server); });
    peer.join();
    close(listener);
    EXPECT_FALSE(timedOut) << "the client blocked";
    // The DATE line (the transcripts and the date test check it) masked.
    o.wire = std::regex_replace(o.wire, std::regex("\r\nDATE: [^\r\n]*\r\n"), "\r\nDATE: *\r\n");
    return o;
}

inline Outcome run_sendmail(const std::array<std::string, 6> &replies, const char *body,
                            const std::string &bodyEnd = "\r\n.\r\n") {
    return run_with_peer(
        replies,
        [&](const std::string &server) {
            return sendmail(TO, TO, "Your statement", body, "VARNOK", FROM, FROM, server.c_str());
        },
        bodyEnd);
}

} // namespace peer
