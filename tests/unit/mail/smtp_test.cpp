// The SMTP dialogue on loopback: every byte the client writes and every
// diagnostic it prints against a scripted peer. Every wait is bounded: a
// client that blocks fails.
#include "scripted_peer.h"

using namespace peer;

// The result, the diagnostics and every byte written (around `sent`, the
// body as converted for the wire).
void expect_dialogue(const Outcome &o, const std::string &sent, const std::string &out) {
    EXPECT_EQ(o.result, out.empty()) << out;
    EXPECT_EQ(o.out, out);
    EXPECT_EQ(o.wire, whole_dialogue(o.server, sent));
}

// Each reply comes one step late: the peer greets only after HELO. Every
// check reports, yet the dialogue runs to the end; a reply split over reads or
// merged with the next is judged on the text gathered so far ("2" "50").
TEST(SmtpDialogue, SendmailWritesTheWholeConversationAndReportsEachFailedCheck) {
    // A bare LF gets a CR, but "m" LF (not "M" LF) keeps its bare LF, CR LF
    // becomes CR CR LF, and the lone "." line is not stuffed.
    expect_dialogue(
        run_sendmail({"220 relay ready\r\n", "250 relay hello\r\n", "250 sender ok\r\n",
                      "250 recipient ok\r\n", "354 go ahead\r\n", "250 queued\r\n221 bye\r\n"},
                     "Dear member,\nsent from\nthe club\r\n.\nfrom M\n", "from M\r\n\r\n.\r\n"),
        "Dear member,\r\nsent from\nthe club\r\r\n.\r\nfrom M\r\n", "");
    expect_dialogue(run_sendmail({"554 busy\r\n", "451 later\r\n", "250 a\r\n", "354 b\r\n",
                                  "250 c\r\n", "221 bye\r\n"},
                                 "one\ntwo\n"),
                    "one\r\ntwo\r\n",
                    "SMTP warning, at connect got: 554 busy\r\n\r\n\r\n"
                    "SMTP problem, at send got: 451 later\r\n250 a\r\n354 b\r\n250 c\r\n\r\n\r\n"
                    "SMTP problem at disconnect, got: 221 bye\r\n\r\n\r\n");
    expect_dialogue(run_sendmail({"220 hi\r\n250 hello\r\n", "2", "50 sender ok\r\n",
                                  "250 rcpt ok\r\n354 go\r\n", "250 queued\r\n", "250 ok\r\n"},
                                 "x\n"),
                    "x\r\n", "");
    expect_dialogue(
        run_sendmail({"220 hi\r\n", "5", "50 no\r\n", "250 late\r\n", "354 go\r\n", "250 bye\r\n"},
                     "x\n"),
        "x\r\n", "SMTP problem, at send got: 550 no\r\n250 late\r\n354 go\r\n\r\n\r\n");
}

TEST(SmtpMessage, DateLineKeepsTheMarkerOnTheTwentyFourHourClock) {
    const std::tuple<time_t, const char *, const char *> cases[] = {
        {1118145600 - 1, "Tue, 07 Jun 2005", "11:59:59 AM"},
        {1118145600, "Tue, 07 Jun 2005", "12:00:00 PM"},
        {1135987199, "Fri, 30 Dec 2005", "23:59:59 PM"},
        {951782400 + 3723, "Tue, 29 Feb 2000", "01:02:03 AM"}};
    setenv("TZ", "America/Denver", 1); // the machine's zone plays no part
    tzset();
    for (auto [when, day, hour] : cases) {
        char date[100], timeText[100];
        smtp_format_date(when, date, sizeof date, timeText, sizeof timeText);
        EXPECT_EQ(std::string(date) + " " + timeText, std::string(day) + " " + hour);
    }
    unsetenv("TZ");
    tzset();
}

TEST(SmtpDialogue, FailuresBeforeTheDialogueOnlyReport) {
    // A port nobody listens on: the connect fails and nothing else happens.
    unsigned short port = 0;
    close(loopback_socket(false, port));
    std::string closed = "127.0.0.1:" + std::to_string(port);
    bool result = true;
    EXPECT_EQ(output_of([&] {
                  result = sendmail(TO, TO, "s", "b\n", "VARNOK", FROM, FROM, closed.c_str());
              }),
              "Invalid socket\r\n");
    EXPECT_FALSE(result);

    Smtp mail;
    EXPECT_EQ(output_of([&] { result = mail.Send() || mail.Disconnect(); }),
              "Please specifiy a sender email address\r\nNot connected to server!\r\n");
    EXPECT_FALSE(result);
    mail.SetSenderEmail(FROM);
    EXPECT_FALSE(mail.AddRecipient("", "nobody"));
    EXPECT_EQ(output_of([&] { result = mail.Send(); }),
              "Please add a message recipient!\r\nFailed to format message header\r\n");
    EXPECT_FALSE(result);
}
