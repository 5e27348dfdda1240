// The exact-name index must agree with a plain map through growth and
// removals, since every account line read relies on it.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "db/name_index.h"

namespace {

customer *tag(int i) {
    return reinterpret_cast<customer *>(static_cast<intptr_t>(i + 1));
}

TEST(ExactNameIndex, AgreesWithAMapThroughGrowthAndRemovals) {
    ExactNameIndex index;
    std::map<std::pair<std::string, std::string>, customer *> expected;
    // "AB"+"C" and "A"+"BC" must stay different customers.
    for (int i = 0; i < 500; i++) {
        std::string last = "L" + std::to_string(i % 50), first = std::to_string(i / 50);
        index.insert(last.c_str(), first.c_str(), tag(i));
        expected[{last, first}] = tag(i);
        if (i % 3 == 0) {
            index.erase(last.c_str(), first.c_str(), tag(i));
            expected.erase({last, first});
        }
    }
    index.insert("AB", "C", tag(1000));
    index.insert("A", "BC", tag(1001));
    EXPECT_EQ(index.find("AB", "C"), tag(1000));
    EXPECT_EQ(index.find("A", "BC"), tag(1001));
    EXPECT_EQ(index.size(), expected.size() + 2);
    for (int i = 0; i < 500; i++) {
        std::string last = "L" + std::to_string(i % 50), first = std::to_string(i / 50);
        auto it = expected.find({last, first});
        EXPECT_EQ(index.find(last.c_str(), first.c_str()),
                  it == expected.end() ? nullptr : it->second)
            << last << "," << first;
    }
    // Removing with the wrong record leaves the entry alone.
    index.erase("AB", "C", tag(5));
    EXPECT_EQ(index.find("AB", "C"), tag(1000));
    index.clear();
    EXPECT_EQ(index.find("A", "BC"), nullptr);
}

} // namespace
