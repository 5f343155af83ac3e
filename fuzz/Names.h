#pragma once

#include "fuzz/Decoder.h"
#include "fuzz/Require.h"
#include "recovery/FoldedName.h"
#include "tests/support/Entries.h"

#include <algorithm>

/// A few names, some in several letter cases, so that one is met again and again.
inline std::string AnyName(Decoder& input) {
    static const std::string kNames[] = {"a",
                                         "A",
                                         "b",
                                         "plan.txt",
                                         "Plan.TXT",
                                         "PLAN.TXT",
                                         "c",
                                         "d",
                                         "e f",
                                         "g",
                                         std::string(150, 'L'),
                                         std::string(150, 'l')};
    return input.Pick(kNames);
}

/// Models have their entries under folded names.
inline void RequireSame(const Model& found, const Model& expected, const char* what) {
    Model folded;
    for (const auto& [name, bytes] : found) {
        folded[FoldedName(name)] = bytes;
    }
    Require(folded == expected, what);
}

/// Overwrites bytes from `at` on and appends what reaches beyond the end.
inline void Patch(std::string& bytes, std::size_t at, const std::string& piece) {
    bytes.resize(std::max(bytes.size(), at + piece.size()));
    bytes.replace(at, piece.size(), piece);
}
