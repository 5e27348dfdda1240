// After the invoices are written: the export file and the move of what it
// holds into the "QU" files, as one change. The invoices are complete on
// disk before any record moves, and only the records of the customers the
// export took move; the others stay for a later export.
#include <cstdio>
#include <cstring>
#include <string>
#include <unordered_set>
#include <vector>

#include "conio/iosubs.h"
#include "reports/reports.h"

namespace {

std::unordered_set<const customer *> taken;

template <class T> bool has_live(const RecordList<T> &list) {
    for (const T *rec : list)
        if (!rec->exported)
            return true;
    return false;
}

bool has_live_records(const customer *c) {
    return has_live(c->flights) || has_live(c->gas) || has_live(c->misc) || has_live(c->payments);
}

bool has_finance_mark(const customer *c) {
    for (const payment *p : c->payments)
        if (finance_mark(p))
            return true;
    return false;
}

// Each finance charge the export holds is marked in the payments' "QU"
// file (it moves there with the customer's payments), so that a later
// export of the same period does not invoice it again.
std::vector<payment *> mark_finance_charges() {
    std::vector<payment *> marks;
    for (customer *c : db.cust_list) {
        if (!taken.count(c) || c->charges == nullptr || c->charges->financeCharges == 0 ||
            has_finance_mark(c))
            continue;
        auto *p = static_cast<payment *>(errmalloc(sizeof(payment)));
        *p = payment{nullptr, db.curDate, c, 0, 0, alloc_str(FINANCE_EXPORTED_NOTE), 0};
        add_payment(p, c);
        marks.push_back(p);
    }
    return marks;
}

} // namespace

void export_take(const customer *c) {
    taken.insert(c);
}

void export_begin() {
    taken.clear();
}

bool export_commit() {
    FileTransaction t("export to QUICKBOOKS");
    std::string temp, final_name;
    bool written = hand_over_o_file(temp, final_name);
    if (written && !temp.empty())
        t.place_made(temp, final_name);
    // The histories are written back from what was read of them.
    const char *name = nullptr;
    for (const char *source : {db.customerfile, db.gashistfile, db.payhistfile, db.daysheetfile}) {
        const FileReadNote *note = file_read_note(source);
        if (name == nullptr && (note == nullptr || note->unreadable))
            name = source;
    }
    if (name != nullptr) {
        printf("? \"%s\" could not be read; the export was not written and no record was "
               "moved.\n",
               name);
        return false;
    }
    std::vector<payment *> marks = mark_finance_charges();
    // A record moves when the export took its customer.
    auto moving = [](const customer *c, bool exported) { return !exported && taken.count(c); };
    bool staged = written && stage_move_to_qu(t, HistoryKind::GAS, moving) &&
                  stage_move_to_qu(t, HistoryKind::PAYMENTS, moving) &&
                  stage_move_to_qu(t, HistoryKind::FLIGHTS, moving);
    if (!staged || !t.commit()) {
        if (t.decided()) {
            printf("? The export is not finished; it will be before the files are next read.\n");
        } else {
            int cause = errno;
            for (payment *p : marks)
                free_payment(p);
            printf("? The export could not be written (%s); no record was moved.\n",
                   strerror(cause));
            return false;
        }
    }
    return true;
}

int export_left_for_later() {
    int left = 0;
    for (const customer *c : db.cust_list)
        if (!taken.count(c) && has_live_records(c))
            left++;
    return left;
}
