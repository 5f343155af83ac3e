#include "blockfile/NameIndex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

/// Number n stands for name n modulo their count, so that each has many numbers.
class ManyNames : public NameIndex::Names {
public:
    ManyNames() : names_(700) {
        std::generate(names_.begin(), names_.end(),
                      [i = 0]() mutable { return "Name " + std::to_string(i++); });
    }
    const char* NameOf(std::uint32_t number) const override {
        return names_[number % names_.size()].c_str();
    }

private:
    std::vector<std::string> names_;
};

// Few names, so that most are put in and taken out many times, and look-ups pass over others.
TEST(NameIndex, BehavesLikeAMapWithoutCase) {
    std::mt19937 random(1);
    const ManyNames names;
    NameIndex index(names);
    std::map<std::string, std::uint32_t> model;
    for (int step = 0; step < 30000; ++step) {
        const auto number = static_cast<std::uint32_t>(random() / 2);
        const std::string name = names.NameOf(number);
        if (random() % 2 == 0) {
            ASSERT_EQ(index.Insert(number), model.emplace(name, number).second);
        } else if (model.erase(name) != 0) {
            index.Erase(name);
        }
        const std::string asked = names.NameOf(static_cast<std::uint32_t>(random() / 2));
        const auto expected = model.find(asked);
        const auto found = index.Find("nAME" + asked.substr(4));
        ASSERT_EQ(found.has_value(), expected != model.end());
        ASSERT_TRUE(!found || *found == expected->second);
    }
}

} // namespace
