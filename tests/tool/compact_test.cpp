#include "JsonAt.h"
#include "ToolRun.h"

#include <cstdint>
#include <cstring>

#include <sys/stat.h>

namespace {

/// A file whose entries have these sizes; all but every `keepEvery`-th are then deleted.
struct Shape {
    std::vector<std::size_t> sizes;
    std::size_t keepEvery;
    /// Blocks of the compacted file: directory, data, record of free blocks.
    std::size_t blocks;
};

} // namespace

class CompactTest : public ToolTest {
protected:
    /// Makes f.kr; what is left in it.
    Model Make(const Shape& shape, bool encrypted) const {
        WriteFile("f.kr", "");
        CompoundFile file;
        file.Open(Path("f.kr").c_str(), KrStreamE::ReadWrite);
        EXPECT_TRUE(!encrypted || file.Encrypt("secret") == KrStreamE::Ok);
        for (std::size_t i = 1; i <= shape.sizes.size(); ++i) {
            EXPECT_TRUE(Put(file, std::to_string(i), Pattern(shape.sizes[i - 1], 1)));
        }
        for (std::size_t i = 1; i <= shape.sizes.size(); ++i) {
            EXPECT_TRUE(i % shape.keepEvery == 0 || file.DeleteCFFile(std::to_string(i).c_str()));
        }
        return GetAll(file);
    }

    std::uint64_t Reclaimable() const {
        return std::stoull(JsonAt(Run({"info", "f.kr", "--json"}).out, "/reclaimable_bytes"));
    }

    /// Another one once the file was rewritten.
    ino_t Inode() const {
        struct stat status {};
        return stat(Path("f.kr").c_str(), &status) == 0 ? status.st_ino : 0;
    }
};

TEST_F(CompactTest, InfoForetellsWhatCompactFrees) {
    const Shape shapes[] = {
        {{}, 1, 0},
        {{3000, 0}, 3, 0},
        {{0}, 1, 1 + 1 + 1},
        {{1002, 1003, 1004, 2005, 2006, 2007}, 1, 3 + 13 + 1},
        {{5000, 1003, 0, 20000, 2006, 1}, 2, 2 + 23 + 1},
        {std::vector<std::size_t>(100, 10), 50, 1 + 2 + 1},
        // The most blocks that one block of the record can describe, and one more.
        {{100000, 979UL * 1003}, 2, 1 + 980 + 1},
        {{100000, 980UL * 1003}, 2, 1 + 981 + 2},
    };
    WriteFile("pw", "secret");
    for (const Shape& shape : shapes) {
        for (const bool encrypted : {false, true}) {
            SCOPED_TRACE(testing::PrintToString(shape.sizes) + (encrypted ? " encrypted" : ""));
            const Model entries = Make(shape, encrypted);
            // A password needs a directory, and with that comes the record.
            const std::size_t after = 1024 * (encrypted && shape.blocks == 0 ? 2 : shape.blocks);
            const std::size_t before = ReadFile("f.kr").size();
            const ino_t inode = Inode();
            EXPECT_EQ(Reclaimable(), before - after);
            EXPECT_EQ(Run({"compact", "f.kr", "--password-file", "pw"}).out,
                      "bytes before: " + std::to_string(before) +
                          "\nbytes after:  " + std::to_string(after) + '\n');
            EXPECT_EQ(ReadFile("f.kr").size(), after);
            EXPECT_EQ(Inode() == inode, before == after);
            CompoundFile file;
            file.Open(Path("f.kr").c_str(), KrStreamE::ReadOnly);
            EXPECT_EQ(file.IsEncrypted(), encrypted);
            EXPECT_TRUE(file.SetPassword("secret"));
            EXPECT_EQ(GetAll(file), entries);
        }
    }
}

TEST_F(CompactTest, DamagedFilesStayAsTheyAre) {
    constexpr std::size_t kLengthOfSecond = 340 + 313;
    // One byte more than there is, and what with its record would take a little over 2^64 bytes.
    for (const std::uint64_t claim : {std::uint64_t{3001}, std::uint64_t{1002} << 54U}) {
        Make({{3000, 3000}, 2, 0}, false);
        std::string bytes = ReadFile("f.kr");
        std::memcpy(&bytes[kLengthOfSecond], &claim, sizeof claim);
        WriteFile("f.kr", bytes);
        EXPECT_EQ(Reclaimable() > 0, claim == 3001);
        const ToolResult result = Run({"compact", "f.kr"});
        EXPECT_EQ(result.status, 2);
        EXPECT_NE(result.err.find("entry 2 is damaged, so nothing"), std::string::npos);
        EXPECT_EQ(ReadFile("f.kr"), bytes);
    }
}

TEST_F(CompactTest, APasswordOutlivesAllEntries) {
    Make({{}, 1, 0}, true);
    std::string bytes = ReadFile("f.kr");
    // The record's first block: a program that ended before closing the file left none.
    bytes.replace(19 + 309, 4, 4, '\0');
    WriteFile("f.kr", bytes);
    EXPECT_EQ(Run({"compact", "f.kr"}).status, 4);
    EXPECT_EQ(Run({"compact", "f.kr", "--password-file", "-"}, "secret").status, 0);
    EXPECT_EQ(ReadFile("f.kr"), bytes);
}
