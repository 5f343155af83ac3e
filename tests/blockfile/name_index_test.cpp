#include "blockfile/NameIndex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

// Few names, so that most are put in and taken out many times, and look-ups pass over others.
TEST(NameIndex, BehavesLikeAMapWithoutCase) {
    std::mt19937 random(1);
    std::vector<std::string> names(700);
    std::generate(names.begin(), names.end(),
                  [i = 0]() mutable { return "Name " + std::to_string(i++); });
    NameIndex index;
    std::map<std::string, std::uint32_t> model;
    for (std::uint32_t step = 0; step < 30000; ++step) {
        const std::string& name = names[random() % names.size()];
        const auto known = model.find(name);
        if (random() % 2 == 0) {
            ASSERT_EQ(index.Insert(name.c_str(), step), model.emplace(name, step).second);
        } else if (known != model.end()) {
            index.Erase(name);
            model.erase(known);
        }
        const std::string& asked = names[random() % names.size()];
        const auto expected = model.find(asked);
        const auto found = index.Find("nAME" + asked.substr(4));
        ASSERT_EQ(found.has_value(), expected != model.end());
        ASSERT_TRUE(!found || *found == expected->second);
    }
}

} // namespace
