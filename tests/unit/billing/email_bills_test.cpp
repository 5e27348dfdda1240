// The e-mail branch of the bill run against the scripted loopback peer:
// who is mailed, and a statement that does not go out landing in the
// statements file after all.
#include "billing/billing.h"
#include "db/db_fixture.h"
#include "mail/email_capture.h"
#include "mail/scripted_peer.h" // the mail tests' loopback peer

namespace {

class EmailBills : public DbTest {
  protected:
    void SetUp() override {
        DbTest::SetUp();
        replace_str(&db.emailSender, peer::FROM);
        member = fc_cust("MEMBER", "MAY", true);
        replace_str(&member->eMail, peer::TO);
    }
    void TearDown() override {
        mail_reset();
        DbTest::TearDown();
    }

    // One statement through start and finish, with the fall-back file.
    peer::Outcome bill(const std::array<std::string, 6> &replies, bool &sent) {
        return peer::run_with_peer(replies, [&](const std::string &server) {
            replace_str(&db.emailServer, server.c_str());
            replace_str(&db.emailSubject, "Your statement");
            FILE *statements = fopen("STATEMENTS", "w");
            email_bill_start(member);
            o_lstring("New balance: $5.00", 1, false);
            o_newline(0);
            // A statement ends with its trailer's line still pending.
            o_lstring("Pay by the 15th.", 1, false);
            sent = email_bill_finish(statements);
            fclose(statements);
            return sent;
        });
    }

    customer *member = nullptr;
};

} // namespace

TEST_F(EmailBills, OnlyAddressesMatchingTheTestModeAreMailed) {
    EXPECT_TRUE(email_bill_wanted(member));
    replace_str(&db.emailSendOnly, "Member@EXAMPLE.org");
    EXPECT_TRUE(email_bill_wanted(member));
    replace_str(&db.emailSendOnly, "other@example.org");
    EXPECT_FALSE(email_bill_wanted(member));
    db.emailSendOnly = (char *)errfree(db.emailSendOnly);
    replace_str(&member->eMail, "  ");
    EXPECT_FALSE(email_bill_wanted(member));
}

TEST_F(EmailBills, SentStatementStaysOutOfTheFileARefusedOneFallsBackWithAFormFeed) {
    bool sent = false;
    peer::Outcome ok = bill(
        {"220 hi\r\n", "250 hello\r\n", "250 ok\r\n", "250 ok\r\n", "354 go\r\n", "250 queued\r\n"},
        sent);
    EXPECT_TRUE(sent);
    EXPECT_TRUE(has(ok.wire, "\r\n\r\n\r\n\r\nNew balance: $5.00\r\nPay by the 15th.\r\n\r\n.\r\n"))
        << ok.wire;
    EXPECT_EQ(read_file("STATEMENTS"), "");
    EXPECT_EQ(get_o_file(), stdout);

    peer::Outcome refused = bill(
        {"220 hi\r\n", "550 no\r\n", "503 a\r\n", "503 b\r\n", "500 c\r\n", "250 bye\r\n"}, sent);
    EXPECT_FALSE(sent);
    EXPECT_TRUE(has(refused.out, "? Unable to send email to member@example.org")) << refused.out;
    EXPECT_EQ(read_file("STATEMENTS"), "\n\n\nNew balance: $5.00\nPay by the 15th.\n\f");
}
