// Shared helpers for the unit tests: a fresh working directory per test,
// small file helpers, stdout capture and canned console input.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <unistd.h>

#include "conio/iosubs.h"

inline void write_file(const std::string &name, const std::string &content) {
    std::ofstream out(name, std::ios::binary | std::ios::trunc);
    out << content;
}

inline std::string read_file(const std::string &name) {
    std::ifstream in(name, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

inline bool file_exists(const std::string &name) {
    return std::filesystem::exists(name);
}

// Captures everything written to standard output, by printf and by the
// output formatter alike (both go through the stdout FILE).
inline void start_capture() {
    fflush(stdout);
    testing::internal::CaptureStdout();
}

inline std::string end_capture() {
    fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

// Makes `text` the whole of the console input that follows. Standard input
// is reopened on a file, so nothing buffered from earlier input survives.
inline void feed_input(const std::string &text) {
    char name[] = "/tmp/varnok-input-XXXXXX";
    int fd = mkstemp(name);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(write(fd, text.data(), text.size()), (ssize_t)text.size());
    close(fd);
    ASSERT_NE(freopen(name, "r", stdin), nullptr);
    unlink(name);
    clearerr(stdin);
}

// Reaching the end of canned input means a test asked more questions than it
// answered; stop loudly instead of ending the test binary with status 0.
inline void abort_on_end_of_input() {
    fprintf(stderr, "\n*** test read past the end of its console input\n");
    fflush(stderr);
    abort();
}

// Each test runs in its own empty directory under TZ=UTC with the console
// library reset and the console input empty.
class TempDirTest : public testing::Test {
  protected:
    void SetUp() override {
        setenv("TZ", "UTC", 1);
        tzset();
        char pattern[] = "/tmp/varnok-test-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir_ = pattern;
        old_dir_ = std::filesystem::current_path();
        std::filesystem::current_path(dir_);
        conio_reset();
        i_setEndOfInputHandler(abort_on_end_of_input);
        feed_input("");
    }

    void TearDown() override {
        conio_reset();
        if (freopen("/dev/null", "r", stdin) == nullptr)
            ADD_FAILURE() << "cannot reset standard input";
        std::filesystem::current_path(old_dir_);
        std::error_code ignored;
        std::filesystem::remove_all(dir_, ignored);
    }

    std::filesystem::path dir_;
    std::filesystem::path old_dir_;
};
