#pragma once

#include "BlockMap.h"

#include <array>

/// How a look is drawn. Each has a symbol as well, for those who do not see the colours.
struct LookStyle {
    char symbol;
    /// Colours of an SVG.
    const char* fill;
    const char* text;
    /// Colours of a terminal, out of its 256.
    int background;
    int foreground;
};

/// The entries have colours that stay apart in the common kinds of colour blindness.
constexpr std::array<LookStyle, kLookCount> kLookStyles = {{
    {'A', "#332288", "#ffffff", 54, 231},
    {'B', "#88ccee", "#1f2933", 117, 16},
    {'C', "#117733", "#ffffff", 28, 231},
    {'D', "#ddcc77", "#1f2933", 186, 16},
    {'E', "#cc6677", "#ffffff", 168, 16},
    {'F', "#44aa99", "#1f2933", 73, 16},
    {'G', "#882255", "#ffffff", 89, 231},
    {'H', "#999933", "#1f2933", 100, 231},
    {'I', "#aa4499", "#ffffff", 133, 231},
    {'O', "#b6bfc9", "#1f2933", 250, 16},
    {'#', "#1f2933", "#ffffff", 236, 231},
    {'%', "#69737f", "#ffffff", 243, 231},
    {'.', "url(#free)", "#9aa5b1", 255, 244},
    {'?', "url(#orphan)", "#1f2933", 255, 16},
    {'!', "url(#damaged)", "#1f2933", 196, 231},
}};

constexpr const LookStyle& StyleOf(Look look) {
    return kLookStyles[Index(look)];
}
