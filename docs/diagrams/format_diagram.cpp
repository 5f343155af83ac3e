// Draws docs/format.svg from the constants that the library itself reads and writes by.

#include "blockfile/BlockFormat.h"
#include "docs/diagrams/FieldBar.h"
#include "docs/diagrams/Svg.h"

#include <fstream>
#include <iostream>
#include <string>
#include <vector>

using namespace BlockFormat;

namespace {

constexpr char kStyles[] = R"(svg { font-family: "DejaVu Sans", Verdana, Helvetica, sans-serif }
.page { fill: #ffffff }
.header { fill: #cbd5e1; stroke: #64748b }
.directory { fill: #bfdbfe; stroke: #2563eb }
.slot { fill: #dbeafe; stroke: #2563eb }
.plan { fill: #bbf7d0; stroke: #16a34a }
.notes { fill: #fbcfe8; stroke: #db2777 }
.record { fill: #fde68a; stroke: #b45309 }
.free { fill: #f8fafc; stroke: #94a3b8; stroke-dasharray: 5 4 }
.title { font-size: 17px; font-weight: bold; fill: #0f172a }
.note { font-size: 13px; fill: #475569 }
.name { font-size: 14px; fill: #0f172a }
.strong { font-weight: bold }
.size { font-size: 12px; fill: #475569 }
.offset { font-size: 11px; fill: #64748b; font-family: "DejaVu Sans Mono", monospace }
.middle { text-anchor: middle }
.end { text-anchor: end }
.inside { stroke: #94a3b8; stroke-dasharray: 3 3; fill: none }
.link { stroke-width: 2; fill: none }
.toPlan { stroke: #16a34a }
.toNotes { stroke: #db2777 }
.toRecord { stroke: #b45309 }
.tip { stroke: none }
.tipPlan { fill: #16a34a }
.tipNotes { fill: #db2777 }
.tipRecord { fill: #b45309 }
)";

constexpr int kPageWidth = FieldBar::kWidth + 2 * FieldBar::kLeft;
constexpr int kPageHeight = 1160;
/// Room for the longest name of a small field.
constexpr int kLeastWidth = 88;

// The blocks of the small file that is shown.
constexpr int kBlocks = 6;
constexpr std::size_t kPlanSize = 1800;
constexpr std::size_t kNotesSize = 211;
constexpr int kGap = 22;
constexpr int kCardWidth = (FieldBar::kWidth - (kBlocks - 1) * kGap) / kBlocks;
constexpr int kCardHeight = 122;
constexpr int kCardTop = 134;

int LeftOf(int block) {
    return FieldBar::kLeft + (block - 1) * (kCardWidth + kGap);
}

std::string At(int x, int y) {
    return std::to_string(x) + ' ' + std::to_string(y);
}

void DrawCard(Svg& svg, int block, const std::string& style, const std::string& title,
              const std::vector<std::string>& lines) {
    const int x = LeftOf(block);
    svg.Box(x, kCardTop, kCardWidth, kCardHeight, style);
    svg.Text(x + 10, kCardTop - 8, "block " + std::to_string(block), "size");
    svg.Text(x + 10, kCardTop + 24, title, "name strong");
    int y = kCardTop + 50;
    for (const std::string& line : lines) {
        svg.Text(x + 10, y, line, "size");
        y += 20;
    }
}

std::vector<std::string> DataLines(const std::string& bytes, std::size_t used, int next) {
    return {bytes, "used bytes: " + std::to_string(used),
            next == 0 ? "next: 0, the end" : "next: " + std::to_string(next)};
}

// An arrow that leaves one block and comes down on, or up to, another one.
void DrawLink(Svg& svg, int from, int to, int edge, int bend, const std::string& entry) {
    const int start = LeftOf(from) + kCardWidth / 2;
    const int end = LeftOf(to) + kCardWidth / 2;
    const int base = bend < edge ? edge - 9 : edge + 9;
    svg.Path("M" + At(start, edge) + "C" + At(start, bend) + ' ' + At(end, bend) + ' ' +
                 At(end, base),
             "link to" + entry);
    svg.Path("M" + At(end, edge) + "L" + At(end - 6, base) + "L" + At(end + 6, base) + "Z",
             "tip tip" + entry);
}

void DrawFile(Svg& svg) {
    svg.Text(FieldBar::kLeft, 44, "A file of six blocks", "title");
    svg.Text(FieldBar::kLeft, 66,
             "Each block has " + std::to_string(kBlockSize) + " bytes. \"plan\" has " +
                 std::to_string(kPlanSize) + " bytes, \"notes\" " + std::to_string(kNotesSize) +
                 "; the entry in block 6 was deleted.",
             "note");
    DrawCard(svg, 1, "directory", "directory",
             {"plan: block 2", "notes: block 3", "free list: block 5", "next: 0"});
    DrawCard(svg, 2, "plan", "\"plan\"",
             DataLines("bytes 0 to " + std::to_string(kPayloadSize - 1), kPayloadSize, 4));
    DrawCard(svg, 3, "notes", "\"notes\"",
             DataLines("bytes 0 to " + std::to_string(kNotesSize - 1), kNotesSize, 0));
    DrawCard(
        svg, 4, "plan", "\"plan\", end",
        DataLines("bytes " + std::to_string(kPayloadSize) + " to " + std::to_string(kPlanSize - 1),
                  kPlanSize - kPayloadSize, 0));
    DrawCard(svg, 5, "record", "free list",
             DataLines("which blocks are used", FreeListContentSize(kBlocks), 0));
    DrawCard(svg, 6, "free", "free", {"in use: 0", "its old bytes stay", "until it is taken"});
    const int bottom = kCardTop + kCardHeight;
    DrawLink(svg, 2, 4, kCardTop, kCardTop - 58, "Plan");
    svg.Text(LeftOf(3) + kCardWidth / 2, kCardTop - 24, "next block", "size middle");
    DrawLink(svg, 1, 2, bottom, bottom + 44, "Plan");
    DrawLink(svg, 1, 3, bottom, bottom + 64, "Notes");
    DrawLink(svg, 1, 5, bottom, bottom + 88, "Record");
    svg.Text(LeftOf(4) + kCardWidth / 2, bottom + 36, "first blocks", "size middle");
}

std::vector<Field> HeaderFields() {
    return {{"number", kNumberOffset, kInUseOffset, "header"},
            {"in use", kInUseOffset, kSignatureOffset, "header"},
            {"signature", kSignatureOffset, kNextOffset, "header"},
            {"next block", kNextOffset, kHeaderSize, "header"}};
}

void DrawDataBlock(Svg& svg, int y) {
    svg.Text(FieldBar::kLeft, y, "Data block", "title");
    svg.Text(FieldBar::kLeft, y + 22,
             "Every block begins with the same header of " + std::to_string(kHeaderSize) +
                 " bytes.",
             "note");
    const FieldBar block(y + 38,
                         {{"header", 0, kHeaderSize, "header"},
                          {"used bytes", kUsedOffset, kPayloadOffset, "plan"},
                          {"payload", kPayloadOffset, kBlockSize, "plan"}},
                         kLeastWidth);
    std::vector<Field> fields = HeaderFields();
    fields.push_back({"used bytes", kUsedOffset, kPayloadOffset, "plan"});
    const FieldBar head(y + 144, fields, kLeastWidth);
    block.Draw(svg, std::to_string(kBlockSize));
    head.DrawAsInsideOf(svg, block, 0, 1);
    head.Draw(svg, std::to_string(kHeadSize));
}

std::vector<Field> DirectoryFields() {
    constexpr const DirLayout& layout = kDirLayout2;
    std::vector<Field> fields = {{"header", 0, kHeaderSize, "header"}};
    for (std::size_t slot = 0; slot < kSlotsPerBlock; ++slot) {
        fields.push_back({"slot " + std::to_string(slot), layout.SlotOffset(slot),
                          layout.SlotOffset(slot) + layout.SlotSize(), "slot"});
    }
    fields.push_back({"end", layout.MagicOffset(), kBlockSize, "directory"});
    return fields;
}

void DrawDirectoryBlock(Svg& svg, int y) {
    constexpr const DirLayout& layout = kDirLayout2;
    svg.Text(FieldBar::kLeft, y, "Directory block, version 2", "title");
    svg.Text(FieldBar::kLeft, y + 22,
             "The header, three slots with an entry each, and an end that in block 1 describes the "
             "whole file.",
             "note");
    const FieldBar block(y + 38, DirectoryFields(), kLeastWidth);
    const FieldBar slot(y + 144,
                        {{"name", kNameOffset, kCreatedOffset, "slot"},
                         {"created", kCreatedOffset, kModifiedOffset, "slot"},
                         {"modified", kModifiedOffset, kFirstBlockOffset, "slot"},
                         {"first block", kFirstBlockOffset, kSizeOffset, "slot"},
                         {"length", kSizeOffset, layout.SlotSize(), "slot"}},
                        kLeastWidth);
    const FieldBar end(y + 268,
                       {{"magic", layout.MagicOffset(), layout.ReservedOffset(), "directory"},
                        {"reserved", layout.ReservedOffset(), kDigestOffset, "directory"},
                        {"password's digest", kDigestOffset, kFlagsOffset, "directory"},
                        {"flags", kFlagsOffset, kBlockSize, "directory"}},
                       kLeastWidth);
    block.Draw(svg, std::to_string(kBlockSize));
    slot.DrawAsInsideOf(svg, block, 1, 1);
    slot.Draw(svg, std::to_string(layout.SlotSize()));
    svg.Text(FieldBar::kLeft, y + 258, "The end of the block", "note");
    end.Draw(svg, std::to_string(kBlockSize));
}

void DrawFreeList(Svg& svg, int y) {
    svg.Text(FieldBar::kLeft, y, "Content of the free-list entry", "title");
    svg.Text(FieldBar::kLeft, y + 22,
             "Here in the payload of block 5. After the highest block number comes a byte for each "
             "number from 0 on: 1 in use, 0 free.",
             "note");
    std::vector<Field> fields = {
        {"digest of the directory", 0, kFreeListHighestOffset, "record"},
        {"highest block", kFreeListHighestOffset, kFreeListHeadSize, "record"}};
    for (std::size_t number = 0; number <= kBlocks; ++number) {
        const bool isUsed = number != kNoBlock && number < kBlocks;
        fields.push_back({isUsed ? "1" : "0", kFreeListHeadSize + number,
                          kFreeListHeadSize + number + 1, isUsed ? "record" : "free"});
    }
    FieldBar(y + 38, fields, 48).Draw(svg, std::to_string(FreeListContentSize(kBlocks)));
}

void Draw(std::ostream& out) {
    Svg svg(out, kPageWidth, kPageHeight, kStyles);
    svg.Box(0, 0, kPageWidth, kPageHeight, "page");
    DrawFile(svg);
    DrawDataBlock(svg, 386);
    DrawDirectoryBlock(svg, 650);
    DrawFreeList(svg, 1032);
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::cerr << "usage: format_diagram FILE\n";
        return 1;
    }
    std::ofstream file(arguments[1]);
    Draw(file);
    file.close();
    return file.good() ? 0 : 1;
}
