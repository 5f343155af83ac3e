#include "blockfile/UsageTable.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <vector>

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

// Over a few groups of blocks, from nothing and from flags that were read.
TEST(UsageTable, AlwaysGivesTheLowestFreeNumber) {
    constexpr std::uint32_t kBlocks = 13000;
    std::mt19937 random(1);
    for (const bool isFull : {false, true}) {
        UsageTable table(std::vector<unsigned char>(isFull ? kBlocks + 1 : 0, 1));
        std::set<std::uint32_t> free;
        for (std::uint32_t number = 1; number <= kBlocks + 20000; ++number) {
            if (!isFull || number > kBlocks) {
                free.insert(free.end(), number);
            }
        }
        for (int step = 0; step < 20000; ++step) {
            if (random() % 4 != 0) {
                ASSERT_EQ(table.Allocate(), *free.begin());
                free.erase(free.begin());
            } else {
                const std::uint32_t number = 1 + static_cast<std::uint32_t>(random() % kBlocks);
                const bool inUse = random() % 2 == 0;
                table.Set(number, inUse);
                inUse ? (void)free.erase(number) : (void)free.insert(number);
            }
        }
        EXPECT_EQ(table.CountUsed(), kBlocks + 20000 - free.size());
    }
}

} // namespace
