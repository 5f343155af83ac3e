#include "FileTest.h"

namespace {

using Format = FileTest;

TEST_F(Format, PayloadsFillBlocksAndNeverEndFull) {
    const std::size_t sizes[] = {0, 1, 1002, 1003, 1004, 2006, 2007, 10240, 100000};
    EXPECT_EQ(file_.GetNumUsedBlocks(), 0);
    for (const std::size_t size : sizes) {
        ASSERT_TRUE(Put(file_, std::to_string(size), Pattern(size, 1)));
    }
    const auto used = static_cast<std::size_t>(file_.GetNumUsedBlocks());
    const RawFile raw = ClosedSound();
    EXPECT_EQ(raw.BlockCount(), used + 2) << "one for the record of free blocks, one for its slot";
    EXPECT_EQ(raw.Find("kravonel_block_file_free_list").size, raw.BlockCount() + 20);
    EXPECT_EQ(raw.Find("0").firstBlock, 2U);
    for (const std::size_t size : sizes) {
        const std::uint32_t first = raw.Find(std::to_string(size)).firstBlock;
        EXPECT_EQ(raw.Chain(first).size(), size / 1003 + 1) << size;
        EXPECT_EQ(raw.Content(first), Pattern(size, 1)) << size;
    }
}

TEST_F(Format, NewEntryTakesLastBlockWithAFreeSlotAndItsLowestSlot) {
    for (const char* name : {"0", "1", "2", "3", "4", "5", "6"}) {
        ASSERT_TRUE(Put(file_, name, "x"));
    }
    for (const char* name : {"1", "4", "5"}) {
        ASSERT_TRUE(file_.DeleteCFFile(name));
    }
    RawFile raw(file_.FlushToString());
    EXPECT_EQ(raw.Slots()[4].name, "4");
    EXPECT_EQ(raw.Slots()[4].firstBlock, 0U);
    EXPECT_EQ(raw.Slots()[4].size, 0U);

    const std::map<std::string, std::size_t> expected = {{"a", 7}, {"b", 8}, {"c", 4},
                                                         {"d", 5}, {"e", 1}, {"f", 9}};
    for (const auto& entry : expected) {
        ASSERT_TRUE(Put(file_, entry.first, "y"));
    }
    raw = RawFile(file_.FlushToString());
    for (const auto& [name, slot] : expected) {
        EXPECT_EQ(raw.Slots()[slot].name, name);
    }
    ClosedSound();
}

TEST_F(Format, FreedBlocksAreTakenLowestFirst) {
    for (const char* name : {"a", "b", "c"}) {
        ASSERT_TRUE(Put(file_, name, Pattern(2500, 1)));
    }
    const int used = file_.GetNumUsedBlocks();
    ASSERT_TRUE(file_.DeleteCFFile("a"));
    ASSERT_TRUE(file_.DeleteCFFile("b"));
    EXPECT_EQ(file_.GetNumUsedBlocks(), used - 6);
    ASSERT_TRUE(Put(file_, "d", Pattern(3500, 2)));
    const RawFile raw = ClosedSound();
    EXPECT_EQ(raw.Chain(raw.Find("d").firstBlock), (std::vector<std::uint32_t>{2, 3, 4, 5}));
}

// Sizes around those at which the snapshot itself needs one block more.
TEST_F(Format, FreeListEntryCoversItsOwnBlocks) {
    for (const int blocks : {975, 976, 977, 978, 979, 980, 981, 982, 983, 1983, 1984, 1985, 2990}) {
        Open();
        ASSERT_TRUE(Put(file_, "data", std::string(static_cast<std::size_t>(blocks) * 1003, 'x')));
        ClosedSound();
    }
}

TEST_F(Format, ReopeningKeepsSnapshotTimesAndBytes) {
    ASSERT_TRUE(Put(file_, "a", Pattern(5000, 1)));
    const std::string before = ClosedSound().bytes;
    Open();
    EXPECT_TRUE(GetAll(file_) == (Model{{"a", Pattern(5000, 1)}}));
    file_.Flush();
    EXPECT_EQ(ClosedSound().bytes, before) << "opened for writing, nothing changed";
    Open();
    EXPECT_EQ(file_.GetNumDirEntrys(), 2);
    EXPECT_TRUE(file_.DeleteCFFile("A"));
    EXPECT_EQ(ClosedSound().BlockCount(), before.size() / 1024);
}

struct Version1 : FileTest {
    const std::string content_ = Pattern(1500, 7);
    const std::string bytes_ = Version1File("Caf\xE9", content_).bytes;
};

TEST_F(Version1, IsReadAsItIs) {
    for (const auto mode : {KrStreamE::ReadOnly, KrStreamE::ReadWrite}) {
        OpenWith(bytes_, mode);
        EXPECT_EQ(file_.GetFormatVersion(), 1);
        unsigned long index = 0;
        const DirEntry* const entry = file_.GetFirstDirEntry(&index);
        ASSERT_NE(entry, nullptr);
        EXPECT_EQ(index, 1U);
        EXPECT_STREQ(entry->name, "Caf\xE9");
        EXPECT_STREQ(entry->modified, "Wed Mar  5 05:06:07 1997\n");
        EXPECT_TRUE(Get(file_, "cAF\xE9") == content_);
        file_.Flush();
        EXPECT_EQ(Closed().bytes, bytes_);
    }
}

TEST_F(Version1, FirstChangeBringsTheDirectoryToVersion2) {
    OpenWith(bytes_);
    ASSERT_TRUE(Put(file_, "new", "text"));
    ASSERT_TRUE(WriteTo(file_.GetIOStream("Caf\xE9", "r+b"), "Z"));
    const RawFile raw = Closed();
    EXPECT_EQ(raw.Text(5, 10), "Block   2");
    EXPECT_EQ(raw.Text(982, 15), "KrCompoundFile");
    EXPECT_EQ(raw.bytes.substr(997, 9), "ABCDEFGHI");
    EXPECT_EQ(raw.Text(RawFile::At(2, 5), 10), "BlockFile") << "data blocks keep their signature";
    EXPECT_EQ(raw.Content(raw.Find("kravonel_block_file_free_list").firstBlock).substr(0, 16),
              raw.DirectoryDigest());
    EXPECT_TRUE(GetAll(path_) == (Model{{"Caf\xE9", "Z" + content_.substr(1)}, {"new", "text"}}));
}

TEST_F(Version1, ForcedFlushAloneTakesTheRecordOfFreeBlocksAlong) {
    OpenWith(bytes_);
    EXPECT_EQ(file_.FlushToString().substr(5, 9), "Block   2");
    const RawFile raw = Closed();
    EXPECT_EQ(raw.Content(raw.Find("kravonel_block_file_free_list").firstBlock).substr(0, 16),
              raw.DirectoryDigest());
}

} // namespace
