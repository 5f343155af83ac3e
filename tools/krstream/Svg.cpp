#include "Svg.h"

#include <vector>

namespace {

/// Where the characters of an UTF-8 text begin, and its end.
std::vector<std::size_t> CharacterStarts(const std::string& text) {
    std::vector<std::size_t> starts;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if ((static_cast<unsigned char>(text[i]) & 0xC0U) != 0x80U) {
            starts.push_back(i);
        }
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
    const std::vector<std::size_t> starts = CharacterStarts(text);
    const std::size_t characters = starts.size() - 1;
    if (characters <= length) {
        return text;
    }
    const std::size_t front = length / 2;
    const std::size_t back = length - front - 1;
    return text.substr(0, starts[front]) + "\xe2\x80\xa6" + text.substr(starts[characters - back]);
}

std::string Text(int x, int y, const std::string& content) {
    return "<text x='" + std::to_string(x) + "' y='" + std::to_string(y) + "'>" + content +
           "</text>\n";
}

std::string Path(const std::string& path, const std::string& fill, const std::string& content) {
    const std::string element = "<path fill='" + fill + "' d='" + path + "'";
    return content.empty() ? element + "/>\n" : element + '>' + content + "</path>\n";
}
