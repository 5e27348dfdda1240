#include <string>

#include "db/db.h"
#include "reports/reports.h"
#include "testutil.h"

namespace {

class MemberTest : public TempDirTest {
  protected:
    void SetUp() override {
        TempDirTest::SetUp();
        db_reset();
        set_o_file(stdout);
    }
    void TearDown() override {
        db_reset();
        TempDirTest::TearDown();
    }

    // What w_mbr wrote into a scratch file; the console must stay silent.
    static std::string summary(const customer *c, bool full) {
        FILE *file = tmpfile();
        EXPECT_NE(file, nullptr);
        start_capture();
        w_mbr(c, full, file);
        EXPECT_EQ(end_capture(), "");
        EXPECT_EQ(get_o_file(), stdout);
        rewind(file);
        std::string text;
        char buffer[512];
        for (size_t n; (n = fread(buffer, 1, sizeof buffer, file)) > 0;)
            text.append(buffer, n);
        fclose(file);
        return text;
    }
};

TEST_F(MemberTest, ShortAndFullForms) {
    customer *c = fc_cust("ADAMS", "AL", true);
    c->category = fc_category("FULL");
    c->priorCategory = fc_category("JUNIOR");
    c->transitionDate = (int32_t)i_convertDateToTime("6-7-2005");
    fc_customer_flag(c, "TOWPILOT", true);
    fc_customer_flag(c, "BOARD", true);
    replace_str(&c->info, "Glider pilot");
    replace_str(&c->spouse, "Mary");
    replace_str(&c->contestNumber, "AL");
    replace_str(&c->eMail, "al@example.com");
    replace_str(&c->phone[0], "555-1111");
    replace_str(&c->phone[2], "555-3333");
    replace_str(&c->addr[0], "1 Main St");
    replace_str(&c->addr[2], "Springfield, MA 01101");

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

    // Without a first address line the others are not shown; a prior
    // category without a date is not shown either.
    replace_str(&c->addr[0], "");
    c->transitionDate = 0;
    replace_str(&c->info, "");
    std::string text = summary(c, true);
    EXPECT_EQ(text.find("Was"), std::string::npos);
    EXPECT_EQ(text.find("Info"), std::string::npos);
    EXPECT_NE(text.find("    Local:  555-3333\n    No Address\n\n"), std::string::npos);
}

TEST_F(MemberTest, NoCustomerNoFileAndFlagsAlone) {
    EXPECT_EQ(summary(nullptr, true), "No customer.\n");
    customer *c = fc_cust("X", "Y", true);
    for (const char *flag : {"B", "A", "C"})
        fc_customer_flag(c, flag, true);
    start_capture();
    w_mbr(c, true, nullptr);
    w_mbr_flags(c); // to the current output, line left open
    o_newline(0);
    EXPECT_EQ(end_capture(), "A  B  C\n");
    EXPECT_EQ(get_o_file(), stdout);
}

} // namespace
