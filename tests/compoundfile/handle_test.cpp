#include "FileTest.h"
#include "tests/support/UmlautLetters.h"

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

using Handle = FileTest;

TEST_F(Handle, HandlesAndStreamsShareOneEngine) {
    CompoundFile second;
    Open(KrStreamE::ReadOnly);
    const std::string otherSpelling = folder_ / "sub/../FILE";
    ASSERT_EQ(second.Open(otherSpelling.c_str(), KrStreamE::ReadWrite), KrStreamE::Ok);
    EXPECT_EQ(file_.GetCompoundFileServer(), second.GetCompoundFileServer());
    EXPECT_TRUE(second.IsReadOnly()) << "the first opener's mode stays";
    file_.Close();
    EXPECT_EQ(second.GetStatus(), KrStreamE::Ok);
    second.Close();

    Open();
    auto stream = file_.GetIOStream("e", "wb");
    file_.Close();
    stream->write("alive", 5);
    Open(KrStreamE::ReadOnly);
    EXPECT_FALSE(file_.IsReadOnly()) << "the stream kept the engine";
    file_.Close();
    stream.reset();
    EXPECT_EQ(Findings(path_), "") << "the last stream closed the file";
    EXPECT_TRUE(GetAll(path_) == (Model{{"e", "alive"}}));
}

TEST_F(Handle, CopiesShareOneReference) {
    CompoundFile assigned;
    std::optional<CompoundFile> copy(file_);
    assigned = *copy;
    EXPECT_EQ(assigned.GetStatus(), KrStreamE::Ok);
    copy.reset();
    EXPECT_EQ(file_.GetStatus(), KrStreamE::NotOpen);
    EXPECT_EQ(assigned.Close(), KrStreamE::NotOpen);
    EXPECT_EQ(assigned.Open(path_.c_str(), KrStreamE::ReadOnly), KrStreamE::Ok);
    EXPECT_TRUE(assigned.IsReadOnly()) << "the file had been closed";
    EXPECT_EQ(file_.GetStatus(), KrStreamE::NotOpen);
}

TEST_F(Handle, ReopeningGivesUpTheOldFile) {
    Put(file_, "e", "x");
    EXPECT_EQ(file_.Open((folder_ / "no/such/folder").c_str(), KrStreamE::ReadOnly),
              KrStreamE::NotOpen);
    EXPECT_EQ(file_.GetStatus(), KrStreamE::NotOpen);
    EXPECT_EQ(Findings(path_), "");
}

TEST_F(Handle, CallersStreams) {
    auto stream = std::make_shared<std::stringstream>("old content that is ignored");
    ASSERT_EQ(file_.Open(stream), KrStreamE::Ok);
    EXPECT_EQ(file_.GetCompoundFileName(), "");
    EXPECT_EQ(file_.GetNumDirEntrys(), 0);
    Put(file_, "e", Pattern(5000, 1));
    EXPECT_EQ(RawFile(file_.FlushToString()).Find("e").size, 5000U);
    file_.Close();
    WriteFile(path_, stream->str());
    EXPECT_EQ(Findings(path_), "");

    const std::weak_ptr<std::iostream> watched = stream;
    ASSERT_EQ(file_.Open(stream, false), KrStreamE::Ok);
    stream.reset();
    EXPECT_TRUE(GetAll(file_) == (Model{{"e", Pattern(5000, 1)}}));
    EXPECT_FALSE(watched.expired());
    file_.Close();
    EXPECT_TRUE(watched.expired()) << "the engine's share ends with it";

    auto shortLived = std::make_shared<std::stringstream>();
    ASSERT_EQ(file_.Open(shortLived, true), KrStreamE::Ok);
    Put(file_, "e", "x");
    shortLived.reset();
    EXPECT_FALSE(Put(file_, "f", "y"));
    EXPECT_EQ(file_.GetStatus(), KrStreamE::Failed);
    EXPECT_EQ(file_.Open(std::shared_ptr<std::iostream>()), KrStreamE::NotOpen);
    EXPECT_EQ(file_.Open(std::make_shared<std::stringstream>("no block file"), true),
              KrStreamE::NotOpen);
}

TEST_F(Handle, DirectoryWalkFollowsSlots) {
    for (const char* name : {"b", "a", "d", "c"}) {
        Put(file_, name, name);
    }
    file_.DeleteCFFile("a");
    std::string names;
    unsigned long index = 77;
    for (const DirEntry* entry = file_.GetFirstDirEntry(&index); entry != nullptr;
         entry = file_.GetNextDirEntry(&index)) {
        names += entry->name + std::to_string(index);
    }
    EXPECT_EQ(names, "b0d2c3");
    EXPECT_EQ(file_.GetNextDirName(&index), nullptr);
    EXPECT_EQ(file_.GetNumDirEntrys(), 3);
    EXPECT_EQ(file_.GetNumDirBlocks(), 2);
}

TEST_F(Handle, ExistsFollowsTheGlobalLocale) {
    Put(file_, "Name\xC4", "x");
    EXPECT_TRUE(file_.Exists("nAME\xC4"));
    EXPECT_FALSE(file_.Exists("nAME\xE4"));
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new UmlautLetters));
    EXPECT_TRUE(file_.Exists("nAME\xE4"));
    EXPECT_FALSE(file_.Exists("nAME\xE5"));
    std::locale::global(before);
}

// A hundred thousand entries; anything that scans the directory for each of them would not end in
// time.
TEST_F(Handle, ManyEntries) {
    constexpr int kCount = 100000;
    for (int i = 0; i < kCount; ++i) {
        ASSERT_TRUE(Put(file_, "Entry" + std::to_string(i), std::to_string(i)));
    }
    Open();
    EXPECT_EQ(file_.GetNumDirEntrys(), kCount + 1);
    for (int i = 0; i < kCount; ++i) {
        ASSERT_TRUE(file_.Exists(("eNTRY" + std::to_string(i)).c_str()));
    }
    EXPECT_EQ(Get(file_, "entry54321"), "54321");
    for (int i = 0; i < kCount; ++i) {
        ASSERT_TRUE(file_.DeleteCFFile(("entry" + std::to_string(i)).c_str()));
    }
    EXPECT_EQ(file_.GetNumDirEntrys(), 1);
    ClosedSound();
}

} // namespace
