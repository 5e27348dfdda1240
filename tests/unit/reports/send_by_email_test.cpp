// SEND-BY-EMAIL from a file with each file step failing, or VNKEMAIL.TMP a folder: each member gets
// the file's text or is reported, never a blank or stale one.
#include "mail/loopback_relay.h"
#include "reports_fixture.h"

TEST_F(ReportsTest, SendByEmailWithAnUnwritableCaptureSendsNothingWrong) {
    LoopbackRelay relay;
    std::string server = "SMTP://127.0.0.1:" + std::to_string(relay.start("starttls", "PLAIN"));
    write_file("VNKPRICE.DAT",
               "$VERSION 2\n$EMAIL_SENDER\tCLUB@EXAMPLE.ORG\n$EMAIL_SERVER\t" + server + "\n");
    const char *const members[] = {"ann", "bob"};
    std::string customers = "$VERSION 6\n";
    for (const char *name : members)
        customers += customer_record(std::string("MEMBER\t") + name, "CREDIT\tDEFAULT",
                                     std::string(name) + "@example.org");
    write_file("VNKCUST.DAT", customers);
    write_file("NEWS.TXT", "The field opens Saturday.\n");
    int messages = 0;
    auto mailing = [&](long step) {
        fresh_start();
        feed_input("MESSAGE-FROM-FILE\nNEWS.TXT\n");
        std::string out = output_of([step] {
            file_fault_at(step, step > 0 ? FileFault::FAIL : FileFault::NONE);
            do_email();
        });
        long steps = file_steps_taken();
        file_fault_at(0, FileFault::NONE);
        for (const char *name : members) {
            std::string to = std::string(name) + "@example.org";
            bool failed = has(out, "Email FAILED to " + to);
            std::string n = std::to_string(messages + 1);
            if (!failed && read_file(n + ".envelope") == "CLUB@EXAMPLE.ORG\n" + to + "\n" &&
                has(read_file(n + ".body"), "\n\n\nThe field opens Saturday.\n"))
                messages++;
            else
                EXPECT_TRUE(failed) << to << " step " << step << out;
        }
        EXPECT_FALSE(std::filesystem::exists(std::to_string(messages + 1) + ".envelope")) << out;
        return steps;
    };
    for (long step = 1, steps = mailing(0); step <= steps; step++)
        mailing(step);
    std::filesystem::remove("VNKEMAIL.TMP");
    std::filesystem::create_directory("VNKEMAIL.TMP");
    int before = messages;
    mailing(0);
    EXPECT_EQ(messages, before);
    EXPECT_GT(before, 10);
}
