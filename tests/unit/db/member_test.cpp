#include <string>

#include "db/db_fixture.h"

namespace {

std::string contents(FILE *file) {
    std::string text(static_cast<size_t>(ftell(file)), '\0');
    rewind(file);
    EXPECT_EQ(fread(text.data(), 1, text.size(), file), text.size());
    fclose(file);
    return text;
}

// What w_mbr wrote into a scratch file; the console must stay silent.
std::string summary(const customer *c, bool full) {
    FILE *file = tmpfile();
    EXPECT_EQ(output_of([&] { w_mbr(c, full, file); }), "");
    EXPECT_EQ(get_o_file(), stdout);
    return contents(file);
}

using MemberTest = DbTest;

TEST_F(MemberTest, ShortAndFullForms) {
    customer *c = fc_cust("ADAMS", "AL", true);
    c->category = fc_category("FULL");
    c->priorCategory = fc_category("JUNIOR");
    c->transitionDate = (int32_t)i_convertDateToTime("6-7-2005");
    fc_customer_flag(c, "TOWPILOT", true);
    fc_customer_flag(c, "BOARD", true);
    for (auto [field, text] : {std::pair{&c->info, "Glider pilot"},
                               {&c->spouse, "Mary"},
                               {&c->contestNumber, "AL"},
                               {&c->eMail, "al@example.com"},
                               {&c->phone[0], "555-1111"},
                               {&c->phone[2], "555-3333"},
                               {&c->addr[0], "1 Main St"},
                               {&c->addr[2], "Springfield, MA 01101"}})
        replace_str(field, text);
    EXPECT_EQ(summary(c, true), "ADAMS, AL\t\tFULL\tCredit\n"
                                "    Flags: BOARD  TOWPILOT\n"
                                "\t\tWas JUNIOR before 6-7-2005\n"
                                "    Info: Glider pilot\n"
                                "    Spouse: Mary\n"
                                "    Contest Number: AL\n"
                                "    eMail: al@example.com\n"
                                "    Home:  555-1111\n"
                                "    Local:  555-3333\n"
                                "\t1 Main St\n"
                                "\tSpringfield, MA 01101\n"
                                "\n");
    c->cash = 1;
    EXPECT_EQ(summary(c, false), "ADAMS, AL\t\tFULL\tCash\n    Flags: BOARD  TOWPILOT\n");

    // Printed past the formatter: a pending report line stays pending and
    // the printer's carriage returns are not added.
    FILE *file = tmpfile();
    bool returns = set_insertReturn(true);
    std::string console = output_of([&] {
        o_lstring("Report:", 0, false);
        w_mbr(c, false, file);
        o_newline(0);
    });
    set_insertReturn(returns);
    EXPECT_EQ(console, "Report:\r\n");
    EXPECT_EQ(contents(file), "ADAMS, AL\t\tFULL\tCash\n    Flags: BOARD  TOWPILOT\n");

    // Without a first address line the others are not shown; a prior
    // category without a date is not shown either.
    replace_str(&c->addr[0], "");
    c->transitionDate = 0;
    replace_str(&c->info, "");
    std::string text = summary(c, true);
    EXPECT_FALSE(has(text, "Was") || has(text, "Info"));
    EXPECT_TRUE(has(text, "    Local:  555-3333\n    No Address\n\n"));
    EXPECT_EQ(summary(nullptr, true), "No customer.\n");

    // No file writes nothing; the flags alone go to the current output.
    EXPECT_EQ(output_of([&] {
                  w_mbr(c, true, nullptr);
                  w_mbr_flags(c);
                  o_newline(0);
              }),
              "BOARD  TOWPILOT\n");
}

} // namespace
