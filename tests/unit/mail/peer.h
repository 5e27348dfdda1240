// Loopback helpers for the mail tests: a scripted SMTP peer, a recording
// relay in front of a real server, and a capture of standard output.
// Every socket wait is bounded, so a client that blocks makes a test fail
// rather than hang.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace mailtest {

using Clock = std::chrono::steady_clock;

inline int listen_loopback(unsigned short &port) {
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof sa;
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr *>(&sa), sizeof sa) != 0 ||
        listen(fd, 4) != 0 || getsockname(fd, reinterpret_cast<sockaddr *>(&sa), &len) != 0) {
        perror("listen_loopback");
        abort();
    }
    port = ntohs(sa.sin_port);
    return fd;
}

// Waits for fd to become readable; false once the deadline has passed.
inline bool wait_readable(int fd, Clock::time_point deadline) {
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0)
        return false;
    pollfd p{fd, POLLIN, 0};
    return poll(&p, 1, static_cast<int>(left.count())) > 0;
}

// When `after` has arrived (searched past the previous step's match; empty
// means at once), the peer writes `reply` in one send (nothing if empty).
struct Step {
    std::string after;
    std::string reply;
};

// Accepts one connection, plays its steps and records every byte received
// until the client closes or the deadline passes.
class ScriptedPeer {
  public:
    explicit ScriptedPeer(std::vector<Step> steps, bool resetAtEnd = false, int seconds = 5)
        : steps_(std::move(steps)), reset_(resetAtEnd),
          deadline_(Clock::now() + std::chrono::seconds(seconds)) {
        listener_ = listen_loopback(port_);
        thread_ = std::thread([this] { run(); });
    }
    ~ScriptedPeer() { finish(); }

    std::string server() const { return "127.0.0.1:" + std::to_string(port_); }
    unsigned short port() const { return port_; }

    // Everything the client sent; waits for the conversation to end.
    const std::string &received() {
        finish();
        return data_;
    }
    bool timedOut() {
        finish();
        return timedOut_;
    }

  private:
    void finish() {
        if (thread_.joinable())
            thread_.join();
    }

    void run() {
        int conn = -1;
        if (wait_readable(listener_, deadline_))
            conn = accept(listener_, nullptr, nullptr);
        size_t next = 0, matched = 0;
        while (conn >= 0) {
            while (next < steps_.size()) {
                size_t at = data_.find(steps_[next].after, matched);
                if (at == std::string::npos)
                    break;
                matched = at + steps_[next].after.size();
                const std::string &reply = steps_[next].reply;
                if (!reply.empty())
                    send(conn, reply.data(), reply.size(), MSG_NOSIGNAL);
                next++;
                if (next == steps_.size() && reset_) {
                    linger hard{1, 0};
                    setsockopt(conn, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
                    close(conn);
                    conn = -1;
                    break;
                }
            }
            if (conn < 0)
                break;
            if (!wait_readable(conn, deadline_)) {
                timedOut_ = true;
                break;
            }
            char buf[8192];
            ssize_t n = recv(conn, buf, sizeof buf, 0);
            if (n <= 0)
                break;
            data_.append(buf, static_cast<size_t>(n));
        }
        if (conn >= 0)
            close(conn);
        close(listener_);
    }

    std::vector<Step> steps_;
    bool reset_;
    Clock::time_point deadline_;
    int listener_ = -1;
    unsigned short port_ = 0;
    std::thread thread_;
    std::string data_;
    bool timedOut_ = false;
};

// Sits between the client and a real server and records both directions.
class RecordingRelay {
  public:
    explicit RecordingRelay(unsigned short upstream, int seconds = 20)
        : upstream_(upstream), deadline_(Clock::now() + std::chrono::seconds(seconds)) {
        listener_ = listen_loopback(port_);
        thread_ = std::thread([this] { run(); });
    }
    ~RecordingRelay() { finish(); }

    std::string server() const { return "127.0.0.1:" + std::to_string(port_); }
    void finish() {
        if (thread_.joinable())
            thread_.join();
    }
    std::string fromClient, fromServer;
    bool timedOut = false;

  private:
    void run() {
        int client = wait_readable(listener_, deadline_) ? accept(listener_, nullptr, nullptr) : -1;
        int server = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in sa{};
        sa.sin_family = AF_INET;
        sa.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        sa.sin_port = htons(upstream_);
        if (client >= 0 && connect(server, reinterpret_cast<sockaddr *>(&sa), sizeof sa) == 0) {
            bool open[2] = {true, true};
            int fds[2] = {client, server};
            std::string *logs[2] = {&fromClient, &fromServer};
            while (open[0] || open[1]) {
                auto left =
                    std::chrono::duration_cast<std::chrono::milliseconds>(deadline_ - Clock::now());
                pollfd p[2] = {{open[0] ? fds[0] : -1, POLLIN, 0},
                               {open[1] ? fds[1] : -1, POLLIN, 0}};
                if (left.count() <= 0 || poll(p, 2, static_cast<int>(left.count())) <= 0) {
                    timedOut = true;
                    break;
                }
                for (int i = 0; i < 2; i++) {
                    if (!open[i] || p[i].revents == 0)
                        continue;
                    char buf[8192];
                    ssize_t n = recv(fds[i], buf, sizeof buf, 0);
                    if (n <= 0) {
                        open[i] = false;
                        shutdown(fds[1 - i], SHUT_WR);
                        continue;
                    }
                    logs[i]->append(buf, static_cast<size_t>(n));
                    send(fds[1 - i], buf, static_cast<size_t>(n), MSG_NOSIGNAL);
                }
            }
        }
        if (client >= 0)
            close(client);
        close(server);
        close(listener_);
    }

    unsigned short upstream_;
    Clock::time_point deadline_;
    int listener_ = -1;
    unsigned short port_ = 0;
    std::thread thread_;
};

// Standard output of the code under test, byte for byte.
class StdoutCapture {
  public:
    StdoutCapture() {
        fflush(stdout);
        file_ = tmpfile();
        saved_ = dup(1);
        dup2(fileno(file_), 1);
    }
    ~StdoutCapture() { text(); }
    std::string text() {
        if (saved_ >= 0) {
            fflush(stdout);
            dup2(saved_, 1);
            close(saved_);
            saved_ = -1;
            rewind(file_);
            char buf[4096];
            size_t n;
            while ((n = fread(buf, 1, sizeof buf, file_)) > 0)
                text_.append(buf, n);
            fclose(file_);
        }
        return text_;
    }

  private:
    FILE *file_ = nullptr;
    int saved_ = -1;
    std::string text_;
};

} // namespace mailtest
