// The longest values the editors accept, all at once, come back whole from the files SAVE writes.
// And the fast-key table follows a key moved by CHANGE PRICE, which no transcript shows.
#include <cstdint>
#include <string>

#include "db/db_fixture.h"
#include "maint/maint.h"

namespace {

class EditLimitsTest : public DbTest {
  protected:
    // SAVE, then the next start: what the reading said.
    static std::string save_and_reload() {
        db.price_changed = db.abbrev_changed = db.cust_changed = db.balances_changed = 1;
        output_of(do_save);
        fresh_start();
        return output_of([] { maybe_read(); });
    }
};

TEST_F(EditLimitsTest, CustomerAtEveryLimitReadsBackWhole) {
    write_masters("", "");
    const std::string first(93, 'F'), last(CUSTOMER_NAMES_MAX - 93, 'L');
    const std::string cat(CATEGORY_NAME_MAX, 'C'), prior(CATEGORY_NAME_MAX, 'P');
    const std::string flag1(100, 'A'), flag2(DATA_LINE_MAX - 101, 'B');
    const std::string line(DATA_LINE_MAX, 'x');
    // Three phones, each followed by a tab, fill a line exactly.
    // ("011" makes a number valid as typed.)
    const std::string phones[3] = {"011 " + std::string(62, '1'), "011 " + std::string(62, '2'),
                                   "011 " + std::string(61, '3')};

    customer *c = fc_cust(last.c_str(), first.c_str(), true);
    c->category = fc_category(cat.c_str());
    c->priorCategory = fc_category(prior.c_str());
    c->transitionDate = i_convertDateToTime("12-31-2054");
    c->balance = INT32_MIN;
    for (int i = 0; i < 3; i++) {
        ASSERT_TRUE(phones_fit(c, i, phones[i].c_str()));
        update_phone(c, phones[i].c_str(), i);
    }
    for (int i = 0; i < 4; i++)
        update_address(c, line.c_str(), i);
    for (char **field : {&c->info, &c->contestNumber, &c->spouse, &c->eMail})
        replace_str(field, line.c_str());
    fc_customer_flag(c, flag1.c_str(), true);
    ASSERT_TRUE(flags_fit(c, flag2.c_str()));
    fc_customer_flag(c, flag2.c_str(), true);

    std::string out = save_and_reload();
    EXPECT_FALSE(has(out, "?")) << out;
    c = fc_cust(last.c_str(), first.c_str(), false);
    ASSERT_NE(c, nullptr);
    ASSERT_TRUE(c->next == nullptr && c->flags != nullptr && c->flags->next != nullptr);
    const std::vector<std::string> fields = {
        c->category,         c->priorCategory, i_convertTimeToString(c->transitionDate),
        c->phone[0],         c->phone[1],      c->phone[2],
        c->addr[0],          c->addr[1],       c->addr[2],
        c->addr[3],          c->info,          c->contestNumber,
        c->spouse,           c->eMail,         c->flags->name,
        c->flags->next->name};
    EXPECT_TRUE(fields == std::vector<std::string>({cat, prior, "12-31-2054", phones[0], phones[1],
                                                    phones[2], line, line, line, line, line, line,
                                                    line, line, flag1, flag2}));
    EXPECT_EQ(c->balance, INT32_MIN);

    // One character more is refused at the prompt.
    output_of([&] {
        EXPECT_FALSE(phones_fit(c, 2, (phones[2] + "3").c_str()));
        EXPECT_FALSE(flags_fit(c, "Z"));
        EXPECT_FALSE(field_ok("x", (line + "x").c_str(), DATA_LINE_MAX, FIELD_PLAIN));
    });
}

TEST_F(EditLimitsTest, PricesSettingsAndAbbreviationsAtTheirLimitsReadBackWhole) {
    write_masters("", "");
    const std::string item(ITEM_NAME_MAX, 'I'), cat(CATEGORY_NAME_MAX, 'C'),
        grade(GRADE_NAME_MAX, 'G');
    const std::string server(EMAIL_WORD_MAX, 'S'), sender(EMAIL_WORD_MAX, 'E');
    const std::string subject = "Your " + std::string(EMAIL_SUBJECT_MAX - 5, 's');
    const std::string key(DATA_LINE_MAX - 3 - 1 - 20, 'K'), abbr_last(20, 'L');

    price *p = fc_item(item.c_str());
    p->fastkey = INT32_MIN;
    set_price(p, cat.c_str(), INT32_MIN, 0);
    fc_gas_grade(grade.c_str(), true);
    replace_str(&db.emailServer, server.c_str());
    replace_str(&db.emailSender, sender.c_str());
    replace_str(&db.emailSubject, subject.c_str());
    fc_abbrev(key.c_str(), abbr_last.c_str(), "F", true);

    std::string out = save_and_reload();
    EXPECT_FALSE(has(out, "?")) << out;
    abbrev *a = fc_abbrev(key.c_str(), nullptr, nullptr, false);
    ASSERT_TRUE(!db.price_list.empty() && a != nullptr);
    EXPECT_NE(fc_gas_grade(grade.c_str(), false), nullptr);
    EXPECT_EQ(
        std::pair(db.price_list.head()->fastkey, lookup_rate(item.c_str(), cat.c_str(), false)),
        std::pair(INT32_MIN, INT32_MIN));
    EXPECT_EQ((std::vector<std::string>{db.price_list.head()->name, db.emailServer, db.emailSender,
                                        db.emailSubject, a->lastname, a->firstname}),
              (std::vector<std::string>{item, server, sender, subject, abbr_last, "F"}));
}

TEST_F(EditLimitsTest, FastKeyTableFollowsAMovedKey) {
    write_masters("$PRICE\tASK21\t1\n\tDEFAULT\t42.000\n$"
                  "PRICE\tDISCUS\t3\n\tDEFAULT\t48.000\n"
                  "$PRICE\tHOOKUP\t0\n\tDEFAULT\t22.000\n",
                  "");
    output_of([] { maybe_read(); });
    ASSERT_STREQ(db.nnumbers[0], "ASK21");
    ASSERT_STREQ(db.nnumbers[2], "DISCUS");

    // ASK21 gives key 1 up for 12 (stored though out of range), HOOKUP
    // takes it, DISCUS drops its key.
    feed_input("ASK21\n12\n\n\nHOOKUP\n1\n\n\nDISCUS\n0\n\n\n");
    std::string out = output_of([] {
        add_price();
        add_price();
        add_price();
    });
    EXPECT_FALSE(has(out, "? ")) << out;
    EXPECT_EQ(fc_item("ASK21")->fastkey, 12);
    EXPECT_STREQ(db.nnumbers[0], "HOOKUP");
    EXPECT_EQ(db.nnumbers[2], nullptr);
    EXPECT_TRUE(db.price_changed);
}

} // namespace
