#pragma once

#include "docs/diagrams/Svg.h"

#include <cstddef>
#include <string>
#include <vector>

/// A field of a record, as its named offsets give it.
struct Field {
    std::string name;
    std::size_t begin;
    std::size_t end;
    std::string style;
};

/// A row of fields, drawn to scale as far as each still has room for its name.
class FieldBar {
public:
    static constexpr int kLeft = 48;
    static constexpr int kWidth = 1024;
    static constexpr int kHeight = 52;

    FieldBar(int y, std::vector<Field> fields, int leastWidth);

    /// The fields with names, sizes and the offsets where they begin; `end` stands behind the last
    /// offset.
    void Draw(Svg& svg, const std::string& end) const;
    /// The two lines by which this bar shows the inside of a field of another one.
    void DrawAsInsideOf(Svg& svg, const FieldBar& outer, std::size_t first, std::size_t last) const;

private:
    void DrawField(Svg& svg, std::size_t index) const;

    const int y_;
    const std::vector<Field> fields_;
    /// Where each field begins, and where the last one ends.
    std::vector<int> edges_;
};
