#include "JsonAt.h"
#include "ToolRun.h"

#include <sys/stat.h>

namespace {

const Model kEntries = {
    {"a", Pattern(2500, 1)}, {"b\x1b", Pattern(1500, 2)}, {"c", "cc"}, {"d", Pattern(1100, 3)}};

} // namespace

class RecoveryTest : public ToolTest {
protected:
    /// Makes f.kr, which cannot be written. "a" is in the blocks 2 to 4, "b" in 5 and 6, "c" in 7,
    /// "d" in 9 and 10.
    void Make(std::string bytes, const std::map<std::size_t, std::string>& changes) const {
        for (const auto& [offset, change] : changes) {
            bytes.replace(offset, change.size(), change);
        }
        WriteFile("f.kr", bytes);
        chmod(Path("f.kr").c_str(), 0400);
    }
    static std::size_t At(std::size_t block, std::size_t offset) {
        return (block - 1) * 1024 + offset;
    }
};

TEST_F(RecoveryTest, CheckIsSilentAboutSoundFiles) {
    Make(FileOf(kEntries), {});
    const ToolResult result = Run({"check", "f.kr"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out + result.err, "");
    WriteFile("empty.kr", "");
    EXPECT_EQ(Run({"check", "empty.kr"}).status, 0);
    EXPECT_EQ(JsonAt(Run({"check", "f.kr", "--json"}).out, ""),
              R"({"file":"f.kr","encrypted":false,"all_checked":true,"damaged":false,)"
              R"("findings":[]})");
}

TEST_F(RecoveryTest, CheckTellsDamageFromWaste) {
    Make(FileOf(kEntries), {{At(5, 0), "c"}, {At(9, 0), std::string(2048, '\0')}});
    const ToolResult result = Run({"check", "f.kr"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(
        result.out,
        "damage: block 5, entry b\\x1b, block-number: the block's number is not its position\n"
        "damage: blocks 9 to 10, block-number: the block's number is not its position\n"
        "damage: blocks 9 to 10, block-signature: the signature is not of this format, or of a "
        "newer version\n"
        "damage: block 9, entry d, chain-unreadable: the chain goes on here, but the block is "
        "damaged\n"
        "damage: block 9, entry d, size-over-chain: the directory records 1100 bytes, but only "
        "0 are there\n");
    const std::string json = Run({"check", "f.kr", "--json"}).out;
    EXPECT_EQ(JsonAt(json, "/damaged"), "true");
    EXPECT_EQ(JsonAt(json, "/findings/0"),
              R"({"kind":"block-number","severity":"damage","block":5,"block_count":1,)"
              R"("entry":"b\u001b","text":"the block's number is not its position"})");

    const std::string sound = FileOf(kEntries);
    WriteFile("waste.kr", sound.substr(0, 10240));
    const ToolResult waste = Run({"check", "waste.kr"});
    EXPECT_EQ(waste.status, 1);
    EXPECT_EQ(waste.out.substr(0, 8), "notice: ");
}

TEST_F(RecoveryTest, RepairSavesWhatIsLeft) {
    Make(FileOf(kEntries), {{0, std::string(1, '\7')},
                            {At(3, 15), std::string(1, '\0')},
                            {At(7, 0), std::string(1024, '\0')},
                            {340, std::string(1, 'A') + std::string(1, '\0')}});
    const std::string before = ReadFile("f.kr");
    WriteFile("new.kr", "in the way");
    const ToolResult result = Run({"repair", "--force", "f.kr", "new.kr"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, "in part: a, 2006 of 2500 bytes\n"
                          "whole: A as A-0001, 1500 bytes\n"
                          "lost: c, 0 of 2 bytes\n"
                          "whole: d, 1100 bytes\n"
                          "recovered: recovered-0001, 494 bytes\n");
    EXPECT_EQ(GetAll(Path("new.kr")), (Model{{"a", Pattern(2500, 1).substr(0, 2006)},
                                             {"A-0001", Pattern(1500, 2)},
                                             {"d", Pattern(1100, 3)},
                                             {"recovered-0001", Pattern(2500, 1).substr(2006)}}));
    EXPECT_EQ(ReadFile("f.kr"), before);
    EXPECT_EQ(Run({"check", "new.kr"}).out, "");
    const auto again = Run({"repair", "--json", "new.kr", "again.kr"});
    EXPECT_EQ(again.status, 0);
    EXPECT_EQ(JsonAt(again.out, "/whole"), "true");
    EXPECT_EQ(JsonAt(again.out, "/entries/1"),
              R"({"name":"A-0001","saved_as":"A-0001","extent":"whole","orphan":false,)"
              R"("bytes":1500,"recorded_bytes":1500})");
    const auto files = Snapshot();
    WriteFile("hopeless.kr", before.substr(0, 1024));
    EXPECT_EQ(Run({"repair", "hopeless.kr", "other.kr"}).status, 2);
    EXPECT_FALSE(Exists("other.kr"));
    EXPECT_EQ(Snapshot().size(), files.size() + 1) << "no temporary file stays";
}

TEST_F(RecoveryTest, EncryptedFilesNeedTheirPasswordForMore) {
    WriteFile("a", std::string(3000, 'p'));
    WriteFile("one", "first secret\n");
    WriteFile("two", "other secret\n");
    ASSERT_EQ(Run({"create", "f.kr", "a"}).status, 0);
    ASSERT_EQ(Run({"encrypt", "f.kr", "--password-file", "one"}).status, 0);
    const ToolResult headers = Run({"check", "f.kr"});
    EXPECT_EQ(headers.status, 0);
    EXPECT_NE(headers.err.find("is encrypted, so"), std::string::npos);
    EXPECT_EQ(Run({"check", "f.kr", "--password-file", "one"}).err, "");
    EXPECT_EQ(Run({"check", "f.kr", "--password-file", "two"}).status, 4);

    const auto before = Snapshot();
    const ToolResult refused = Run({"repair", "f.kr", "new.kr"});
    EXPECT_EQ(refused.status, 4);
    EXPECT_NE(refused.err.find("needs a password"), std::string::npos);
    EXPECT_EQ(Run({"repair", "f.kr", "new.kr", "--password-file", "two"}).status, 4);
    EXPECT_EQ(Snapshot(), before);
    EXPECT_EQ(Run({"repair", "f.kr", "new.kr", "--password-file", "one"}).status, 0);
    EXPECT_EQ(ReadFile("new.kr").find("pppp"), std::string::npos);
    EXPECT_EQ(Run({"cat", "new.kr", "a", "--password-file", "one"}).out, std::string(3000, 'p'));
}
