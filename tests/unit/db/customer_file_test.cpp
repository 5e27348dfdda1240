#include <string>
#include <vector>

#include "customers_fixture.h"

namespace {

using CustomerFileTest = CustomerDbTest;

const char *const kCanonical = "$VERSION 6\n"
                               "ADAMS\tAL\n"
                               "CREDIT\tFULL\tJUNIOR\t1-1-2006\n"
                               "(617)555-1212\t555-2222\t555-3333\t\n"
                               "Glider pilot since 1990\n"
                               "AL-1\n"
                               "Mary Adams\n"
                               "BOARD\tINSTRUCTOR\n"
                               "al@example.com\n"
                               "1 Main St\n"
                               "Apt 2\n"
                               "Springfield, MA 01101\n"
                               "USA\n"
                               "\n"
                               "CASH\t\n"
                               "CASH\tCASH\n"
                               "-No Phones\n"
                               "-No Info\n"
                               "-No #\n"
                               "-No spouse name\n"
                               "-No Flags\n"
                               "-No eMail\n"
                               "-No Address\n"
                               "\n"
                               "ZED\tZOE\n"
                               "CREDIT\tDEFAULT\n"
                               "555-1212\t\n"
                               "-No Info\n"
                               "-No #\n"
                               "-No spouse name\n"
                               "TOWPILOT\n"
                               "-No eMail\n"
                               "9 Elm\n"
                               "\n";

std::string read_customers() {
    start_capture();
    do_r_cust();
    return end_capture();
}

TEST_F(CustomerFileTest, Version6RoundTripIsByteExact) {
    write_file("VNKCUST.DAT", kCanonical);
    write_file("VNKBAL.DAT", "$VERSION 1\nADAMS\tAL\t1500\n");
    std::string out = read_customers();
    EXPECT_EQ(out, "Reading customer file: \"VNKCUST.DAT\"\n"
                   "Reading account balances file: \"VNKBAL.DAT\"\n");
    ASSERT_EQ(customer_names(), (std::vector<std::string>{"ADAMS,AL", "CASH,", "ZED,ZOE"}));

    customer *al = db.cust_list;
    EXPECT_STREQ(al->priorCategory, "JUNIOR");
    EXPECT_STREQ(i_convertTimeToString(al->transitionDate), "1-1-2006");
    EXPECT_EQ(flag_names_of(al), (std::vector<std::string>{"BOARD", "INSTRUCTOR"}));
    EXPECT_EQ(al->balance, 1500);
    EXPECT_TRUE(al->next->cash);
    EXPECT_EQ(al->next->contestNumber, nullptr);
    EXPECT_FALSE(db.cust_changed);

    start_capture();
    EXPECT_TRUE(do_w_custs());
    EXPECT_EQ(end_capture(), "Customer file is up to date.\n");

    db.cust_changed = 1;
    start_capture();
    EXPECT_TRUE(do_w_custs());
    EXPECT_EQ(end_capture(), "? No address for  CASH\n"
                             "Customer file \"VNKCUST.DAT\" written.\n");
    EXPECT_EQ(read_file("VNKCUST.DAT"), kCanonical);
    EXPECT_FALSE(db.cust_changed);
}

TEST_F(CustomerFileTest, ShortRecordsAndMissingLines) {
    write_file("VNKCUST.DAT", "$VERSION 6\n"
                              "SHORT\tSAM\n"
                              "CREDIT\tFULL\n"
                              "555-1212\n"
                              "! a comment inside the record\n"
                              "info text\n"
                              "\n"
                              "next\tned\n"
                              "FULL\n"
                              "\n"
                              "\tJOE\n"
                              "\n"
                              "LAST\tLINE\n"
                              "CASH\n"
                              "-\n"
                              "-\n"
                              "-\n"
                              "-\n"
                              "-\n"
                              "-\n"
                              "1 A St\n"
                              "2\n"
                              "3\n"
                              "4\n"
                              "5 dropped\n");
    std::string out = read_customers();
    EXPECT_EQ(out, "Reading customer file: \"VNKCUST.DAT\"\n"
                   "? Missing contest number line for \"SAM SHORT\" on line 7.\n"
                   "? Missing phone numbers for \"NED NEXT\" on line 10.\n"
                   "? Warning: missing last name on line: 11\n"
                   "    \tJOE\n"
                   "? Missing account type for \"JOE \" on line 12.\n"
                   "? Unable to read account balances file \"VNKBAL.DAT\"\n");
    EXPECT_EQ(customer_names(),
              (std::vector<std::string>{",JOE", "LAST,LINE", "NEXT,NED", "SHORT,SAM"}));
    customer *sam = fc_cust("SHORT", "SAM", false);
    EXPECT_STREQ(sam->info, "info text");
    EXPECT_STREQ(sam->phone[0], "555-1212");
    EXPECT_EQ(sam->contestNumber, nullptr);
    EXPECT_STREQ(fc_cust("", "JOE", false)->category, "MISSING");
    customer *last = fc_cust("LAST", "LINE", false);
    EXPECT_TRUE(last->cash);
    EXPECT_STREQ(last->category, "CASH");
    EXPECT_STREQ(last->addr[3], "4"); // the fifth line is dropped
    EXPECT_STREQ(last->addr[0], "1 A St");
}

TEST_F(CustomerFileTest, AccountLineForms) {
    write_file("VNKCUST.DAT", "$VERSION 4\n"
                              "A\tONE\nCASH\n-\n-\n-\n1 St\n\n"
                              "B\tTWO\nfull\n-\n-\n-\n1 St\n\n"
                              "C\tTHREE\nMEMBER FULL\n-\n-\n-\n1 St\n\n"
                              "D\tFOUR\nCREDIT full junior\n-\n-\n-\n1 St\n\n"
                              "E\tFIVE\ncredit FULL junior 1-1-2006\n555-12x\t\t555-1111\n-\n-\n"
                              "1 St\n\n");
    std::string out = read_customers();
    EXPECT_EQ(out, "Reading customer file: \"VNKCUST.DAT\"\n"
                   "? Not CREDIT or CASH \"MEMBER\" for \"THREE C\" on line 17.\n"
                   "? Bad format account type \"CREDIT full junior\" for \"FOUR D\" on line 24.\n"
                   "? Bad format phone number 555-12x on line 32\n"
                   "\t555-12x\t\t555-1111\n"
                   "? Unable to read account balances file \"VNKBAL.DAT\"\n");
    EXPECT_TRUE(fc_cust("A", "ONE", false)->cash);
    EXPECT_STREQ(fc_cust("A", "ONE", false)->category, "CASH");
    EXPECT_FALSE(fc_cust("B", "TWO", false)->cash);
    EXPECT_STREQ(fc_cust("B", "TWO", false)->category, "FULL");
    EXPECT_STREQ(fc_cust("C", "THREE", false)->category, "FULL");
    customer *d = fc_cust("D", "FOUR", false);
    EXPECT_STREQ(d->category, "CREDIT FULL JUNIOR");
    EXPECT_STREQ(d->priorCategory, "junior");
    customer *e = fc_cust("E", "FIVE", false);
    EXPECT_FALSE(e->cash);
    EXPECT_STREQ(e->priorCategory, "junior"); // case as written
    EXPECT_EQ(e->transitionDate, (int32_t)i_convertDateToTime("1-1-2006"));
    EXPECT_STREQ(e->phone[0], "555-12x"); // kept after the warning
    EXPECT_STREQ(e->phone[1], "");
    EXPECT_STREQ(e->phone[2], "555-1111");
    EXPECT_EQ(fc_category("CREDIT FULL JUNIOR"), d->category); // interned

    // Four words are an error in files older than version 4.
    db_reset();
    db.customerfile = alloc_str("VNKCUST.DAT");
    db.balancesfile = alloc_str("VNKBAL.DAT");
    write_file("VNKCUST.DAT", "$VERSION 3\nE\tFIVE\nCREDIT FULL junior 1-1-2006\n-\n-\n-\n1\n");
    out = read_customers();
    EXPECT_NE(out.find("? Extra fields found after account type on line 3.\n"
                       "    CREDIT FULL junior 1-1-2006\n"),
              std::string::npos);
    EXPECT_STREQ(fc_cust("E", "FIVE", false)->priorCategory, "junior");
}

TEST_F(CustomerFileTest, Version7AndDuplicatesAndEmptyName) {
    write_file("VNKCUST.DAT", "$VERSION 7\n"
                              "SMITH\tANN\nCREDIT\tFULL\n555-1212\t\nfirst info\n-No #\n-\n"
                              "PILOT\nann@example.com\n1 Main\n\n"
                              "smith\tann\nCASH\tFULL\n-No Phones\n-No Info\n#42\n-\n-\n-\n-\n\n"
                              "\t\tX\n"
                              "NEVER\tREAD\nCASH\n-\n-\n-\n-\n-\n-\n-\n\n");
    write_file("VNKBAL.DAT", "$VERSION 1\nSMITH\tANN\t5\n");
    std::string out = read_customers();
    EXPECT_EQ(out, "Reading customer file: \"VNKCUST.DAT\"\n"
                   "? Customer file version 7 expected version 6 or less.\n"
                   "? Customer file has version number 7 expected 6 or less.\n"
                   "? Customer \"ANN SMITH\" already exists.\n"
                   "    Customer data will be updated from input file.\n"
                   "? Error: Empty customer name on line: 22\n"
                   "    Bad format file.\n"
                   "Reading account balances file: \"VNKBAL.DAT\"\n");
    ASSERT_EQ(customer_names(), (std::vector<std::string>{"SMITH,ANN"}));
    customer *ann = db.cust_list;
    EXPECT_TRUE(ann->cash);
    EXPECT_STREQ(ann->phone[0], "555-1212");
    EXPECT_STREQ(ann->info, "first info");
    EXPECT_STREQ(ann->contestNumber, "#42");
    EXPECT_STREQ(ann->eMail, "ann@example.com");
    EXPECT_EQ(flag_names_of(ann), (std::vector<std::string>{"PILOT"}));
    EXPECT_STREQ(ann->addr[0], "1 Main");
    EXPECT_EQ(ann->balance, 5);
}

TEST_F(CustomerFileTest, OldFormatIsConverted) {
    write_file("VNKCUST.DAT", "! club members\n"
                              "SMITH,JOHN\tSFN 555-1212\n"
                              "123 Main St\tSome info\n"
                              "Springfield, MA\t555-9999\n"
                              "\n"
                              "doe, jane\tbag\n"
                              "1 Elm\t(617)555-0000\t555-1111\n"
                              "\n"
                              "\tNNN\n"
                              "X,Y\tZQ\n"
                              "\n"
                              "LONE\n");
    write_file("VNKBAL.DAT", "$VERSION 1\nSMITH\tJOHN\t5\n");
    std::string out = read_customers();
    EXPECT_EQ(out, "Reading customer file: \"VNKCUST.DAT\"\n"
                   "? Customer file is in an old format.\n"
                   "    It will read properly and be converted to the new format.\n"
                   "? Bad format, missing names on line: 9\n"
                   "    \tNNN\n"
                   "? Unrecognized FLAG1 status \"Z\"\n"
                   "? Unrecognized customer category \"Q\"\n"
                   "? Missing category for customer  LONE on line: 12.\n"
                   "    LONE\n");
    EXPECT_TRUE(db.cust_changed);

    customer *john = fc_cust("SMITH", "JOHN", false);
    ASSERT_NE(john, nullptr);
    EXPECT_TRUE(john->shareholder);
    EXPECT_FALSE(john->boardmember);
    EXPECT_FALSE(john->cash);
    EXPECT_STREQ(john->category, "FULL");
    EXPECT_EQ(flag_names_of(john), (std::vector<std::string>{"FLAG1"}));
    EXPECT_EQ(john->balance, 0); // balances are not read with an old file

    customer *jane = fc_cust("DOE", "JANE", false);
    ASSERT_NE(jane, nullptr);
    EXPECT_TRUE(jane->granite);
    EXPECT_STREQ(jane->category, "ASSOCIATE");
    EXPECT_EQ(flag_names_of(jane), (std::vector<std::string>{"FLAG1", "FLAG2", "GRANITE"}));
    EXPECT_STREQ(jane->phone[0], "(617)555-0000");
    EXPECT_STREQ(jane->phone[1], "555-1111");
    EXPECT_STREQ(fc_cust("X", "Y", false)->category, "DEFAULT");

    start_capture();
    EXPECT_TRUE(do_w_custs());
    end_capture();
    std::string text = read_file("VNKCUST.DAT");
    EXPECT_EQ(text.substr(0, 11), "$VERSION 6\n");
    EXPECT_NE(text.find("SMITH\tJOHN\n"
                        "CREDIT\tFULL\n"
                        "555-1212\t555-9999\t\n"
                        "Some info\n"
                        "-No #\n"
                        "-No spouse name\n"
                        "FLAG1\n"
                        "-No eMail\n"
                        "123 Main St\n"
                        "Springfield, MA\n"
                        "\n"),
              std::string::npos);
}

TEST_F(CustomerFileTest, WriterPlaceholdersAndFailures) {
    customer *c = fc_cust("GAPS", "GUS", true);
    replace_str(&c->phone[1], "555-2222");
    db.cust_changed = 1;
    start_capture();
    EXPECT_TRUE(do_w_custs());
    EXPECT_EQ(end_capture(), "? No address for GUS GAPS\n"
                             "Customer file \"VNKCUST.DAT\" written.\n");
    EXPECT_EQ(read_file("VNKCUST.DAT"), "$VERSION 6\nGAPS\tGUS\nCREDIT\tDEFAULT\n-No Phones\n"
                                        "-No Info\n-No #\n-No spouse name\n-No Flags\n"
                                        "-No eMail\n-No Address\n\n");

    // Empty middle phones and address lines close up.
    replace_str(&c->phone[0], "555-1111");
    replace_str(&c->phone[1], "");
    replace_str(&c->phone[2], "555-3333");
    replace_str(&c->addr[0], "1 A St");
    replace_str(&c->addr[2], "Town");
    db.cust_changed = 1;
    start_capture();
    EXPECT_TRUE(do_w_custs());
    end_capture();
    EXPECT_NE(read_file("VNKCUST.DAT").find("555-1111\t555-3333\t\n"), std::string::npos);
    EXPECT_NE(read_file("VNKCUST.DAT").find("-No eMail\n1 A St\nTown\n\n"), std::string::npos);

    std::string before = read_file("VNKCUST.DAT");
    replace_str(&db.customerfile, "absent/VNKCUST.DAT");
    db.cust_changed = 1;
    start_capture();
    EXPECT_FALSE(do_w_custs());
    EXPECT_EQ(end_capture(), "? Unable to open customer file \"absent/VNKCUST.DAT\"\n");
    EXPECT_TRUE(db.cust_changed);

    start_capture();
    do_r_cust();
    EXPECT_EQ(end_capture(), "? Unable to read customer file \"absent/VNKCUST.DAT\"\n");
}

TEST_F(CustomerFileTest, PhoneChecksAndUpdates) {
    start_capture();
    warn_phone("(617) 555-1212 X 23", "line one", 3);
    warn_phone("011 44 20 1234", "line two", 4);
    warn_phone("555-CALL", "line three", 5);
    EXPECT_EQ(end_capture(), "? Bad format phone number 555-CALL on line 5\n\tline three\n");

    customer *c = fc_cust("SMITH", "ANN", true);
    EXPECT_TRUE(update_phone(c, "555-1212", 2));
    EXPECT_FALSE(update_phone(c, "555-1212", 2));
    EXPECT_FALSE(update_phone(c, "555-1212", 3));
    EXPECT_TRUE(update_address(c, "1 Main", 3));
    EXPECT_FALSE(update_address(c, "x", 4));
    EXPECT_STREQ(c->phone[2], "555-1212");
    EXPECT_STREQ(c->addr[3], "1 Main");
}

} // namespace
