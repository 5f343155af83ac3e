#pragma once

#include <ostream>
#include <string>

/// A drawing that is written to a stream piece by piece. Places are whole pixels, so that the same
/// drawing is the same text on every machine.
class Svg {
public:
    Svg(std::ostream& out, int width, int height, const std::string& styles);
    ~Svg();
    Svg(const Svg&) = delete;
    Svg& operator=(const Svg&) = delete;

    /// `style` is a name from the styles.
    void Box(int x, int y, int width, int height, const std::string& style);
    void Text(int x, int y, const std::string& text, const std::string& style);
    /// `points` is in the language of SVG's paths.
    void Path(const std::string& points, const std::string& style);

private:
    std::ostream& out_;
};
