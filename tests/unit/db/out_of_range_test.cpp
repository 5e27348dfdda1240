// Numbers too large for the 32-bit fields are reported with their line and left at the default,
// never wrapped; the largest values that fit read exactly.
#include "db_fixture.h"

namespace {

int count(const std::string &text, const std::string &part) {
    int n = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        n++;
    return n;
}

class OutOfRangeTest : public DbTest {
  protected:
    void SetUp() override {
        DbTest::SetUp();
        write_masters("", customer_record("LEE\tAL"));
    }
    static customer *lee() { return fc_cust("LEE", "AL", false); }

    // What reading every file of the club printed.
    static std::string read_everything() {
        return output_of([] {
            maybe_read();
            do_r_flights(false);
            do_r_gas(false);
            do_r_payments(false);
            do_r_balances();
        });
    }
};

TEST_F(OutOfRangeTest, PricesRefuseCostsBeyondTheMillsField) {
    write_file("VNKPRICE.DAT", "$VERSION 2\n$PRICE\tTOW\t0\n"
                               "\tA\t2147483.647\n\tB\t-2147483.648\n"     // the limits
                               "\tC\t2147483.648\n\tD\t9223372036854776\n" // one past, magnitude
                               "\tE\t-9223372036854775808\n\tF\t-2147483.649\n");
    std::string out = output_of([] { maybe_read(); });
    for (int line = 5; line <= 8; line++)
        EXPECT_TRUE(has(out, "? Bad format price on line: " + std::to_string(line) + "\n")) << out;
    EXPECT_FALSE(has(out, "on line: 3\n") || has(out, "on line: 4\n")) << out;
    std::string stored; // the newest first
    for (category *c = fc_item("TOW")->cat; c != nullptr; c = c->next)
        stored += std::string(c->name) + "=" + std::to_string(c->cost) + " ";
    EXPECT_EQ(stored, "B=" + std::to_string(INT32_MIN) + " A=" + std::to_string(INT32_MAX) + " ");
}

TEST_F(OutOfRangeTest, HistoryAndPaymentNumbersAreReportedNotWrapped) {
    write_file("VNKFLGHT.HIS",
               "$VERSION 2\n"
               "6-3-2005\t4294967297\tLEE,AL\tN9\tAL\tO\t\t\tTP\tPAWNEE\t2\t9:00\t9:45\n"
               "6-3-2005\t2147483647\tLEE,AL\tN9\tAL\tO\t\t\tTP\tPAWNEE\t2\t153722867280912931:00"
               "\t9:45\n"
               "6-3-2005\t7\tLEE,AL\tN9\tAL\tO\t\t\tTP\tPAWNEE\t2\t35791394:07\t9:45\n"
               "6-3-2005\t8\t#4294967297\tN9\tAL\tO\t\t\tTP\tPAWNEE\t2\t9:00\t9:45\n"
               "6-3-2005\t9\t#2147483647\tN9\tAL\tO\t\t\tTP\tPAWNEE\t2\t9:00\t9:45\n");
    write_file("VNKGAS.HIS", "$VERSION 2\n$MISC\n"
                             "6-1-2005\t1\t1\tLEE,AL\tY\t2147483648\tTie\n"
                             "6-1-2005\t4294967297\t2\tLEE,AL\tY\t-2147483648\tTie\n"
                             "$GAS\n6-3-2005\t2\t1\tLEE,AL\t3075\t100\t214748364.8\tN1\tJ\n"
                             "6-3-2005\t2\t2\tLEE,AL\t3075\t100\t214748364.7\tN1\tJ\n");
    write_file("VNKPMNT.HIS", "$VERSION 3\n$PAYMENTS\n"
                              "6-4-2005\t2147483648\t4294967297\tLEE,AL\tx\n"
                              "6-4-2005\t2147483647\t-2147483648\tLEE,AL\ty\n");
    write_file("VNKBAL.DAT", "$VERSION 1\nLEE\tAL\t-2147483649\n");
    std::string out = read_everything();
    for (const char *message : {
             "? Looking for flight number on line 2. Got \"4294967297\"\n",
             "? Bad start time \"153722867280912931:00\" on line 3.",
             "? Bad receipt number \"#4294967297\" on line 5.\n",
             "? Unable to find charge on line 3 in \"VNKGAS.HIS\"\n",
             "? Looking for sheet number on line 4. Got \"4294967297\"\n",
             "? Unable to find gallons on line 6 in \"VNKGAS.HIS\"\n",
             "? Can not find payment amount on line 3:",
             "? Can not find payment check number on line 3:",
             "? Can not find account balance on line 2:",
         })
        EXPECT_TRUE(has(out, message)) << message << "\n" << out;
    EXPECT_FALSE(has(out, "on line 7 in")) << out;    // 214748364.7 gallons still fit
    EXPECT_FALSE(has(out, "time \"35791394")) << out; // 2147483647 minutes fit

    // Each record's fields, largest values and defaults alike.
    const customer *c = lee(), *cash = fc_cust("CASH", "", false);
    ASSERT_TRUE(c != nullptr && cash != nullptr);
    std::string got = "balance " + std::to_string(c->balance);
    for (const flight *f : c->flights)
        got += " | flight " + std::to_string(f->number) + " " + std::to_string(f->start);
    for (const misc *m : c->misc)
        got += " | misc " + std::to_string(m->charge) + " " + std::to_string(m->sheet);
    for (const gas *g : c->gas)
        got += " | gallons " + std::to_string(g->gallons);
    for (const payment *p : c->payments)
        got += " | paid " + std::to_string(p->amount) + " " + std::to_string(p->check);
    for (const flight *f : cash->flights)
        got += " | receipt " + std::to_string(f->invoice);
    EXPECT_EQ(got, "balance 0 | flight -1 540 | flight 2147483647 0 | flight 7 2147483647 | misc 0 "
                   "1 | misc -2147483648 -1 | gallons 0 | gallons 2147483647 | paid 0 0 | paid "
                   "2147483647 -2147483648 | receipt 0 | receipt 2147483647");
}

TEST_F(OutOfRangeTest, VersionsAndFastKeysBeyondTheirFieldsAreReportedNotWrapped) {
    // 4294967298 would be read as version 2, 4294967297 as fast key 1.
    const char *huge = "4294967298";
    write_file("VNKPRICE.DAT", std::string("$VERSION ") + huge +
                                   "\n$PRICE\tASK21\t4294967297\n$PRICE\tDISCUS\t2\n");
    for (const char *name :
         {"VNKABBRV.DAT", "VNKBAL.DAT", "VNKFLGHT.HIS", "VNKGAS.HIS", "VNKPMNT.HIS"})
        write_file(name, std::string("$VERSION ") + huge + "\n");
    std::string out = read_everything();
    EXPECT_EQ(count(out, "? Bad version number on line 1.\n"), 4) << out; // prices, abbrevs,
                                                                          // balances, payments
    EXPECT_EQ(count(out, "? Expected version number 2 found 2147483647.\n"), 2) << out;
    EXPECT_TRUE(has(out, "? Illegal format line 2: $PRICE\tASK21\t4294967297\n")) << out;
    ASSERT_TRUE(db.nnumbers[0] == nullptr && db.nnumbers[1] != nullptr);
    EXPECT_STREQ(db.nnumbers[1], "DISCUS");

    write_file("VNKCUST.DAT", std::string("$VERSION ") + huge + "\nLEE\tAL\n");
    fresh_start();
    out = output_of([] { maybe_read(); });
    EXPECT_TRUE(has(out, "? Customer file version 2147483647 expected version")) << out;
}

} // namespace
