// The e-mail branch of the bill run: no statement lost or mailed to the
// wrong member when the capture file fails.
#include "billing/billing.h"
#include "db/db_fixture.h"
#include "mail/email_capture.h"
#include "mail/loopback_relay.h"

#include <memory>

namespace {

// Each member's record name, statement name and address.
const char *const kMembers[][3] = {{"ABLE\tANN", "ANN ABLE", "ann@example.org"},
                                   {"BAKER\tBOB", "BOB BAKER", "bob@example.org"},
                                   {"COLE\tCAL", "CAL COLE", "cal@example.org"}};

// EMAIL-BILLS of three members with a balance each, through the real relay.
class EmailBillRun : public DbTest {
  protected:
    void SetUp() override {
        DbTest::SetUp();
        relay_ = std::make_unique<LoopbackRelay>();
        port_ = relay_->start("starttls", "PLAIN");
        std::string customers, balances;
        for (const auto &[record, name, email] : kMembers) {
            customers += customer_record(record, "CREDIT\tDEFAULT", email);
            balances += std::string(record) + "\t1000\n";
        }
        write_masters("$EMAIL_SENDER\tCLUB@EXAMPLE.ORG\n$EMAIL_SERVER\tSMTP://127.0.0.1:" +
                          std::to_string(port_) + "\n",
                      customers, "", balances);
    }
    void TearDown() override {
        mail_reset();
        relay_.reset();
        DbTest::TearDown();
    }

    // The run's console, with its `step`-th file step failing (0: none);
    // `delivered` gets the relay's new messages (only those).
    std::string bill_run(std::vector<std::string> &delivered, long step = 0) {
        delivered.clear();
        fresh_start();
        feed_input("\n\n\n\n");
        std::string out = output_of([step] {
            file_fault_at(step, step > 0 ? FileFault::FAIL : FileFault::NONE);
            do_emailBills();
        });
        steps_ = file_steps_taken();
        file_fault_at(0, FileFault::NONE);
        while (std::filesystem::exists(std::to_string(messages_ + 1) + ".envelope")) {
            messages_++;
            delivered.push_back(read_file(std::to_string(messages_) + ".envelope") +
                                read_file(std::to_string(messages_) + ".content"));
        }
        return out;
    }

    // Every statement reached its own member, by mail or in the file, and
    // the console counts what happened.
    static void check(const std::string &out, const std::vector<std::string> &delivered) {
        const bool filed = has(out, "statements printed to file VNKSTMNT.LIS");
        const std::string file = filed ? read_file("VNKSTMNT.LIS") : "";
        int failed = 0;
        for (const auto &[record, name, email] : kMembers) {
            int mailed = 0; // 100 for a message with someone else's statement
            for (const std::string &message : delivered)
                if (has(message, name))
                    mailed += has(message, std::string("\n") + email + "\n") ? 1 : 100;
            EXPECT_LE(mailed, 1) << name << out;
            failed += 1 - mailed;
            EXPECT_EQ(has(out, std::string("Email FAILED to ") + email), mailed == 0) << out;
            EXPECT_TRUE(!filed || has(file, name) == (mailed == 0)) << name << out;
        }
        EXPECT_EQ(has(out, std::to_string(delivered.size()) + " statements sent by email"),
                  !delivered.empty())
            << out;
        EXPECT_EQ(has(out, "? " + std::to_string(failed) + " emails FAILED to send"), failed > 0)
            << out;
        EXPECT_EQ(db.bills_computed, filed ? 1 : 0);
        EXPECT_EQ(has(out, "? No statements were written to file VNKSTMNT.LIS"), !filed) << out;
    }

    std::unique_ptr<LoopbackRelay> relay_;
    unsigned port_ = 0;
    int messages_ = 0;
    long steps_ = 0;
};

} // namespace

// A capture file unwritable at any one step, or a folder: nothing mailed blank or wrong, nothing
// lost.
TEST_F(EmailBillRun, AnUnwritableCaptureNeverMailsTheWrongStatementOrLosesOne) {
    std::vector<std::string> delivered;
    std::string out = bill_run(delivered);
    EXPECT_EQ(delivered.size(), 3u) << out;
    check(out, delivered);
    const long steps = steps_;
    for (long step = 1; step <= steps; step++) {
        SCOPED_TRACE(step);
        out = bill_run(delivered, step);
        check(out, delivered);
    }
    EXPECT_GT(steps, 20);
    std::filesystem::remove("VNKEMAIL.TMP");
    std::filesystem::create_directory("VNKEMAIL.TMP");
    out = bill_run(delivered);
    EXPECT_TRUE(delivered.empty());
    check(out, delivered);
}
