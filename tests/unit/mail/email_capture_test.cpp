// The e-mail capture against the scripted loopback peer: what a writer
// prints between start and end is what goes out, a refused message stays
// available for the fall-back, and an inactive capture does nothing.
#include "mail/email_capture.h"
#include "scripted_peer.h"
#include "testutil.h"

using namespace peer;

namespace {

const std::array<std::string, 6> ACCEPTING = {"220 hi\r\n", "250 hello\r\n",  "250 ok\r\n",
                                              "354 go\r\n", "250 queued\r\n", "250 bye\r\n"};
const std::array<std::string, 6> REFUSING = {"220 hi\r\n", "550 no\r\n", "250 ok\r\n",
                                             "354 go\r\n", "250 q\r\n",  "250 bye\r\n"};

class EmailCapture : public TempDirTest {
  protected:
    void TearDown() override {
        mail_reset();
        TempDirTest::TearDown();
    }
};

} // namespace

TEST_F(EmailCapture, WriterOutputGoesOutAfterThreeEmptyLinesAndLaterOutputStaysInTheFile) {
    bool opened = false, ended = false;
    std::string content;
    FILE *during = nullptr;
    Outcome o = run_with_peer(ACCEPTING, [&](const std::string &server) {
        opened = o_emailOpen("VNKEMAIL.TMP", "Your statement", "", FROM, server.c_str());
        o_emailStart(TO);
        during = get_o_file();
        o_lstring("Balance:", 1, false);
        o_rmoney(1234, 20, false);
        o_newline(0);
        ended = o_emailEnd();
        content = o_emailGetLastContent() != nullptr ? o_emailGetLastContent() : "<none>";
        o_lstring("after the last message", 1, false);
        o_newline(0);
        o_emailClose();
        return ended;
    });
    EXPECT_TRUE(opened);
    EXPECT_TRUE(ended);
    EXPECT_NE(during, stdout);
    EXPECT_EQ(get_o_file(), stdout);
    EXPECT_EQ(o.out, ""); // nothing of the writer's reached the console
    EXPECT_EQ(content, "\n\n\nBalance:      $12.34\n");
    EXPECT_EQ(o.wire, whole_dialogue(o.server, "\r\n\r\n\r\nBalance:      $12.34\r\n"));
    EXPECT_EQ(read_file("VNKEMAIL.TMP"), "after the last message\n");
}

TEST_F(EmailCapture, RefusedMessageIsLoggedAndKeptForTheFallBack) {
    bool ended = true;
    std::string kept;
    Outcome o = run_with_peer(REFUSING, [&](const std::string &server) {
        o_emailOpen("VNKEMAIL.TMP", "Your statement", "", FROM, server.c_str());
        o_emailStart(TO);
        o_lstring("Statement", 1, false);
        o_newline(0);
        ended = o_emailEnd();
        kept = o_emailGetLastContent() != nullptr ? o_emailGetLastContent() : "<none>";
        o_emailClose();
        return ended;
    });
    EXPECT_FALSE(ended);
    EXPECT_EQ(kept, "\n\n\nStatement\n");
    EXPECT_TRUE(has(o.out, "SMTP problem, at send got: 550 no\r\n")) << o.out;
    EXPECT_TRUE(
        has(o.out, "  ? Unable to send email to member@example.org via server " + o.server + "\n"))
        << o.out;
    // Closing forgets the content.
    EXPECT_EQ(o_emailGetLastContent(), nullptr);
}

TEST_F(EmailCapture, NothingHappensWithoutACaptureOrARecipient) {
    // Inactive: start and end do nothing and print nothing.
    std::string out = output_of([] {
        o_emailStart(TO);
        EXPECT_FALSE(o_emailEnd());
    });
    EXPECT_EQ(out, "");
    EXPECT_EQ(get_o_file(), stdout);
    EXPECT_EQ(entries(), 0u);

    // A blank recipient: nothing is sent (the server does not exist), yet
    // the part counts as done and its text is dropped.
    out = output_of([] {
        EXPECT_TRUE(o_emailOpen("VNKEMAIL.TMP", "s", "", FROM, "no-such-host.invalid"));
        o_emailStart("   ");
        o_lstring("never sent", 1, false);
        o_newline(0);
        EXPECT_TRUE(o_emailEnd());
        EXPECT_EQ(o_emailGetLastContent(), nullptr);
        o_emailClose();
    });
    EXPECT_EQ(out, "");

    // A capture file that cannot be opened leaves the capture inactive and
    // the close brings the console back.
    out = output_of([] {
        EXPECT_FALSE(o_emailOpen("no-dir/VNKEMAIL.TMP", "s", "", FROM, "x"));
        o_emailStart(TO);
        EXPECT_FALSE(o_emailEnd());
        o_emailClose();
    });
    EXPECT_TRUE(has(out, "? Unable to open email output file \"no-dir/VNKEMAIL.TMP\"")) << out;
    EXPECT_EQ(get_o_file(), stdout);
}
