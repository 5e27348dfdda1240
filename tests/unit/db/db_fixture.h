// A clean database in a fresh working directory, every file named as at
// start-up, and builders for the few records the list tests need.
#pragma once

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "db/db.h"
#include "testutil.h"

class DbTest : public TempDirTest {
  protected:
    void SetUp() override {
        TempDirTest::SetUp();
        fresh_start();
    }

    void TearDown() override {
        db_reset();
        TempDirTest::TearDown();
    }

    // A start afresh, as the program's next run would begin.
    static void fresh_start() {
        db_reset();
        db_init();
    }

    // The four master files, each with its version line before the lines given.
    static void write_masters(const std::string &prices, const std::string &customers,
                              const std::string &abbrevs = "", const std::string &balances = "") {
        write_file("VNKPRICE.DAT", "$VERSION 2\n" + prices);
        write_file("VNKCUST.DAT", "$VERSION 6\n" + customers);
        write_file("VNKABBRV.DAT", "$VERSION 1\n" + abbrevs);
        write_file("VNKBAL.DAT", "$VERSION 1\n" + balances);
    }

    // Lee and Smith on credit accounts, one hook-up price, Lee's balance line as given.
    static void write_two_member_masters(const std::string &balances) {
        write_masters("\n$PRICE\tHOOKUP\t0\n\tDEFAULT\t10.000\n\n",
                      customer_record("LEE\tAL") + customer_record("SMITH\tJOHN", "CREDIT\tFULL"),
                      "", balances);
    }

    // Smith's misc charge already exported and his fuel sale of the period.
    static void write_two_member_gas() {
        write_file("VNKGASQU.HIS", "$VERSION 2\n$MISC\n6-1-2005\t1\t1\tSMITH,JOHN\tY\t1500\tTie\n");
        write_file("VNKGAS.HIS",
                   "$VERSION 2\n$GAS\n6-3-2005\t2\t1\tSMITH,JOHN\t3075\t100\t12.3\tN1\tJ\n");
    }

    // The two members' period with records in every history file and companion; the day sheet's
    // second flight names `second` as account, plane and pilot.
    static void lay_out_two_member_period(const std::string &second) {
        for (const auto &e : std::filesystem::directory_iterator("."))
            std::filesystem::remove_all(e.path());
        write_two_member_masters("LEE\tAL\t-1200\n");
        write_file("VNKFLGQU.HIS",
                   "$VERSION 2\n6-2-2005\t1\tLEE,AL\tN9\tAL\tO\t\t\tTP\tPAWNEE\t2\t11:00\t11:20\n");
        write_file(
            "VNKFLGHT.HIS",
            "$VERSION 2\n6-3-2005\t4\tSMITH,JOHN\tN9\tJ\tI\tAL\t\tTP\tPAWNEE\t3\t9:00\t9:45\n"
            "6-3-2005\t5\t" +
                second + "\tO\t\t\tTP\tPAWNEE\t2\t10:00\t10:20\n");
        write_two_member_gas();
        write_file("VNKPMNTQ.HIS", "$VERSION 3\n$PAYMENTS\n6-1-2005\t1000\t55\tLEE,AL\tdues\n");
        write_file("VNKPMNT.HIS", "$VERSION 3\n$PAYMENTS\n6-4-2005\t2500\t101\tSMITH,JOHN\tx\n");
    }

    // Every record of every family as the next start loads it (companions
    // included), sorted per family; `load` gets what the loading said.
    static std::string records_after_restart(std::string &load) {
        fresh_start();
        load = output_of([] {
            maybe_read();
            do_r_flights(true);
            do_r_gas(true);
            do_r_payments(true);
        });
        std::vector<std::string> families[4];
        auto add = [](std::vector<std::string> &family, const auto &list, auto print) {
            for (auto *rec : list)
                family.push_back(output_of([&] {
                    print(rec, 0, false, true);
                    o_newline(0);
                }));
        };
        for (customer *c : db.cust_list) {
            add(families[0], c->flights, o_flight_struct);
            add(families[1], c->gas, o_gas_struct);
            add(families[2], c->misc, o_misc_struct);
            add(families[3], c->payments, o_payment_struct);
        }
        std::string text;
        for (auto &family : families) {
            std::sort(family.begin(), family.end());
            for (const auto &r : family)
                text += r + "\n";
            text += "--\n";
        }
        return text;
    }

    // Temporaries left in the folder, and the pending file unless `pending_ok`: then a temporary
    // the pending file names is the next start's to finish, not a fragment.
    static std::string leftovers(bool pending_ok) {
        const bool pending = std::filesystem::exists(kIntentFile);
        const std::string intent = pending_ok && pending ? read_file(kIntentFile) : "";
        std::string found = pending && !pending_ok ? std::string(kIntentFile) + " " : "";
        for (const auto &e : std::filesystem::directory_iterator(".")) {
            std::string n = e.path().filename().string();
            if (n.find(".tmp") != std::string::npos && !has(intent, "\t" + n + "\t"))
                found += n + " ";
        }
        return found;
    }

    template <class T> static T *zeroed() {
        T *record = static_cast<T *>(errmalloc(sizeof(T)));
        memset(static_cast<void *>(record), 0, sizeof(T));
        return record;
    }

    static flight *new_flight(customer *c, const std::string &plane) {
        flight *f = zeroed<flight>();
        f->customer = c;
        f->plane = alloc_str(plane.c_str());
        return f;
    }
};
