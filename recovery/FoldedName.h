#pragma once

#include <TALVOutl/Strings.h>

#include <algorithm>
#include <string>

/// The form of a name in which two that are found under each other are equal.
inline std::string FoldedName(std::string name) {
    std::transform(name.begin(), name.end(), name.begin(), KrStdString::FoldClassic);
    return name;
}
