// PRICE: every category's cost of one aircraft or service.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "conio/iosubs.h"
#include "reports/reports.h"

void w_price() {
    maybe_read();
    char *answer = get_word("Aircraft or service to price", "", true);
    std::string word(answer + strspn(answer, " \t"));
    errfree(answer);
    word.resize(strcspn(word.c_str(), " \t"));
    if (word.empty()) {
        printf("No item to price.\n");
        return;
    }
    const price *item = nullptr;
    for (const price *p = db.price_list.head(); p != nullptr && item == nullptr; p = p->next)
        if (strcmp(p->name, word.c_str()) == 0)
            item = p;
    if (item == nullptr) {
        o_lstring("no prices for", 0, true);
        o_lstring(word.c_str(), 0, true);
        o_newline(0);
        return;
    }
    o_lstring("Prices for", 0, true);
    o_lstring(item->name, 0, true);
    if (item->fastkey != 0) {
        o_lstring("  fast key is:", 0, false);
        o_lnumber(item->fastkey, 0, true, 10);
    }
    o_newline(0);
    for (const category *cat = item->cat; cat != nullptr; cat = cat->next) {
        char text[256];
        long cost = cat->cost;
        if (cost < 0)
            snprintf(text, sizeof text, "%s\t-%ld.%03ld", cat->name, labs(cost) / 1000,
                     labs(cost) % 1000);
        else
            snprintf(text, sizeof text, "%s\t%ld.%03ld", cat->name, cost / 1000, cost % 1000);
        o_lstring(text, 4, true);
        o_newline(0);
    }
}
