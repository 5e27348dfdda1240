// Each free-text answer gets the room on its 200-character history line that the answers before
// it leave; a line a later choice (the tow plane) pushes past the limit is not kept.
#include <sstream>

#include "db/db_fixture.h"
#include "entry/entry.h"

namespace {

class LineLimitTest : public DbTest {
  protected:
    void SetUp() override {
        DbTest::SetUp();
        entry_reset();
        write_two_member_masters("");
        write_file("VNKPRICE.DAT", "$VERSION 2\n$TUG\tPAWNEE\n");
    }
};

TEST_F(LineLimitTest, AnswersShareTheRoomInTheOrderAsked) {
    auto text = [](int n, char c) { return std::string(n, c) + "\n"; };
    std::string out = output_of([&] {
        feed_input("6-5-2005\n\nLEE\nASK21\n\n" + text(156, 'P') + text(150, 'P') + text(6, 'S') +
                   text(5, 'S') + "Q\n\n\n\n10:00\n10:30\n\n" // 208 with PAWNEE and the times
                   + "\n\n\n\n" + text(148, 'R') + text(147, 'R') + "\n\n\n\n\n\n\n0\nNO\n");
        do_flights(true);
    });
    std::istringstream lines(out);
    std::string refusals;
    for (std::string line; std::getline(lines, line);)
        if (size_t at = line.find(": ? T"); at != std::string::npos)
            refusals += line.substr(at + 2) + "\n";
    EXPECT_EQ(refusals,
              "? Too long for the history file: 155 characters are left for this line.\n"
              "? Too long for the history file: 5 characters are left for this line.\n"
              "? Too long for the history file: 0 characters are left for this line.\n"
              "? This line would be 208 characters long, more than the 200 the history file "
              "holds; it is not kept.\n"
              // PAWNEE and the times now count; the first line's passenger does not.
              "? Too long for the history file: 147 characters are left for this line.\n")
        << out;
    std::string kept = read_file("VNKFLGHT.TMP");
    size_t last = kept.rfind('\n', kept.size() - 2);
    EXPECT_EQ(kept.size() - last - 2, 200u) << kept;
    EXPECT_EQ(kept.find("PPP"), std::string::npos) << kept;
}

} // namespace
