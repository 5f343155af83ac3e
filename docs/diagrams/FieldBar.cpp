#include "docs/diagrams/FieldBar.h"

namespace {

std::size_t SizeOf(const Field& field) {
    return field.end - field.begin;
}

std::string Line(int x1, int y1, int x2, int y2) {
    return 'M' + std::to_string(x1) + ' ' + std::to_string(y1) + 'L' + std::to_string(x2) + ' ' +
           std::to_string(y2);
}

} // namespace

FieldBar::FieldBar(int y, std::vector<Field> fields, int leastWidth)
    : y_(y), fields_(std::move(fields)) {
    const std::size_t all = fields_.back().end - fields_.front().begin;
    const auto isNarrow = [&](const Field& field) {
        return SizeOf(field) * kWidth < static_cast<std::size_t>(leastWidth) * all;
    };
    // The others share what the narrow fields leave to them.
    std::size_t width = kWidth;
    std::size_t bytes = all;
    for (const Field& field : fields_) {
        if (isNarrow(field)) {
            width -= static_cast<std::size_t>(leastWidth);
            bytes -= SizeOf(field);
        }
    }
    edges_.push_back(kLeft);
    for (const Field& field : fields_) {
        const int scaled =
            isNarrow(field) ? leastWidth : static_cast<int>(SizeOf(field) * width / bytes);
        edges_.push_back(edges_.back() + scaled);
    }
    edges_.back() = kLeft + kWidth;
}

void FieldBar::Draw(Svg& svg, const std::string& end) const {
    for (std::size_t i = 0; i < fields_.size(); ++i) {
        DrawField(svg, i);
    }
    svg.Text(edges_.back(), y_ + kHeight + 16, end, "offset end");
}

void FieldBar::DrawField(Svg& svg, std::size_t index) const {
    const Field& field = fields_[index];
    const int x = edges_[index];
    const int width = edges_[index + 1] - x;
    svg.Box(x, y_, width, kHeight, field.style);
    const std::size_t size = SizeOf(field);
    svg.Text(x + width / 2, y_ + 23, field.name, "name middle");
    svg.Text(x + width / 2, y_ + 41, std::to_string(size) + (size == 1 ? " byte" : " bytes"),
             "size middle");
    svg.Text(x + 1, y_ + kHeight + 16, std::to_string(field.begin), "offset");
}

void FieldBar::DrawAsInsideOf(Svg& svg, const FieldBar& outer, std::size_t first,
                              std::size_t last) const {
    const int from = outer.y_ + kHeight;
    svg.Path(Line(outer.edges_[first], from, edges_.front(), y_), "inside");
    svg.Path(Line(outer.edges_[last + 1], from, edges_.back(), y_), "inside");
}
