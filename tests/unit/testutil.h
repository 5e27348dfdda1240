// Shared helpers for the unit tests: a fresh working directory per test,
// small file helpers, stdout capture and canned console input.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include <csignal>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "conio/iosubs.h"

inline void write_file(const std::string &name, const std::string &content) {
    std::ofstream(name, std::ios::binary) << content;
}

// A file that cannot be read (a folder, say) reads as empty.
inline std::string read_file(const std::string &name) {
    std::ifstream in(name, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
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

// What a call printed.
template <class Work> std::string output_of(Work work) {
    start_capture();
    work();
    return end_capture();
}

// Every file under the working directory with its contents, listings
// (*.LIS) aside: what a step must leave as it was, or as a whole run leaves it.
inline std::map<std::string, std::string> club_files() {
    std::map<std::string, std::string> files;
    for (const auto &e : std::filesystem::recursive_directory_iterator("."))
        if (e.is_regular_file() && e.path().extension() != ".LIS")
            files[e.path().lexically_relative(".").string()] = read_file(e.path());
    return files;
}

inline size_t entries() {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator("."), {}));
}

// An allocated answer as a string, freed.
inline std::string take(char *text) {
    std::string s = text != nullptr ? text : "<null>";
    errfree(text);
    return s;
}

// One customer in the customer file's form: "LAST\tFIRST", the billing
// line, no phones, info, contest number, spouse or flags, then the e-mail
// and address lines given.
inline std::string customer_record(const std::string &name,
                                   const std::string &kind = "CREDIT\tDEFAULT",
                                   const std::string &email = "-No eMail",
                                   const std::string &address = "1 Main St") {
    return name + "\n" + kind + "\n-No Phones\n-No Info\n-No #\n-No spouse name\n-No Flags\n" +
           email + "\n" + address + "\n\n";
}

inline bool has(const std::string &text, const std::string &part) {
    return text.find(part) != std::string::npos;
}

// Makes `text` the whole of the console input that follows. Standard input
// is reopened on a file (gone from the test's directory once open), so
// nothing buffered from earlier input survives.
inline void feed_input(const std::string &text) {
    write_file(".input", text);
    ASSERT_NE(freopen(".input", "r", stdin), nullptr);
    unlink(".input");
    clearerr(stdin);
}

// Runs `work` in a child, with `input` as its console when given; returns what it
// printed and its exit status (-1 when a signal ended it), the status being
// 0 when `work` returned true.
struct ChildRun {
    std::string out;
    int status;
};
template <typename Work> ChildRun run_in_child(Work work, const char *input = nullptr) {
    int pipe_fds[2];
    EXPECT_EQ(pipe(pipe_fds), 0);
    fflush(stdout);
    pid_t pid = fork();
    if (pid == 0) {
        close(pipe_fds[0]);
        dup2(pipe_fds[1], STDOUT_FILENO);
        if (input != nullptr)
            feed_input(input);
        bool done = work();
        fflush(stdout);
        _exit(done ? 0 : 1);
    }
    close(pipe_fds[1]);
    ChildRun child;
    char buffer[4096];
    ssize_t n;
    while ((n = read(pipe_fds[0], buffer, sizeof buffer)) > 0)
        child.out.append(buffer, (size_t)n);
    close(pipe_fds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    child.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return child;
}

// `work` on a disk full at 16 bytes (files may grow no further); returns
// what it printed, and `code`.
template <typename Work> std::string run_on_full_disk(Work work, int &code) {
    ChildRun child = run_in_child([&] {
        signal(SIGXFSZ, SIG_IGN);
        struct rlimit rl = {16, 16};
        setrlimit(RLIMIT_FSIZE, &rl);
        return work();
    });
    code = child.status;
    return child.out;
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
        // Reaching the end of canned input means a test asked more questions
        // than it answered: stop loudly, not with the test binary's status 0.
        i_setEndOfInputHandler([] {
            fputs("\n*** test read past the end of its console input\n", stderr);
            abort();
        });
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

    std::filesystem::path dir_, old_dir_;
};

// Ends the process at each of `steps` file steps of `work`, then fails each
// step instead, every time on a club laid out afresh; after each comes the
// next start (`restart`) and `check(fault)`, under a trace naming the step.
template <typename LayOut, typename Work, typename Restart, typename Check>
void sweep_file_steps(long steps, LayOut lay_out, Work work, Restart restart, Check check) {
    for (FileFault fault : {FileFault::EXIT, FileFault::FAIL})
        for (long step = 1; step <= steps; step++) {
            lay_out();
            int status = run_in_child([&] {
                             file_fault_at(step, fault);
                             work();
                             return true;
                         }).status;
            ASSERT_EQ(status, fault == FileFault::EXIT ? kFileFaultExitStatus : 0) << step;
            restart();
            SCOPED_TRACE((fault == FileFault::EXIT ? "killed at step " : "failed step ") +
                         std::to_string(step));
            check(fault);
        }
}
