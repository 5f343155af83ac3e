#pragma once

#include <algorithm>
#include <locale>

/// Folds one letter more than the classic locale.
class UmlautLetters : public std::ctype<char> {
    char do_tolower(char c) const override {
        return c == '\xC4' ? '\xE4' : std::ctype<char>::do_tolower(c);
    }
    const char* do_tolower(char* begin, const char* end) const override {
        std::transform<const char*>(begin, end, begin, [this](char c) { return do_tolower(c); });
        return end;
    }
};
