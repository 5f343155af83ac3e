#include "docs/diagrams/Svg.h"

namespace {

std::string Quoted(const std::string& text) {
    return '"' + text + '"';
}

std::string Quoted(int number) {
    return Quoted(std::to_string(number));
}

std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        escaped += c == '<' ? "&lt;" : c == '&' ? "&amp;" : std::string(1, c);
    }
    return escaped;
}

} // namespace

Svg::Svg(std::ostream& out, int width, int height, const std::string& styles) : out_(out) {
    out_ << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=" << Quoted(width)
         << " height=" << Quoted(height)
         << " viewBox=" << Quoted("0 0 " + std::to_string(width) + ' ' + std::to_string(height))
         << ">\n<style>\n"
         << styles << "</style>\n";
}

Svg::~Svg() {
    out_ << "</svg>\n";
}

void Svg::Box(int x, int y, int width, int height, const std::string& style) {
    out_ << "<rect x=" << Quoted(x) << " y=" << Quoted(y) << " width=" << Quoted(width)
         << " height=" << Quoted(height) << " class=" << Quoted(style) << "/>\n";
}

void Svg::Text(int x, int y, const std::string& text, const std::string& style) {
    out_ << "<text x=" << Quoted(x) << " y=" << Quoted(y) << " class=" << Quoted(style) << '>'
         << Escaped(text) << "</text>\n";
}

void Svg::Path(const std::string& points, const std::string& style) {
    out_ << "<path d=" << Quoted(points) << " class=" << Quoted(style) << "/>\n";
}
