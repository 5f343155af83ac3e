#include "blockfile/UsageTable.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace {

TEST(UsageTable, CapacityDoublesThenGrowsBySteps) {
    UsageTable table;
    std::set<std::uint32_t> capacities{table.Capacity()};
    for (std::uint32_t number = 1; number <= 30000; ++number) {
        EXPECT_EQ(table.Allocate(), number);
        capacities.insert(table.Capacity());
    }
    EXPECT_EQ(capacities,
              (std::set<std::uint32_t>{110, 220, 440, 880, 1760, 3520, 7040, 14080, 24080, 34080}));
    UsageTable jumped;
    jumped.Set(100000, true);
    EXPECT_EQ(jumped.Capacity(), 100010U);
    EXPECT_EQ(jumped.Highest(), 100000U);
    EXPECT_EQ(jumped.Allocate(), 1U);
}

TEST(UsageTable, AlwaysGivesTheLowestFreeNumber) {
    std::mt19937 random(1);
    UsageTable table;
    std::set<std::uint32_t> used;
    for (int step = 0; step < 4000; ++step) {
        if (random() % 3 != 0) {
            std::uint32_t lowest = 1;
            while (used.count(lowest) != 0) {
                ++lowest;
            }
            ASSERT_EQ(table.Allocate(), lowest);
            used.insert(lowest);
        } else {
            const std::uint32_t number = 1 + static_cast<std::uint32_t>(random() % 400);
            const bool inUse = random() % 2 == 0;
            table.Set(number, inUse);
            inUse ? (void)used.insert(number) : (void)used.erase(number);
        }
        ASSERT_EQ(table.CountUsed(), used.size());
    }
}

} // namespace
