// TOW-SUMMARIES: each tow plane's tows, heights and tow charges, as the
// last bill run counted them.
#include <cstring>

#include "billing/billing.h"
#include "conio/iosubs.h"

void w_tugInfo(const towplane *tug) {
    o_lstring(tug->tugname, 10, false);
    o_rnumber(tug->numberTows, 20, true, 10);
    o_lstring("Tows", 0, true);
    o_rtow_height(tug->towheight, 30, true);
    o_rmoney(tug->charges, 50, true);
    o_newline(0);
}

void w_tow_summary(const char *start, const char *end) {
    o_newline(0);
    o_now_info(true, 0);
    o_newline(0);
    out_period(start, end, "tows for each towplane");
    o_newline(0);
    o_newline(0);
    o_rstring("Dollars show total of tow charges billed to customers", 50, false);
    o_newline(0);
    o_newline(0);
    o_newline(0);

    towplane total{};
    strcpy(total.tugname, "Total");
    for (const towplane &tug : db.tugList) {
        if (tug.tugname[0] == '\0')
            continue;
        total.charges = add32(total.charges, tug.charges);
        total.numberTows = add32(total.numberTows, tug.numberTows);
        total.towheight = add32(total.towheight, tug.towheight);
        w_tugInfo(&tug);
    }
    o_newline(0);
    o_newline(0);
    w_tugInfo(&total);
    o_newline(0);
    o_lstring("Total does not include tows by unspecified tow plane.", 10, false);
    o_newline(0);
}
