// A file step failing under "Remember" leaves each history file as it was to the byte and the
// temporary file with every line typed.
#include <cstdio>
#include <functional>

#include "db/db_fixture.h"
#include "entry/entry.h"

namespace {

const char *const kPrices =
    "$PRICE\tASK21\t1\n\tDEFAULT\t42.000\n"
    "$PRICE\t100\t0\n\tDEFAULT\t4.000\n"
    "$PRICE\tDEFAULT-TOWHEIGHT\t0\n\tDEFAULT\t2.000\n$GAS_GRADE\t100\n$TUG\tPAWNEE\n";
const char *const kCustomers = "SMITH\tJOHN\nCREDIT\tDEFAULT\n-No Phones\nMember\n-No #\n"
                               "-No spouse name\n-No Flags\n-No eMail\n-No Address\n";

struct Dialogue {
    const char *name;
    std::function<void()> run;
    const char *history;
    const char *temporary;
    const char *old;   // the history before
    const char *input; // ends with the yes to "Remember"
    const char *typed; // what the temporary file must hold
};

const Dialogue kDialogues[] = {
    {"flights", [] { do_flights(true); }, "VNKFLGHT.HIS", "VNKFLGHT.TMP",
     "$VERSION 2\n6-1-2005\t1\tSMITH,JOHN\tASK21\tSMITH\tO\t\t\tTB\tPAWNEE\t2.0\t10:00\t10:30\t\n",
     "6-5-2005\n\nSMITH\nASK21\n\n\n\nTB\nPAWNEE\n\n10:00\n10:30\n\n0\nYES\n",
     "$VERSION 2\n!Date\tNumber\tAccount\t\tPlane\tPilot\tType\tCFI\tPass\n"
     "6-5-2005\t1\tSMITH,JOHN\tASK21\tSMITH\tO\t\t\tTB\tPAWNEE\t2.0\t10:00\t10:30\t\n"},
    {"fuel", [] { do_gas(); }, "VNKGAS.HIS", "VNKGAS.TMP",
     "$VERSION 2\n$MISC\n6-1-2005\t1\t1\tSMITH,JOHN\tN\t4500\tMonthly dues\n",
     "3\n\n6-5-2005\n\n10\nN1\n\nSMITH\n\n0\nYES\n",
     "$VERSION 2\n$GAS\n!Date\t\tSheet\tLine\tAccount\t\tCents\tGrade\tGallons\tPlane\tPilot\n"
     "6-5-2005\t3\t1\tSMITH,JOHN\t4000\t100\t10.0\tN1\tSMITH\n"},
    {"misc", [] { do_misc(true); }, "VNKGAS.HIS", "VNKGAS.TMP",
     "$VERSION 2\n$MISC\n6-1-2005\t1\t1\tSMITH,JOHN\tN\t4500\tMonthly dues\n",
     "NO\n4\n\n6-5-2005\nSMITH\n12.50\nTie-down\nNO\n\n0\nYES\n",
     "$VERSION 2\n$MISC\n!Date\t\tSheet\tLine\tAccount\t\tTax\tCents\tCharge (credit) is for\n"
     "6-5-2005\t4\t1\tSMITH,JOHN\tN\t1250\tTie-down\n"},
    {"payments", [] { do_payments(); }, "VNKPMNT.HIS", "VNKPMNT.TMP",
     "$VERSION 3\n$PAYMENTS\n6-1-2005\t8800\t1\tSMITH,JOHN\tdues\n",
     "\n6-5-2005\nSMITH\n77\n10.00\non account\n\n0\nYES\n",
     "$VERSION 3\n$PAYMENTS\n!Date\tCents\tCheck\tAccount\t\tNote\n"
     "6-5-2005\t1000\t77\tSMITH,JOHN\ton account\n"},
};

class RememberTest : public DbTest, public testing::WithParamInterface<Dialogue> {
  protected:
    void SetUp() override {
        DbTest::SetUp();
        entry_reset();
        write_masters(kPrices, kCustomers);
    }

    // Runs the dialogue in a child, after `prepare` (a fault); what it printed ends with "steps N",
    // the file steps it took.
    static ChildRun run_dialogue(const Dialogue &d, const std::string &input,
                                 const std::function<void()> &prepare) {
        return run_in_child(
            [&] {
                file_fault_at(0, FileFault::NONE);
                prepare();
                d.run();
                printf("steps %ld\n", file_steps_taken());
                return true;
            },
            input.c_str());
    }

    static long steps_of(const ChildRun &child) {
        size_t at = child.out.rfind("steps ");
        return at == std::string::npos ? -1 : atol(child.out.c_str() + at + 6);
    }
};

TEST_P(RememberTest, AFailureOrCrashAtAnyStepLosesNothing) {
    const Dialogue &d = GetParam();
    const std::string old = d.old;
    const std::string previous = "$VERSION 2\n! lines of an earlier run\n";
    std::string declined = d.input;
    declined.replace(declined.rfind("YES"), 3, "NO");
    write_file(d.history, old);
    long typed_steps = steps_of(run_dialogue(d, declined, [] {}));
    std::remove(d.temporary);
    ChildRun whole = run_dialogue(d, d.input, [] {});
    long all_steps = steps_of(whole);
    EXPECT_EQ(read_file(d.history), old + d.typed) << whole.out;
    EXPECT_EQ(read_file(d.temporary), d.typed);
    ASSERT_GT(typed_steps, 0);
    ASSERT_GT(all_steps, typed_steps) << "Remember takes no file steps";
    RecordProperty("remember_steps", (int)(all_steps - typed_steps));

    for (long step = 1; step <= all_steps; step++) {
        for (FileFault fault : {FileFault::FAIL, FileFault::EXIT}) {
            bool typing = step <= typed_steps;
            if (typing && fault == FileFault::EXIT)
                continue;
            SCOPED_TRACE((fault == FileFault::FAIL ? "failed step " : "crash at step ") +
                         std::to_string(step));
            write_file(d.history, old);
            std::remove(d.temporary);
            if (typing)
                write_file(d.temporary, previous);
            ChildRun child = run_dialogue(d, d.input, [=] { file_fault_at(step, fault); });
            // A kill after the rename may leave the history whole, a failure never.
            std::string after = read_file(d.history);
            EXPECT_TRUE(after == old || (fault == FileFault::EXIT && after == old + d.typed))
                << child.out;
            EXPECT_EQ(child.status, fault == FileFault::FAIL ? 0 : kFileFaultExitStatus);
            EXPECT_EQ(read_file(d.temporary), typing ? previous : d.typed);
            // A temporary file that could not be written is reported, and not remembered.
            EXPECT_TRUE(!typing || (!has(child.out, "Remember") && has(child.out, "? Unable to")))
                << child.out;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(EveryHistory, RememberTest, testing::ValuesIn(kDialogues),
                         [](const testing::TestParamInfo<Dialogue> &param) {
                             return std::string(param.param.name);
                         });

} // namespace
