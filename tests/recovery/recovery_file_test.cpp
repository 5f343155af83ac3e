#include "Repair.h"
#include "tests/support/RawFile.h"

#include <cerrno>

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

/// Stands on a bad place of the disk; 0 for none.
off_t unreadableBlock = 0;

} // namespace

// Takes the place of the C library's, for the library under test too.
extern "C" ssize_t pread(int descriptor, void* bytes, std::size_t count, off_t offset) {
    const off_t bad = (unreadableBlock - 1) * 1024;
    const bool reachesBad =
        unreadableBlock != 0 && offset < bad + 1024 && offset + static_cast<off_t>(count) > bad;
    if (reachesBad && offset >= bad) {
        errno = EIO;
        return -1;
    }
    count = reachesBad ? static_cast<std::size_t>(bad - offset) : count;
    return syscall(SYS_pread64, descriptor, bytes, count, offset);
}

namespace {

using Recovery::Status;

class RecoveryFile : public testing::Test {
protected:
    Status OpenWith(const std::string& bytes) {
        WriteFile(path_, bytes);
        return file_.Open(path_.c_str());
    }

    const TempFolder folder_;
    const std::string path_ = folder_ / "file";
    Recovery::File file_;
};

TEST_F(RecoveryFile, OpensOnlyBlockFilesAndCreatesNone) {
    EXPECT_EQ(file_.Open(path_.c_str()), Status::NotOpen);
    EXPECT_FALSE(boost::filesystem::exists(path_));
    EXPECT_EQ(file_.Open(nullptr), Status::NotOpen);
    EXPECT_EQ(file_.Open("/dev/null"), Status::NotOpen);
    EXPECT_EQ(file_.Open((folder_ / "").c_str()), Status::NotOpen);
    ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(file_.Open((folder_ / "pipe").c_str()), Status::NotOpen);
    for (const std::string& bytes :
         {std::string(4096, '\0'), std::string("text"), Pattern(5000, 1)}) {
        EXPECT_EQ(OpenWith(bytes), Status::NotBlockFile);
    }
    EXPECT_EQ(OpenWith(""), Status::Ok);
    EXPECT_TRUE(file_.Check().empty());
    EXPECT_EQ(OpenWith(FileOf({{"a", "x"}}).substr(0, 600)), Status::Ok);
}

TEST_F(RecoveryFile, IsEmptyWithoutAFile) {
    CompoundFile target;
    std::vector<Recovery::Saved> saved;
    EXPECT_EQ(file_.Length() + file_.Blocks().size() + file_.Entries().size(), 0U);
    EXPECT_FALSE(file_.IsEncrypted() || file_.IsReadable());
    EXPECT_TRUE(file_.Check().empty());
    EXPECT_EQ(file_.Repair(target, saved), Status::NotOpen);
}

TEST_F(RecoveryFile, SharesTheFileWithReadersOnly) {
    ASSERT_EQ(OpenWith(FileOf({{"a", "x"}})), Status::Ok);
    CompoundFile other;
    EXPECT_EQ(other.Open(path_.c_str(), KrStreamE::ReadWrite), KrStreamE::NotOpen);
    EXPECT_EQ(other.Open(path_.c_str(), KrStreamE::ReadOnly), KrStreamE::Ok);
    EXPECT_EQ(file_.Open(path_.c_str()), Status::Ok);
    file_.Open(nullptr);
    other.Close();
    ASSERT_EQ(other.Open(path_.c_str(), KrStreamE::ReadWrite), KrStreamE::Ok);
    EXPECT_EQ(file_.Open(path_.c_str()), Status::InUse);
}

TEST_F(RecoveryFile, TellsWhatEachBlockIs) {
    const auto stream = std::make_shared<std::stringstream>();
    CompoundFile made;
    made.Open(stream);
    for (const char* const name : {"a", "b"}) {
        Put(made, name, Pattern(1500, 1));
    }
    made.DeleteCFFile("a");
    made.Close();
    RawFile raw(stream->str());
    raw.bytes.append(1024, '\0');
    raw.bytes[RawFile::At(3, 4)] = 1;
    ASSERT_EQ(OpenWith(raw.bytes), Status::Ok);
    std::string shown;
    for (const Recovery::Block& block : file_.Blocks()) {
        shown += "fDELof"[static_cast<int>(block.role)] + std::to_string(block.owner);
    }
    EXPECT_EQ(shown, "D0L0o0E1E1f0");
    const std::vector<Recovery::Entry>& entries = file_.Entries();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_TRUE(entries[0].isFreeList);
    EXPECT_EQ(entries[1].name, "b");
    EXPECT_EQ(entries[1].blocks, 2U);
    EXPECT_EQ(entries[1].bytes, 1500U);
    EXPECT_EQ(entries[1].created.size(), 24U);
}

// A disk fails in the middle: the blocks around are still read.
TEST_F(RecoveryFile, ABlockThatCannotBeReadCostsOnlyItself) {
    const Model entries = {{"a", Pattern(2500, 1)}, {"b", Pattern(2500, 2)}, {"c", "cc"}};
    WriteFile(path_, FileOf(entries));
    unreadableBlock = 6;
    EXPECT_EQ(KindsFound(path_),
              "(orphan-block) block-unreadable chain-unreadable size-over-chain");
    ASSERT_EQ(file_.Open(path_.c_str()), Status::Ok);
    CompoundFile target;
    std::vector<Recovery::Saved> saved;
    target.Open((folder_ / "target").c_str(), KrStreamE::ReadWrite);
    EXPECT_EQ(file_.Repair(target, saved), Status::Ok);
    unreadableBlock = 0;
    EXPECT_EQ(GetAll(target), (Model{{"a", entries.at("a")},
                                     {"b", entries.at("b").substr(0, 1003)},
                                     {"c", "cc"},
                                     {"recovered-0001", entries.at("b").substr(2006)}}));
}

/// Keeps what is in it after each write, as a program that dies then would leave it.
class RecordingBuffer : public std::stringbuf {
public:
    std::vector<std::string> states;

protected:
    std::streamsize xsputn(const char* bytes, std::streamsize count) override {
        const std::streamsize written = std::stringbuf::xsputn(bytes, count);
        states.push_back(str());
        return written;
    }
};

// Whatever the moment: room may be wasted then, but nothing is damaged.
TEST_F(RecoveryFile, ProgramsThatDieLeaveNoDamage) {
    RecordingBuffer buffer;
    const auto stream = std::make_shared<std::iostream>(&buffer);
    CompoundFile made;
    for (unsigned life = 0; life < 4; ++life) {
        made.Open(stream, true);
        for (unsigned i = 0; i < 5; ++i) {
            const std::string name = std::to_string((i + life) % 7);
            Put(made, name, Pattern(1003 * i + 700 * life, i));
            made.DeleteCFFile(std::to_string(i % 3 + life).c_str());
            WriteTo(made.GetIOStream(name.c_str(), "r+b"), Pattern(2500, i), std::ios::end);
            made.Flush();
        }
        made.Close();
    }
    EXPECT_GT(buffer.states.size(), 100U);
    for (const std::string& bytes : buffer.states) {
        WriteFile(path_, bytes);
        ASSERT_EQ(file_.Open(path_.c_str()), Status::Ok);
        for (const Recovery::Finding& finding : file_.Check()) {
            // An entry that was on its way into a new directory block could be one that was there.
            EXPECT_TRUE(finding.severity == Recovery::Severity::Notice ||
                        finding.kind == Recovery::Kind::DirectoryUnlinked)
                << Findings(path_);
        }
    }
}

TEST_F(RecoveryFile, Version1FilesAreSoundAndRepaired) {
    const std::string content = Pattern(1500, 7);
    RawFile raw = Version1File("Caf\xE9", content);
    WriteFile(path_, raw.bytes);
    EXPECT_EQ(KindsFound(path_), "(free-list-missing)") << Findings(path_);
    for (const std::size_t magic : {0U, 14U}) {
        raw.bytes[970 + magic] = '!';
        WriteFile(path_, raw.bytes);
        EXPECT_EQ(KindsFound(path_), "(free-list-missing) directory-magic");
        EXPECT_EQ(Repair(path_, nullptr).entries, (Model{{"Caf\xE9", content}}));
    }
}

TEST_F(RecoveryFile, PasswordDecidesWhatCanBeRead) {
    CompoundFile made;
    made.Open(path_.c_str(), KrStreamE::ReadWrite);
    made.Encrypt("secret");
    Put(made, "a", Pattern(2500, 1));
    made.Close();
    RawFile raw(ReadFile(path_));
    for (const bool firstLost : {false, true}) {
        if (firstLost) {
            raw.bytes.replace(0, 1024, 1024, '\0');
        }
        ASSERT_EQ(OpenWith(raw.bytes), Status::Ok);
        EXPECT_EQ(file_.IsEncrypted(), !firstLost);
        CompoundFile target;
        std::vector<Recovery::Saved> saved;
        target.Open((folder_ / "target").c_str(), KrStreamE::ReadWrite);
        EXPECT_EQ(file_.Repair(target, saved) == Status::PasswordRequired, !firstLost);
        EXPECT_EQ(file_.SetPassword("Secret"), firstLost) << "nothing is left to check it by";
        EXPECT_FALSE(file_.SetPassword(""));
        EXPECT_EQ(file_.IsReadable(), firstLost);
    }
}

// An entry can hold a directory block of another file at the very offset where its own would stand.
TEST_F(RecoveryFile, DataThatLooksLikeADirectoryIsData) {
    const std::string magic = std::string(961, 'x') + "KrCompoundFile" + '\0';
    const Model entries = {{"first", magic + Pattern(500, 1)},
                           {"second", Pattern(1003, 2) + magic + Pattern(500, 3)},
                           {"two in a row", magic + Pattern(27, 4) + magic + Pattern(500, 5)}};
    std::string bytes = FileOf(entries);
    WriteFile(path_, bytes);
    EXPECT_EQ(Findings(path_), "");
    bytes[982] = '!';
    WriteFile(path_, bytes);
    EXPECT_EQ(Repair(path_, nullptr).entries, entries);
}

// A small file must not grow into a huge one because all entries claim the same blocks.
TEST_F(RecoveryFile, SharedBlocksAreWrittenOnce) {
    Model entries = {{"0", Pattern(200000, 1)}};
    for (int i = 1; i < 300; ++i) {
        entries[std::to_string(i)] = "x";
    }
    RawFile raw(FileOf(entries));
    for (const RawFile::Slot& slot : raw.Slots()) {
        raw.SetNumber(slot.offset + 309, 4, 2);
        raw.SetNumber(slot.offset + 313, 8, 200000 + slot.offset % 3);
    }
    WriteFile(path_, raw.bytes);
    EXPECT_LE(Repair(path_, nullptr).bytes.size(), 2 * raw.bytes.size());
}

// However long and alike names are, each of them stays below the most that a name may have.
TEST_F(RecoveryFile, EqualNamesGetNumbersThatNobodyHas) {
    RawFile raw(FileOf({{"a", "1"}, {"b", "2"}, {"a-0001", "3"}, {"c", "4"}}));
    const std::string longName(256, 'N');
    for (const RawFile::Slot& slot : raw.Slots()) {
        if (slot.name == "b") {
            raw.bytes[slot.offset] = 'A';
        } else if (slot.name == "c" || slot.name == "kravonel_block_file_free_list") {
            raw.bytes.replace(slot.offset, 256, longName);
        }
    }
    WriteFile(path_, raw.bytes);
    Model repaired = Repair(path_, nullptr).entries;
    EXPECT_EQ(repaired.size(), 5U);
    EXPECT_EQ(repaired["A-0002"], "2");
    EXPECT_EQ(repaired[longName], "4");
    EXPECT_EQ(repaired.count(longName.substr(0, 245) + "-0001"), 1U);
}

TEST_F(RecoveryFile, OrphanChainsAreSavedOnceAndDeletedOnesNever) {
    RawFile raw(FileOf({{"a", Pattern(2500, 1)}, {"recovered-0001", "taken"}, {"z", "zz"}}));
    raw.bytes.replace(19 + 309, 12, 12, '\0');
    WriteFile(path_, raw.bytes);
    const Model orphaned = {
        {"recovered-0001", "taken"}, {"recovered-0002", Pattern(2500, 1)}, {"z", "zz"}};
    const Repaired repaired = Repair(path_, nullptr);
    EXPECT_EQ(repaired.entries, orphaned);
    ASSERT_EQ(repaired.saved.size(), 3U);
    EXPECT_TRUE(repaired.saved[2].isOrphan);
    EXPECT_EQ(repaired.saved[2].savedAs, "recovered-0002");
    for (const std::uint64_t block : {2, 3, 4}) {
        raw.bytes[RawFile::At(block, 4)] = 0;
    }
    WriteFile(path_, raw.bytes);
    EXPECT_EQ(Repair(path_, nullptr).entries, (Model{{"recovered-0001", "taken"}, {"z", "zz"}}));
}

} // namespace
