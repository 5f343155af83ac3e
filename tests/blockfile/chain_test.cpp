#include "blockfile/Chain.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

TEST(Chain, BehavesLikeAVector) {
    std::mt19937 random(1);
    for (const unsigned longestRun : {1U, 3U, 400U}) {
        Chain chain;
        std::vector<Chain::BlockNumber> model;
        while (model.size() < 1000) {
            auto number = static_cast<Chain::BlockNumber>(1 + random() % 100000);
            for (auto left = 1 + random() % longestRun; left > 0; --left, ++number) {
                chain.Append(number);
                model.push_back(number);
                const std::size_t place = random() % model.size();
                ASSERT_EQ(chain[place], model[place]);
            }
            ASSERT_EQ(chain.Last(), model.back());
        }
        ASSERT_EQ(chain.Size(), model.size());
        EXPECT_EQ(chain.First(), model.front());
        for (const std::size_t step : {std::size_t{1}, std::size_t{7}, model.size() - 1}) {
            for (std::size_t i = 0; i < 3 * model.size(); ++i) {
                const std::size_t place = i * step % model.size();
                ASSERT_EQ(chain[place], model[place]) << place;
            }
        }
    }
}

} // namespace
