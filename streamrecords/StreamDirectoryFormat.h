#pragma once

#include <cstdint>
#include <string_view>

/// The head of a stream directory; docs/records.md has the whole layout.
namespace StreamDirectoryFormat {

/// A version follows.
constexpr std::string_view kMagic = "zA";
/// None follows: it is version 1.
constexpr std::string_view kOldMagic = "xA";
constexpr std::uint16_t kVersion = 2;
/// Its positions are 32-bit; those of all others are 64-bit.
constexpr std::uint16_t kVersionOfShortPositions = 1;

} // namespace StreamDirectoryFormat
