// The present-day relay of the mail tests (aiosmtpd_relay.py) on loopback:
// a throwaway certificate for 127.0.0.1 that only the test trusts, the
// account "treasurer"/"s3cret-pw" in the environment, and the relay's
// records (N.envelope, N.content, refused) in the test's directory.
#pragma once

#include "mail/smtp_internal.h"
#include "testutil.h"

class LoopbackRelay {
  public:
    // Run in the test's (current) directory.
    LoopbackRelay() {
        EXPECT_EQ(system("openssl req -x509 -newkey rsa:2048 -nodes -keyout key.pem "
                         "-out cert.pem -days 1 -subj /CN=127.0.0.1 "
                         "-addext subjectAltName=IP:127.0.0.1 >/dev/null 2>&1"),
                  0)
            << "openssl is missing (scripts/setup-deps installs it)";
        setenv("VARNOK_SMTP_USER", "treasurer", 1);
        setenv("VARNOK_SMTP_PASSWORD", "s3cret-pw", 1);
        setenv("VARNOK_SMTP_CAFILE", (std::filesystem::current_path() / "cert.pem").c_str(), 1);
        smtp_set_time_limit(5);
    }
    ~LoopbackRelay() {
        stop();
        unsetenv("VARNOK_SMTP_USER");
        unsetenv("VARNOK_SMTP_PASSWORD");
        unsetenv("VARNOK_SMTP_CAFILE");
        smtp_set_time_limit(30);
    }

    // Starts the relay; returns its port. `extra` is "stall" or empty.
    unsigned start(const char *mode, const char *mechanism, const char *extra = "") {
        std::filesystem::remove("stop");
        std::string command =
            "/usr/bin/python3 " VARNOK_SOURCE_DIR "/tests/unit/mail/aiosmtpd_relay.py " +
            std::filesystem::current_path().string() + " 60 cert.pem key.pem treasurer s3cret-pw " +
            mode + " " + mechanism + " " + extra;
        server_ = popen(command.c_str(), "r");
        unsigned port = 0;
        if (server_ == nullptr || fscanf(server_, "PORT %u", &port) != 1)
            ADD_FAILURE() << "aiosmtpd did not start (scripts/setup-deps installs it)";
        return port;
    }

    void stop() {
        if (server_ != nullptr) {
            write_file("stop", "");
            pclose(server_);
        }
        server_ = nullptr;
    }

  private:
    FILE *server_ = nullptr;
};
