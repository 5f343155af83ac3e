#include "tools/krstream/Amounts.h"
#include "tools/krstream/ProgressLine.h"

#include <gtest/gtest.h>

TEST(ProgressLineTest, TellsShareRateAndRemainingTime) {
    constexpr std::uint64_t kMiB = 1U << 20U;
    const struct {
        Work work;
        std::size_t columns;
        const char* line;
    } cases[] = {
        {{"storing", 3 * kMiB, 0, 2}, 80, "storing 3.0 MiB, 1.5 MiB/s"},
        {{"reading", kMiB, 4 * kMiB, 1},
         80,
         "reading [#####..................]  25% 1.0 MiB of 4.0 MiB, 1.0 MiB/s, 0:03 left"},
        {{"reading", kMiB, 4 * kMiB, 1},
         60,
         "reading  25% 1.0 MiB of 4.0 MiB, 1.0 MiB/s, 0:03 left"},
        {{"reading", kMiB, 4 * kMiB, 1}, 20, "reading  25% 1.0 Mi"},
        {{"reading", kMiB, 4001 * kMiB, 1},
         60,
         "reading   0% 1.0 MiB of 3.9 GiB, 1.0 MiB/s, 1:06:40 left"},
        {{"reading", 0, 4 * kMiB, 100}, 40, "reading   0% 0 B of 4.0 MiB, 0 B/s"},
        {{"reading", 1, UINT64_MAX, 100}, 60, "reading   0% 1 B of 16.0 EiB, 0 B/s, 99:00:00 left"},
        {{"reading", 5 * kMiB, 4 * kMiB, 1}, 50, "reading 100% 5.0 MiB of 4.0 MiB, 5.0 MiB/s"},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(ProgressLine(one.work, one.columns), one.line);
        EXPECT_LT(ProgressLine(one.work, one.columns).size(), one.columns);
    }
}

TEST(AmountsTest, SizesStayBelow1024OfTheirUnit) {
    const struct {
        std::uint64_t bytes;
        const char* text;
    } cases[] = {
        {0, "0 B"},
        {1023, "1023 B"},
        {1024, "1.0 KiB"},
        {1587, "1.5 KiB"},
        {1048524, "1023.9 KiB"},
        {1048525, "1.0 MiB"},
        {1U << 30U, "1.0 GiB"},
        {UINT64_MAX, "16.0 EiB"},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(ReadableSize(one.bytes), one.text) << one.bytes;
    }
}
