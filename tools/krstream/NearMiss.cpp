#include "NearMiss.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

namespace {

/// How many letters have to be changed, added, left out or swapped with their neighbour.
std::size_t Distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> beforeLast;
    std::vector<std::size_t> last(b.size() + 1);
    std::iota(last.begin(), last.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::vector<std::size_t> row(b.size() + 1, i);
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t change = last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, change});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
            }
        }
        beforeLast = std::exchange(last, std::move(row));
    }
    return last.back();
}

} // namespace

std::string NearestWord(std::string_view typed, const std::vector<std::string>& words) {
    constexpr std::size_t kMaxLength = 64;
    std::string nearest;
    if (typed.size() > kMaxLength) {
        return nearest;
    }
    // A third of the letters may be wrong.
    std::size_t best = typed.size() / 3 + 1;
    for (const std::string& word : words) {
        const std::size_t longer = std::max(typed.size(), word.size());
        if (longer - std::min(typed.size(), word.size()) > best) {
            continue;
        }
        const std::size_t distance = Distance(typed, word);
        if (distance < best) {
            best = distance;
            nearest = word;
        }
    }
    return nearest;
}
