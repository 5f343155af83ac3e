#include "blockfile/Chain.h"

#include <algorithm>

// Who walks along the chain comes to the run behind the last one.
std::size_t Chain::FindRun(std::size_t place) const {
    if (lastUsed_ + 1 < runs_.size() && Holds(lastUsed_ + 1, place)) {
        return lastUsed_ + 1;
    }
    const auto behind =
        std::upper_bound(runs_.begin(), runs_.end(), place,
                         [](std::size_t sought, const Run& run) { return sought < run.begin; });
    return static_cast<std::size_t>(behind - runs_.begin()) - 1;
}
