#include "blockfile/NameIndex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

/// A name that differs from all others: a number, and up to forty of the bytes that names can have.
std::string Name(std::size_t number) {
    std::string name = std::to_string(number);
    for (std::size_t i = 0; i < number % 41; ++i) {
        name += static_cast<char>((number + i * 19) % 255 + 1);
    }
    return name;
}

std::string WithOtherCase(std::string name) {
    for (char& c : name) {
        const bool isLetter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        c = static_cast<char>(isLetter ? c ^ 0x20 : c);
    }
    return name;
}

/// Number n stands for name n modulo their count, so that each has many numbers.
class ManyNames : public NameIndex::Names {
public:
    ManyNames() : names_(700) {
        std::generate(names_.begin(), names_.end(), [i = 0U]() mutable { return Name(i++); });
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
        const auto found = index.Find(WithOtherCase(asked));
        ASSERT_EQ(found.has_value(), expected != model.end());
        ASSERT_TRUE(!found || *found == expected->second);
    }
}

} // namespace
