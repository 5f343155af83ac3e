#include "tests/streamsources/Project.h"
#include "tests/support/SystemCalls.h"

#include <TALVOutl/Exception.h>

namespace {

namespace fs = boost::filesystem;

class Compaction : public Project {
protected:
    void TearDown() override { SystemCalls::Reset(); }

    /// What compaction says when it fails; empty when it does not.
    std::string Compact() {
        try {
            source_.CompactCompoundFile();
            return {};
        } catch (const Exception& exception) {
            return exception.what();
        }
    }
    std::string Copy(char letter) const {
        return folder_ / (std::string("dravoptmp") + letter + ".kdp");
    }
};

TEST_F(Compaction, FreesWhatItSaysAndKeepsEverythingElse) {
    WriteFile(path_, FileOf(With({{"big", Pattern(300000, 9)}})));
    fs::permissions(path_, fs::owner_all | fs::group_read);
    Open();
    EXPECT_EQ(source_.GetUnUsedFileSpace(), 0U);
    ASSERT_TRUE(Read(source_, "b"));
    WriteFile(InWorkspace("CouldNotDelete"), "");
    *source_.GetTempOStream("scratch") << Pattern(70000, 1);
    EXPECT_EQ(source_.GetUnUsedFileSpace(), 0U) << "copies, temporary files, the marker";
    ASSERT_TRUE(Write(source_, "A", Pattern(2000, 5)));
    source_.DeleteSource("big");
    const std::uint64_t unused = source_.GetUnUsedFileSpace();
    EXPECT_NEAR(static_cast<double>(unused), 310000, 1024);
    const std::uint64_t before = fs::file_size(path_);
    EXPECT_EQ(Compact(), "");
    EXPECT_FALSE(source_.IsDirty());
    EXPECT_EQ(Read(source_, "A"), Pattern(2000, 5));
    ASSERT_TRUE(Write(source_, "b", "newer"));
    source_.CloseFile();
    EXPECT_NEAR(static_cast<double>(before - fs::file_size(path_)), static_cast<double>(unused),
                2000);
    Model expected = With({{"A", Pattern(2000, 5)}, {"b", "newer"}});
    expected.erase("a");
    EXPECT_TRUE(GetAll(path_) == expected);
    EXPECT_EQ(fs::status(path_).permissions(), fs::owner_all | fs::group_read);
    EXPECT_FALSE(fs::exists(Copy('A')));
}

TEST_F(Compaction, IsSilentOnSourcesThatCannotBeWritten) {
    EXPECT_EQ(Compact(), "");
    ASSERT_EQ(source_.Open(Source::NewWorkspace, true), Source::NoError);
    const std::string before = ReadFile(path_);
    EXPECT_EQ(Compact(), "");
    EXPECT_EQ(source_.GetUnUsedFileSpace(), 0U);
    EXPECT_TRUE(ReadFile(path_) == before);
}

TEST_F(Compaction, FailsWithoutLosingAnything) {
    struct {
        const char* call;
        std::string pathEnd;
        std::string message;
        bool oldIsThere;
    } const cases[] = {
        {"unlink", "/project", "The file could not be compacted.", true},
        {"rmdir", "/workspace", "The old file could not be closed.", true},
        {"rename", "/project",
         "The temporary file could not be renamed.\nThe new file name is dravoptmpA.kdp.", false},
    };
    for (const auto& obstacle : cases) {
        for (const std::string change : {"", "told", "untold"}) {
            SCOPED_TRACE(obstacle.call + (", " + change));
            const bool changed = !change.empty();
            const std::string before = ReadFile(path_);
            Open();
            if (change == "told") {
                ASSERT_TRUE(Write(source_, "a", "unsaved"));
            } else if (changed) {
                ASSERT_TRUE(source_.ExtractAllFiles());
                WriteFile(InWorkspace("a"), "unsaved");
            }
            SystemCalls::Refuse(obstacle.call, obstacle.pathEnd);
            EXPECT_EQ(Compact(), obstacle.message);
            SystemCalls::Reset();
            EXPECT_EQ(fs::exists(path_), obstacle.oldIsThere);
            EXPECT_EQ(source_.GetFilePath(), obstacle.oldIsThere ? path_ : Copy('A'));
            source_.Close(Source::DiscardChanges, false);
            EXPECT_EQ(fs::exists(Copy('A')), changed || !obstacle.oldIsThere);
            if (fs::exists(Copy('A'))) {
                EXPECT_TRUE(GetAll(Copy('A')) == (changed ? With({{"a", "unsaved"}}) : kStreams));
            }
            fs::remove(Copy('A'));
            WriteFile(path_, before);
            source_.SetCompoundFileName(path_.c_str());
        }
    }
}

TEST_F(Compaction, GivesUpACopyThatDoesNotReachTheDisk) {
    Open();
    ASSERT_TRUE(Write(source_, "a", "unsaved"));
    SystemCalls::Refuse("fsync", "");
    EXPECT_EQ(Compact(), "The file could not be copied.");
    SystemCalls::Reset();
    EXPECT_FALSE(fs::exists(Copy('A')));
    EXPECT_TRUE(source_.IsDirty());
    EXPECT_TRUE(Saved() == With({{"a", "unsaved"}}));
}

// Who waits for the disk in the end should not find all of the copy still to be sent. Nobody waits
// for the disk when a file is saved as another.
TEST_F(Compaction, SendsALargeCopyOnWhileItGrows) {
    using Operation = SystemCalls::Operation;
    WriteFile(path_, FileOf({{"1", Pattern(9 << 20, 1)}, {"2", Pattern(9 << 20, 2)}}));
    Open();
    std::vector<Operation> done;
    SystemCalls::Record(&done, folder_ / "");
    EXPECT_EQ(source_.SaveAs((folder_ / "other.kr").c_str()), Source::NoError);
    EXPECT_EQ(Compact(), "");
    SystemCalls::Record(nullptr);
    std::vector<Operation> begun;
    std::copy_if(done.begin(), done.end(), std::back_inserter(begun),
                 [](const Operation& each) { return each.kind == Operation::Kind::BeginSync; });
    ASSERT_EQ(begun.size(), 2U);
    EXPECT_EQ(begun.front().path, Copy('A'));
}

TEST_F(Compaction, IsRefusedWhileSomebodyElseHasTheFileOpen) {
    Open();
    source_.DeleteSource("b");
    CompoundFile other;
    ASSERT_EQ(other.Open(path_.c_str(), KrStreamE::ReadWrite), KrStreamE::Ok);
    EXPECT_EQ(Compact(), "The file could not be compacted.");
    const auto stream = other.GetIOStream("a", "rb");
    other.Close();
    EXPECT_EQ(Compact(), "The file could not be compacted.");
    EXPECT_FALSE(fs::exists(Copy('A')));
    EXPECT_TRUE(source_.IsDirty());
}

// An application's source may keep what it was handed while everything was copied.
TEST_F(Compaction, FailsWhileAStreamOfItsOwnIsKept) {
    struct Keeper : Source {
        using Source::Source;
        std::unique_ptr<std::istream> GetIStream(const char* name) override {
            kept = Source::GetIStream(name);
            return Source::GetIStream(name);
        }
        std::unique_ptr<std::istream> kept;
    };
    Keeper keeper(path_.c_str(), workspace_.c_str());
    ASSERT_EQ(keeper.Open(Source::NewWorkspace, false), Source::NoError);
    EXPECT_THROW(keeper.CompactCompoundFile(), Exception);
    EXPECT_FALSE(fs::exists(Copy('A')));
    keeper.kept.reset();
    keeper.CloseFile();
    EXPECT_TRUE(GetAll(path_) == kStreams);
}

TEST_F(Compaction, NeedsAFreeNameForTheCopy) {
    Open();
    for (char letter = 'A'; letter <= 'Y'; ++letter) {
        WriteFile(Copy(letter), "");
    }
    EXPECT_EQ(Compact(), "Temporary file name could not be generated.");
    fs::remove(Copy('Y'));
    EXPECT_EQ(Compact(), "");
    EXPECT_FALSE(fs::exists(Copy('Y')));
    EXPECT_TRUE(Saved() == kStreams);
}

} // namespace
