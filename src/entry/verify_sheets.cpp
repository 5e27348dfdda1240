// The checks of a whole day sheet: flight numbers repeated or skipped, and
// one glider in the air twice at once. Each day's flights are sorted once,
// never compared pair by pair.
#include <algorithm>
#include <map>

#include "conio/iosubs.h"
#include "entry/verify.h"

int Verifier::plane_id(const char *plane) {
    auto [hit, added] = plane_ids_.try_emplace(plane, (int)plane_names_.size());
    if (added)
        plane_names_.emplace_back(plane);
    return hit->second;
}

namespace {

const char *clock_text(int32_t minutes) {
    // Four times go into one finding.
    static char text[4][16];
    static int which = 0;
    which = (which + 1) % 4;
    snprintf(text[which], sizeof text[which], "%d:%02d", (int)(minutes / 60), (int)(minutes % 60));
    return text[which];
}

} // namespace

void Verifier::day_sheets(const char *file) {
    // Days in date order and each day's findings in line order, so that
    // they read like the sheets.
    std::map<int32_t, std::vector<DayFlight> *> ordered;
    for (auto &[date, flights] : days_)
        ordered.emplace(date, &flights);
    std::vector<std::pair<int, std::string>> found;
    char text[256];
    auto note = [&](int line) { found.emplace_back(line, text); };
    for (auto &[date, flights] : ordered) {
        const char *day = i_convertTimeToString(date);
        std::vector<DayFlight> &list = *flights;
        std::sort(list.begin(), list.end(), [](const DayFlight &a, const DayFlight &b) {
            return a.number != b.number ? a.number < b.number : a.line < b.line;
        });
        for (size_t i = 1; i < list.size(); i++) {
            const DayFlight &before = list[i - 1];
            const DayFlight &now = list[i];
            if (now.number == before.number)
                snprintf(text, sizeof text, "flight %d of %s repeats the number of line %d",
                         now.number, day, before.line);
            else if (now.number == before.number + 2)
                snprintf(text, sizeof text, "flight %d of %s is missing", before.number + 1, day);
            else if (now.number > before.number + 2)
                snprintf(text, sizeof text, "flights %d to %d of %s are missing", before.number + 1,
                         now.number - 1, day);
            else
                continue;
            note(now.line);
        }
        std::sort(list.begin(), list.end(), [](const DayFlight &a, const DayFlight &b) {
            return a.plane != b.plane   ? a.plane < b.plane
                   : a.start != b.start ? a.start < b.start
                                        : a.line < b.line;
        });
        // The flight that stays in the air longest so far, per glider.
        const DayFlight *airborne = nullptr;
        for (const DayFlight &now : list) {
            if (now.end <= now.start)
                continue;
            if (airborne != nullptr && airborne->plane == now.plane && now.start < airborne->end) {
                snprintf(text, sizeof text,
                         "%s in the air twice at once on %s: %s-%s and line %d %s-%s",
                         plane_names_[now.plane].c_str(), day, clock_text(now.start),
                         clock_text(now.end), airborne->line, clock_text(airborne->start),
                         clock_text(airborne->end));
                note(now.line);
            }
            if (airborne == nullptr || airborne->plane != now.plane || now.end > airborne->end)
                airborne = &now;
        }
        std::stable_sort(found.begin(), found.end(),
                         [](const auto &a, const auto &b) { return a.first < b.first; });
        for (const auto &[line, finding] : found)
            say(file, line, "%s", finding.c_str());
        found.clear();
    }
    days_.clear();
}
