#include "TALVOutl/Strings.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <memory>

namespace KrString {

bool ToInt(std::string_view text, int& value) {
    const std::size_t first = text.find_first_not_of(" \t\n\v\f\r");
    if (first == std::string_view::npos) {
        return false;
    }
    text.remove_prefix(first);
    const bool plus = text.front() == '+';
    text.remove_prefix(plus ? 1 : 0);
    if (plus && !text.empty() && text.front() == '-') {
        return false;
    }
    int parsed = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, parsed);
    if (error != std::errc() || stop != end) {
        return false;
    }
    value = parsed;
    return true;
}

char* krstrdup(const char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    const std::size_t size = std::strlen(text) + 1;
    auto copy = std::make_unique<char[]>(size);
    std::memcpy(copy.get(), text, size);
    return copy.release();
}

void SetStr(char*& target, const char* text) {
    char* const copy = krstrdup(text);
    delete[] target;
    target = copy;
}

} // namespace KrString

namespace KrStdString {

int CompareNoCase(std::string_view a, std::string_view b, const std::locale& locale) {
    // Mostly the very same text is looked for, and needs no locale.
    if (a == b) {
        return 0;
    }
    const auto& letters = std::use_facet<std::ctype<char>>(locale);
    const std::size_t shared = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < shared; ++i) {
        const auto left = static_cast<unsigned char>(letters.tolower(a[i]));
        const auto right = static_cast<unsigned char>(letters.tolower(b[i]));
        if (left != right) {
            return left < right ? -1 : 1;
        }
    }
    return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

bool LessNoCase::operator()(std::string_view a, std::string_view b) const {
    return CompareNoCase(a, b, locale) < 0;
}

bool FoldsLikeClassic(const std::locale& locale) {
    std::array<char, 256> folded{};
    for (std::size_t i = 0; i < folded.size(); ++i) {
        folded[i] = static_cast<char>(i);
    }
    const std::array<char, 256> bytes = folded;
    std::use_facet<std::ctype<char>>(locale).tolower(folded.data(), folded.data() + folded.size());
    return std::equal(bytes.begin(), bytes.end(), folded.begin(),
                      [](char byte, char lower) { return FoldClassic(byte) == lower; });
}

} // namespace KrStdString

const char* GetLegacyStreamEncoding() {
    return "windows-1252";
}
