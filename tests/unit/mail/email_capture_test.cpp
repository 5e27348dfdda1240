// The e-mail capture against the scripted loopback peer: what a writer
// prints between start and end is what goes out, a refused message stays
// available for the fall-back, and an inactive capture does nothing.
#include "mail/email_capture.h"
#include "scripted_peer.h"

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

struct Mailed {
    Outcome o;
    bool ended;
    std::string kept;
};

// A balance mailed to one member through a peer answering `replies`, then a
// line after the last message, and the capture closed.
Mailed mail_balance(const std::array<std::string, 6> &replies) {
    Mailed m{};
    m.o = run_with_peer(replies, [&](const std::string &server) {
        EXPECT_TRUE(o_emailOpen("VNKEMAIL.TMP", "Your statement", "", FROM, server.c_str()));
        o_emailStart(TO);
        EXPECT_NE(get_o_file(), stdout);
        o_lstring("Balance:", 1, false);
        o_rmoney(1234, 20, false);
        o_newline(0);
        m.ended = o_emailEnd();
        m.kept = o_emailGetLastContent() != nullptr ? o_emailGetLastContent() : "<none>";
        o_lstring("after the last message", 1, false);
        o_newline(0);
        o_emailClose();
        return m.ended;
    });
    return m;
}

} // namespace

// What a writer prints between start and end goes out after three empty
// lines; later output stays in the file. A refused message is logged and its
// text kept for the fall-back until the close.
TEST_F(EmailCapture, WriterOutputGoesOutOrIsKeptForTheFallBack) {
    Mailed m = mail_balance(ACCEPTING);
    EXPECT_TRUE(m.ended);
    EXPECT_EQ(get_o_file(), stdout);
    EXPECT_EQ(m.o.out, ""); // nothing of the writer's reached the console
    EXPECT_EQ(m.kept, "\n\n\nBalance:      $12.34\n");
    EXPECT_EQ(m.o.wire, whole_dialogue(m.o.server, "\r\n\r\n\r\nBalance:      $12.34\r\n"));
    EXPECT_EQ(read_file("VNKEMAIL.TMP"), "after the last message\n");

    m = mail_balance(REFUSING);
    EXPECT_FALSE(m.ended);
    EXPECT_EQ(m.kept, "\n\n\nBalance:      $12.34\n");
    // (The "Unable to send" line after it is the mailing transcripts'.)
    EXPECT_TRUE(has(m.o.out, "SMTP problem, at send got: 550 no\r\n")) << m.o.out;
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
