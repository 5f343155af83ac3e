#include "tests/support/Entries.h"
#include "tests/support/RawFile.h"
#include "tests/support/TempFolder.h"
#include "tests/support/UmlautLetters.h"

#include <gtest/gtest.h>

#include <locale>

namespace {

TEST(EmptyHandle, AnswersEveryCall) {
    CompoundFile file;
    unsigned long index = 0;
    EXPECT_EQ(file.Close(), KrStreamE::NotOpen);
    EXPECT_EQ(file.GetStatus(), KrStreamE::NotOpen);
    EXPECT_EQ(file.Encrypt("p"), KrStreamE::NotOpen);
    EXPECT_EQ(file.Decrypt(), KrStreamE::NotOpen);
    EXPECT_TRUE(file.SetPassword("p"));
    EXPECT_FALSE(file.IsReadOnly() || file.IsEncrypted() || file.Exists("x"));
    EXPECT_FALSE(file.DeleteCFFile("x"));
    EXPECT_EQ(file.GetCompoundFileName() + file.FlushToString(), "");
    EXPECT_EQ(file.GetFirstDirEntry(&index), nullptr);
    EXPECT_EQ(file.GetNextDirName(&index), nullptr);
    EXPECT_EQ(file.GetNumDirEntrys() + file.GetNumUsedBlocks() + file.GetNumDirBlocks(), 0);
    EXPECT_EQ(file.GetIOStream("x", "wb"), nullptr);
    EXPECT_EQ(file.GetCompoundFileServer(), nullptr);
    file.Flush();
}

class Handle : public testing::Test {
protected:
    TempFolder folder_;
    const std::string path_ = folder_ / "file";
};

TEST_F(Handle, HandlesAndStreamsShareOneEngine) {
    CompoundFile first;
    CompoundFile second;
    ASSERT_EQ(first.Open(path_.c_str(), KrStreamE::ReadOnly), KrStreamE::Ok);
    const std::string otherSpelling = folder_ / "sub/../FILE";
    ASSERT_EQ(second.Open(otherSpelling.c_str(), KrStreamE::ReadWrite), KrStreamE::Ok);
    EXPECT_EQ(first.GetCompoundFileServer(), second.GetCompoundFileServer());
    EXPECT_TRUE(second.IsReadOnly()) << "the first opener's mode stays";
    first.Close();
    EXPECT_EQ(second.GetStatus(), KrStreamE::Ok);
    second.Close();

    ASSERT_EQ(first.Open(path_.c_str(), KrStreamE::ReadWrite), KrStreamE::Ok);
    auto stream = first.GetIOStream("e", "wb");
    first.Close();
    stream->write("alive", 5);
    ASSERT_EQ(second.Open(path_.c_str(), KrStreamE::ReadOnly), KrStreamE::Ok);
    EXPECT_FALSE(second.IsReadOnly()) << "the stream kept the engine";
    second.Close();
    stream.reset();
    EXPECT_EQ(RawFile(ReadFile(path_)).Faults(), "") << "the last stream closed the file";
    EXPECT_TRUE(GetAll(path_) == (Model{{"e", "alive"}}));
}

TEST_F(Handle, CopiesShareOneReference) {
    CompoundFile file;
    ASSERT_EQ(file.Open(path_.c_str(), KrStreamE::ReadWrite), KrStreamE::Ok);
    CompoundFile assigned;
    std::optional<CompoundFile> copy(file);
    assigned = *copy;
    EXPECT_EQ(assigned.GetStatus(), KrStreamE::Ok);
    copy.reset();
    EXPECT_EQ(file.GetStatus(), KrStreamE::NotOpen);
    EXPECT_EQ(assigned.Close(), KrStreamE::NotOpen);
    EXPECT_EQ(assigned.Open(path_.c_str(), KrStreamE::ReadOnly), KrStreamE::Ok);
    EXPECT_TRUE(assigned.IsReadOnly()) << "the file had been closed";
    EXPECT_EQ(file.GetStatus(), KrStreamE::NotOpen);
}

TEST_F(Handle, ReopeningGivesUpTheOldFile) {
    CompoundFile file;
    ASSERT_EQ(file.Open(path_.c_str(), KrStreamE::ReadWrite), KrStreamE::Ok);
    Put(file, "e", "x");
    EXPECT_EQ(file.Open((folder_ / "no/such/folder").c_str(), KrStreamE::ReadOnly),
              KrStreamE::NotOpen);
    EXPECT_EQ(file.GetStatus(), KrStreamE::NotOpen);
    EXPECT_EQ(RawFile(ReadFile(path_)).Faults(), "");
}

TEST_F(Handle, CallersStreams) {
    auto stream = std::make_shared<std::stringstream>("old content that is ignored");
    CompoundFile file;
    ASSERT_EQ(file.Open(stream), KrStreamE::Ok);
    EXPECT_EQ(file.GetCompoundFileName(), "");
    EXPECT_EQ(file.GetNumDirEntrys(), 0);
    Put(file, "e", Pattern(5000, 1));
    EXPECT_EQ(RawFile(file.FlushToString()).Find("e").size, 5000U);
    file.Close();
    EXPECT_EQ(RawFile(stream->str()).Faults(), "");

    const std::weak_ptr<std::iostream> watched = stream;
    ASSERT_EQ(file.Open(stream, false), KrStreamE::Ok);
    stream.reset();
    EXPECT_TRUE(GetAll(file) == (Model{{"e", Pattern(5000, 1)}}));
    EXPECT_FALSE(watched.expired());
    file.Close();
    EXPECT_TRUE(watched.expired()) << "the engine's share ends with it";

    auto shortLived = std::make_shared<std::stringstream>();
    ASSERT_EQ(file.Open(shortLived, true), KrStreamE::Ok);
    Put(file, "e", "x");
    shortLived.reset();
    EXPECT_FALSE(Put(file, "f", "y"));
    EXPECT_EQ(file.GetStatus(), KrStreamE::Failed);
    EXPECT_EQ(file.Open(std::shared_ptr<std::iostream>()), KrStreamE::NotOpen);
    EXPECT_EQ(file.Open(std::make_shared<std::stringstream>("no block file"), true),
              KrStreamE::NotOpen);
}

TEST_F(Handle, DirectoryWalkFollowsSlots) {
    CompoundFile file;
    ASSERT_EQ(file.Open(path_.c_str(), KrStreamE::ReadWrite), KrStreamE::Ok);
    for (const char* name : {"b", "a", "d", "c"}) {
        Put(file, name, name);
    }
    file.DeleteCFFile("a");
    std::string names;
    unsigned long index = 77;
    for (const DirEntry* entry = file.GetFirstDirEntry(&index); entry != nullptr;
         entry = file.GetNextDirEntry(&index)) {
        names += entry->name + std::to_string(index);
    }
    EXPECT_EQ(names, "b0d2c3");
    EXPECT_EQ(file.GetNextDirName(&index), nullptr);
    EXPECT_EQ(file.GetNumDirEntrys(), 3);
    EXPECT_EQ(file.GetNumDirBlocks(), 2);
}

TEST_F(Handle, ExistsFollowsTheGlobalLocale) {
    CompoundFile file;
    ASSERT_EQ(file.Open(path_.c_str(), KrStreamE::ReadWrite), KrStreamE::Ok);
    Put(file, "Name\xC4", "x");
    EXPECT_TRUE(file.Exists("nAME\xC4"));
    EXPECT_FALSE(file.Exists("nAME\xE4"));
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new UmlautLetters));
    EXPECT_TRUE(file.Exists("nAME\xE4"));
    EXPECT_FALSE(file.Exists("nAME\xE5"));
    std::locale::global(before);
}

// A hundred thousand entries; anything that scans the directory for each of them would not end in
// time.
TEST_F(Handle, ManyEntries) {
    constexpr int kCount = 100000;
    CompoundFile file;
    ASSERT_EQ(file.Open(path_.c_str(), KrStreamE::ReadWrite), KrStreamE::Ok);
    for (int i = 0; i < kCount; ++i) {
        ASSERT_TRUE(Put(file, "Entry" + std::to_string(i), std::to_string(i)));
    }
    file.Close();
    ASSERT_EQ(file.Open(path_.c_str(), KrStreamE::ReadWrite), KrStreamE::Ok);
    EXPECT_EQ(file.GetNumDirEntrys(), kCount + 1);
    for (int i = 0; i < kCount; ++i) {
        ASSERT_TRUE(file.Exists(("eNTRY" + std::to_string(i)).c_str()));
    }
    EXPECT_EQ(Get(file, "entry54321"), "54321");
    for (int i = 0; i < kCount; ++i) {
        ASSERT_TRUE(file.DeleteCFFile(("entry" + std::to_string(i)).c_str()));
    }
    EXPECT_EQ(file.GetNumDirEntrys(), 1);
    file.Close();
    EXPECT_EQ(RawFile(ReadFile(path_)).Faults(), "");
}

} // namespace
