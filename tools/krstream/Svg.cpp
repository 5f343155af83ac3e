#include "Svg.h"

#include <vector>

namespace {

/// Where the letters of an UTF-8 text begin, and its end. The scripts of east Asia, three bytes a
/// character and as wide as two letters, count twice.
std::vector<std::size_t> LetterStarts(const std::string& text) {
    std::vector<std::size_t> starts;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const bool begins = (byte & 0xC0U) != 0x80U;
        starts.insert(starts.end(), begins ? (byte >= 0xE0 ? 2 : 1) : 0, i);
    }
    starts.push_back(text.size());
    return starts;
}

} // namespace

std::string Xml(const std::string& text) {
    std::string xml;
    for (const char c : text) {
        switch (c) {
        case '&':
            xml += "&amp;";
            break;
        case '<':
            xml += "&lt;";
            break;
        case '>':
            xml += "&gt;";
            break;
        default:
            xml += c;
        }
    }
    return xml;
}

std::string Shortened(const std::string& text, std::size_t length) {
    const std::vector<std::size_t> starts = LetterStarts(text);
    const std::size_t letters = starts.size() - 1;
    if (letters <= length) {
        return text;
    }
    const std::size_t front = length / 2;
    const std::size_t back = length - front - 1;
    return text.substr(0, starts[front]) + "\xe2\x80\xa6" + text.substr(starts[letters - back]);
}

std::string Text(int x, int y, const std::string& content) {
    return "<text x='" + std::to_string(x) + "' y='" + std::to_string(y) + "'>" + content +
           "</text>\n";
}

std::string Path(const std::string& path, const std::string& fill, const std::string& content) {
    const std::string element = "<path fill='" + fill + "' d='" + path + "'";
    return content.empty() ? element + "/>\n" : element + '>' + content + "</path>\n";
}
