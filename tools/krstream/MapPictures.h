#pragma once

#include "BlockMap.h"

#include <cstddef>
#include <string>

/// What the pictures show beside the blocks.
struct Pictured {
    const BlockMap& map;
    /// Name of the file, any bytes.
    std::string title;
    bool encrypted;
};

/// A picture as an SVG document, for any background, that needs nothing but itself.
std::string DrawSvg(const Pictured& pictured);

/// A picture of a few lines of text, at most `columns` wide; with `colours`, by escape sequences.
std::string DrawText(const Pictured& pictured, std::size_t columns, bool colours);
