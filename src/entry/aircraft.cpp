// The aircraft questions of a flight: the glider (or airplane) with its
// fast keys, and the tow plane with the table of tow planes.
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "conio/iosubs.h"
#include "db/completion.h"
#include "db/db.h"
#include "entry/aircraft.h"

namespace {

// The answer as a number when it is one integer and nothing else. A number
// beyond int is no number here but a name: read as "%d" it would wrap, and
// 4294967297 would pick key 1.
bool whole_number(const char *text, int &value) {
    char *end = nullptr;
    errno = 0;
    long long number = strtoll(text, &end, 10);
    if (end == text || *end != '\0' || errno == ERANGE || number < INT_MIN || number > INT_MAX)
        return false;
    value = static_cast<int>(number);
    return true;
}

} // namespace

const char *fast_key_item(const char *answer) {
    int key = 0;
    if (whole_number(answer, key) && key >= 1 && key <= FAST_KEYS)
        return db.nnumbers[key - 1];
    return nullptr;
}

char *ask_aircraft(const char *previous) {
    for (int key = 1; key <= FAST_KEYS; key++)
        if (db.nnumbers[key - 1] != nullptr)
            printf("\t%d\t%s\n", key, db.nnumbers[key - 1]);
    CompletionScope offer(complete_items, CompletionSpan::WORD);
    char *answer = get_word("Aircraft flown", previous, true);
    if (const char *item = fast_key_item(answer)) {
        replace_str(&answer, item);
        printf("Matched: %s\n", answer);
    }
    return answer;
}

towplane *towplane_answer(const char *answer, const char **refusal) {
    int slot = 0;
    *refusal = nullptr;
    if (is_blank(answer)) {
        *refusal = "Tug name must not be blank";
        return nullptr;
    }
    if (whole_number(answer, slot) && slot >= 1 && slot <= TUG_TABLE_SIZE &&
        db.tugList[slot - 1].tugname[0] != '\0')
        return &db.tugList[slot - 1];
    // A new name takes the first free row; a full table says so.
    towplane *chosen = fc_tug(answer, true);
    if (chosen == nullptr)
        *refusal = "Tow plane must be set.";
    return chosen;
}

towplane *ask_towplane(const towplane *previous) {
    for (int slot = 1; slot <= TUG_TABLE_SIZE; slot++)
        if (db.tugList[slot - 1].tugname[0] != '\0')
            printf("\t%d\t%s\n", slot, db.tugList[slot - 1].tugname);
    const char *def = previous != nullptr ? previous->tugname : db.tugList[0].tugname;
    CompletionScope offer(complete_towplanes, CompletionSpan::WORD);
    for (;;) {
        char *answer = get_word("Towplane", def, true);
        const char *refusal = nullptr;
        int slot = 0;
        bool by_slot = whole_number(answer, slot) && slot >= 1 && slot <= TUG_TABLE_SIZE &&
                       db.tugList[slot - 1].tugname[0] != '\0';
        towplane *chosen = towplane_answer(answer, &refusal);
        if (refusal != nullptr)
            printf("? %s\n", refusal);
        else if (by_slot)
            printf("Matched: %s\n", chosen->tugname);
        errfree(answer);
        if (chosen != nullptr)
            return chosen;
    }
}
