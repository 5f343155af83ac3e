#include "Names.h"

#include <TALVOkrstream/CompoundFile.h>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/locale/utf.hpp>

#include <algorithm>
#include <cstdint>

namespace {

std::vector<std::string> Split(std::string_view path) {
    std::vector<std::string> elements;
    boost::split(elements, path, boost::is_any_of("/"));
    return elements;
}

void AppendEscaped(std::string& out, char c) {
    static constexpr char kDigits[] = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(c);
    switch (c) {
    case '\n':
        out += "\\n";
        break;
    case '\r':
        out += "\\r";
        break;
    case '\t':
        out += "\\t";
        break;
    case '\\':
        out += "\\\\";
        break;
    default:
        out += {'\\', 'x', kDigits[byte >> 4U], kDigits[byte & 15U]};
    }
}

/// Characters that change how the text around them looks, such as its direction.
bool IsFormatting(std::uint32_t codePoint) {
    return codePoint == 0x061c || codePoint == 0x200e || codePoint == 0x200f ||
           codePoint == 0xfeff || (codePoint >= 0x2028 && codePoint <= 0x202e) ||
           (codePoint >= 0x2066 && codePoint <= 0x2069);
}

bool IsPlain(std::uint32_t codePoint) {
    using boost::locale::utf::illegal;
    using boost::locale::utf::incomplete;
    if (codePoint == illegal || codePoint == incomplete || codePoint == '\\') {
        return false;
    }
    const bool control = codePoint < 0x20 || (codePoint >= 0x7f && codePoint < 0xa0);
    const bool noCharacter = (codePoint & 0xfffeU) == 0xfffe;
    return !control && !noCharacter && !IsFormatting(codePoint);
}

} // namespace

std::string FoldCase(std::string_view name) {
    std::string folded(name);
    for (char& c : folded) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return folded;
}

bool IsFreeListName(std::string_view name) {
    return FoldCase(name) == CompoundFile::kFreeListEntryName;
}

std::optional<std::string> EntryName(std::string_view path) {
    std::vector<std::string> kept;
    for (std::string& element : Split(path)) {
        if (element.empty() || element == ".") {
            continue;
        }
        if (element != "..") {
            kept.push_back(std::move(element));
        } else if (!kept.empty()) {
            kept.pop_back();
        } else {
            return std::nullopt;
        }
    }
    return boost::join(kept, "/");
}

std::optional<std::vector<std::string>> PathElements(std::string_view name) {
    std::vector<std::string> elements = Split(name);
    const bool unsafe =
        std::any_of(elements.begin(), elements.end(), [](const std::string& element) {
            return element.empty() || element == "." || element == "..";
        });
    if (unsafe) {
        return std::nullopt;
    }
    return elements;
}

std::string Printable(std::string_view text) {
    std::string out;
    const char* const end = text.data() + text.size();
    for (const char* at = text.data(); at != end;) {
        const char* next = at;
        if (IsPlain(boost::locale::utf::utf_traits<char>::decode(next, end))) {
            out.append(at, next);
        } else {
            next = at + 1;
            AppendEscaped(out, *at);
        }
        at = next;
    }
    return out;
}
