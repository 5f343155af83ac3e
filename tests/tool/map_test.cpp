#include "ToolRun.h"
#include "tests/support/Matches.h"
#include "tools/krstream/MapCells.h"

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <sstream>

namespace {

/// The text of every element called `name`, at any depth.
void Collect(const boost::property_tree::ptree& tree, const std::string& name,
             std::vector<std::string>& texts) {
    for (const auto& [key, child] : tree) {
        if (key == name) {
            texts.push_back(child.data());
        }
        Collect(child, name, texts);
    }
}

/// Fails when `svg` is no well-formed XML.
std::vector<std::string> Texts(const std::string& svg, const std::string& name) {
    std::istringstream stream(svg);
    boost::property_tree::ptree tree;
    read_xml(stream, tree);
    std::vector<std::string> texts;
    Collect(tree, name, texts);
    return texts;
}

/// All blocks that tooltips speak of; one that two of them speak of is a failure.
std::set<std::size_t> DrawnBlocks(const std::string& svg) {
    std::set<std::size_t> drawn;
    for (const std::string& title : Texts(svg, "title")) {
        for (const Match& match : AllMatches(title, "blocks? ([0-9]+)( to ([0-9]+))?($|: )")) {
            const std::size_t first = std::stoul(match[1]);
            const std::size_t last = match[3].empty() ? first : std::stoul(match[3]);
            for (std::size_t block = first; block <= last; ++block) {
                EXPECT_TRUE(drawn.insert(block).second) << title;
            }
        }
    }
    return drawn;
}

/// The cells of a drawing in text, a row each.
std::vector<std::string> Rows(const std::string& text) {
    std::vector<std::string> rows;
    for (const Match& match : AllMatches(text, "^ +[0-9]+ ([#%.?!A-Oa-o]+)$")) {
        rows.push_back(match[1]);
    }
    return rows;
}

bool Has(const std::vector<std::string>& texts, const std::string& text) {
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

} // namespace

class MapTest : public ToolTest {
protected:
    /// f.kr with an entry in two pieces around another, and free blocks behind.
    void MakeFragmented() const {
        WriteFile("f.kr", FileOf({{"a", Pattern(2500, 1)}, {"b", "b"}, {"c", Pattern(4000, 2)}}));
        ASSERT_EQ(Run({"rm", "f.kr", "a"}).status, 0);
        ASSERT_EQ(Run({"add", "f.kr", "-", "--name", "long <&>\n"}, Pattern(5900, 3)).status, 0);
        ASSERT_EQ(Run({"rm", "f.kr", "c"}).status, 0);
    }
};

TEST_F(MapTest, TextShowsWhereThingsAre) {
    MakeFragmented();
    const ToolResult result = Run({"map", "f.kr"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out,
              "f.kr\n"
              "14.0 KiB, 14 blocks: 7 of entries, 2 of the directory, 1 of the record of free "
              "blocks, 4 free (28%)\n"
              "2 entries in 3 pieces, on average 1.5 each; in one piece: 1\n"
              "\n"
              "         1 #%AaB....#Aaaa\n"
              "\n"
              "A     5.8 KiB       6 blocks    2 pieces  long <&>\\n\n"
              "B         1 B        1 block     1 piece  b\n"
              "#                   2 blocks              directory: names, times, first blocks\n"
              "%                    1 block              record of free blocks\n"
              ".                   4 blocks              free\n"
              "\n"
              "A character is one block. A capital letter is where a piece of an entry begins.\n");
    WriteFile("empty.kr", "");
    EXPECT_EQ(Run({"map", "empty.kr"}).out, "empty.kr\nan empty file: it has no blocks yet\n");
}

TEST_F(MapTest, PicturesShowEveryBlockOnce) {
    MakeFragmented();
    WriteFile("empty.kr", "");
    Model many;
    for (unsigned i = 0; i < 40; ++i) {
        many["page " + std::to_string(i)] = Pattern(100000 + 5000 * i, i);
    }
    WriteFile("large.kr", FileOf(many));
    ASSERT_EQ(Run({"rm", "large.kr", "page 7", "page 9", "page 30"}).status, 0);
    std::string damaged = ReadFile("f.kr");
    damaged.replace(2048, 4096, std::string(4096, '\x55'));
    WriteFile("damaged.kr", damaged);
    for (const char* const name : {"f.kr", "empty.kr", "large.kr", "damaged.kr"}) {
        ASSERT_EQ(Run({"map", name, "-o", std::string(name) + ".svg"}).status, 0) << name;
        const std::set<std::size_t> drawn = DrawnBlocks(ReadFile(std::string(name) + ".svg"));
        const std::size_t blocks = ReadFile(name).size() / 1024;
        EXPECT_EQ(drawn.size(), blocks) << name;
        EXPECT_TRUE(blocks == 0 || (*drawn.begin() == 1 && *drawn.rbegin() == blocks)) << name;
    }
    const auto titles = Texts(ReadFile("f.kr.svg"), "title");
    EXPECT_TRUE(Has(titles, "long <&>\\n, piece 2 of 2: blocks 11 to 14"));
    EXPECT_TRUE(Has(Texts(ReadFile("large.kr.svg"), "text"), "28 other entries"));
    EXPECT_TRUE(Has(Texts(ReadFile("damaged.kr.svg"), "text"), "damaged"));
    EXPECT_NE(Run({"map", "damaged.kr"}).out.find(" #%!!!!...#????"), std::string::npos);
}

TEST_F(MapTest, LargeFilesHaveSeveralBlocksInACell) {
    const struct {
        std::size_t blocks;
        std::size_t perCharacter;
        std::size_t perCell;
    } cases[] = {{1024, 1, 1}, {1025, 2, 1}, {3072, 4, 1}, {3073, 4, 2}, {9000, 16, 4}};
    for (const auto& one : cases) {
        // The directory, the record of free blocks, and the entry with what is left.
        const std::size_t record = (one.blocks + 21 + 1002) / 1003;
        WriteFile("f.kr", FileOf({{"a", std::string((one.blocks - record - 1) * 1003 - 1, 'a')}}));
        ASSERT_EQ(ReadFile("f.kr").size() / 1024, one.blocks);
        const std::string text = Run({"map", "f.kr"}).out;
        std::size_t characters = 0;
        std::size_t rows = 0;
        for (const std::string& row : Rows(text)) {
            characters += row.size();
            ++rows;
        }
        EXPECT_EQ(characters, (one.blocks + one.perCharacter - 1) / one.perCharacter) << text;
        EXPECT_LE(rows, 16U);
        EXPECT_NE(text.find(one.perCharacter == 1
                                ? "A character is one block"
                                : "A character is " + std::to_string(one.perCharacter) + " blocks"),
                  std::string::npos)
            << text;
        ASSERT_EQ(Run({"map", "f.kr", "-f", "-o", "f.svg"}).status, 0);
        const std::string note = one.perCell == 1
                                     ? "A cell is one block"
                                     : "A cell is " + std::to_string(one.perCell) + " blocks";
        EXPECT_NE(ReadFile("f.svg").find(note), std::string::npos) << one.blocks;
        EXPECT_LT(ReadFile("f.svg").size(), 10000U) << "equal cells are drawn as one";
    }
}

TEST_F(MapTest, OneDamagedBlockShowsAmongThousands) {
    std::string bytes = FileOf({{"a", std::string(4000000, 'a')}});
    WriteFile("f.kr", bytes);
    ASSERT_EQ(Run({"map", "f.kr", "-o", "sound.svg"}).status, 0);
    bytes[2000 * 1024UL] = '\x55';
    WriteFile("f.kr", bytes);
    ASSERT_EQ(Run({"map", "f.kr", "-o", "damaged.svg"}).status, 0);
    const auto hatched = [this](const std::string& name) {
        return ReadFile(name).find("<path fill='url(#damaged)'") != std::string::npos;
    };
    EXPECT_FALSE(hatched("sound.svg"));
    EXPECT_TRUE(hatched("damaged.svg"));
}

TEST_F(MapTest, LinksThatLeadNowhereAreSurvived) {
    const std::string sound = FileOf({{"a", Pattern(2500, 1)}, {"b", Pattern(2500, 2)}});
    constexpr std::size_t kNextBlock = 15;
    for (const char* const target : {"\x09", "\xff", "\xff\xff\xff\x7f", "\xff\xff\xff\xff"}) {
        for (std::size_t block = 0; block < sound.size(); block += 1024) {
            std::string lying = sound;
            lying.replace(block + kNextBlock, std::string(target).size(), target);
            WriteFile("f.kr", lying);
            const ToolResult result = Run({"map", "f.kr"});
            EXPECT_EQ(result.status, 0) << block;
            EXPECT_EQ(Rows(result.out).at(0).size(), sound.size() / 1024) << result.out;
        }
    }
}

TEST_F(MapTest, ACellIsWhatMostOfItsBlocksAre) {
    // One of the directory, 14 of the one entry, 16 of the other: near to half of the cell each.
    WriteFile("f.kr", FileOf({{"a", Pattern(14000, 1)}, {"b", Pattern(16000, 2)}}));
    Recovery::File file;
    ASSERT_EQ(file.Open(Path("f.kr").c_str()), Recovery::Status::Ok);
    const BlockMap map(file);
    const MapCells cells(map, 1);
    ASSERT_EQ(cells.Runs().size(), 1U);
    const CellRun& run = cells.Runs().front();
    EXPECT_EQ(run.left, Look::Entry2);
    EXPECT_EQ(run.right, Look::Entry1);
    EXPECT_EQ(run.most, Look::Entry1);
    EXPECT_EQ(run.blocks, 32U);
}

TEST_F(MapTest, APictureReplacesNothingUnasked) {
    MakeFragmented();
    WriteFile("there.svg", "mine");
    const auto before = Snapshot();
    EXPECT_NE(Run({"map", "f.kr", "-o", "there.svg"}).err.find("use --force"), std::string::npos);
    EXPECT_EQ(Run({"map", "f.kr", "-o", "./f.kr", "--force"}).status, 2);
    EXPECT_EQ(Run({"map", "none.kr", "-o", "new.svg"}).status, 2);
    EXPECT_EQ(Run({"map", "f.kr", "-o", "nofolder/new.svg"}).status, 2);
    EXPECT_EQ(Snapshot(), before);
    EXPECT_EQ(Run({"map", "f.kr", "-o", "there.svg", "-f"}).status, 0);
    EXPECT_EQ(Snapshot().size(), before.size());
    EXPECT_EQ(ReadFile("there.svg").substr(0, 4), "<svg");
}

TEST_F(MapTest, ATerminalShowsColoursUnlessTheUserWantsNone) {
    MakeFragmented();
    const auto shown = [this] {
        int status = 0;
        return Finish(Start({"map", "f.kr"}), status);
    };
    EXPECT_NE(shown().find("\x1b[48;5;"), std::string::npos);
    setenv("NO_COLOR", "1", 1);
    const std::string plain = shown();
    unsetenv("NO_COLOR");
    EXPECT_EQ(plain.find('\x1b'), std::string::npos);
    EXPECT_NE(plain.find("#%AaB....#Aaaa"), std::string::npos);
}
