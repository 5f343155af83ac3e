#include "tests/streamsources/Project.h"

#include <functional>
#include <map>

namespace {

namespace fs = boost::filesystem;

/// What an application may do to the stream "a".
using Step = std::function<void(Source&, const std::string& file)>;
const std::map<char, Step> kSteps = {
    {'r', [](Source& source, const std::string&) { Read(source, "a"); }},
    {'w', [](Source& source, const std::string&) { Write(source, "A", "new"); }},
    {'c', [](Source& source, const std::string&) { *source.GetIOStream("a") << "Z"; }},
    {'t', [](Source& source, const std::string&) { *source.GetTempOStream("a") << "scratch"; }},
    {'T', [](Source& source, const std::string&) { *source.GetTempIOStream("a") << "Y"; }},
    {'f', [](Source&, const std::string& file) { WriteFile(file, "by hand"); }},
    {'!', [](Source& source, const std::string&) { source.SetIsDirty(true, "A"); }},
    {'.', [](Source& source, const std::string&) { source.SetIsDirty(true, nullptr); }},
    {'d',
     [](Source& source, const std::string&) {
         source.DeleteSource("a");
         EXPECT_FALSE(Read(source, "a") || source.StreamExists("a") || source.GetStreamSize("a"));
         EXPECT_EQ(source.GetFileNames()->count("a"), 0U);
     }},
};

/// Steps, and what is in the file once they are saved; "-" for no such entry, "<a>" for the bytes
/// that were there.
struct Edit {
    const char* name;
    std::string steps;
    std::string after;
};

const Edit kEdits[] = {
    {"read", "r", "<a>"},
    {"write", "w", "new"},
    {"change", "c", "Z<a>"},
    {"read_then_change", "rc", "Z<a>"},
    {"change_then_read", "cr", "Z<a>"},
    {"file_changed_and_told", "rf!", "by hand"},
    {"file_made", "f.", "by hand"},
    {"deleted", "d", "-"},
    {"read_then_deleted", "rd", "-"},
    {"written_then_deleted", "wd", "-"},
    {"deleted_then_written", "dw", "new"},
    {"deleted_then_brought_back", "dc", "Z<a>"},
    {"deleted_then_made_by_hand", "rdf", "by hand"},
    {"temporary", "t.", "<a>"},
    {"temporary_then_changed", "tc", "Zcratch"},
    {"changed_then_temporary", "cT", "<a>"},
};

class Saving : public Project, public testing::WithParamInterface<Edit> {
protected:
    void Apply() {
        for (const char step : GetParam().steps) {
            kSteps.at(step)(source_, InWorkspace("a"));
        }
    }
    Model Expected() const {
        Model streams = kStreams;
        std::string after = GetParam().after;
        const std::size_t old = after.find("<a>");
        if (old != std::string::npos) {
            after.replace(old, 3, kStreams.at("a").substr(old));
        }
        streams.erase("a");
        if (after != "-") {
            streams["a"] = after;
        }
        return streams;
    }
    /// A rewritten entry takes the spelling of its file.
    static Model Spelled(Model streams) {
        if (streams.count("A") != 0) {
            streams["a"] = streams["A"];
            streams.erase("A");
        }
        return streams;
    }
};

TEST_P(Saving, WritesWhatChangedAndGoesOn) {
    Open();
    Apply();
    ASSERT_EQ(source_.CopyToBlockFile(false), Source::NoError);
    EXPECT_FALSE(source_.IsDirty());
    EXPECT_TRUE(Spelled(GetAll(path_)) == Expected());
    const std::string saved = ReadFile(path_);
    source_.SetIsDirty(true, nullptr);
    ASSERT_EQ(source_.CopyToBlockFile(false), Source::NoError);
    EXPECT_TRUE(ReadFile(path_) == saved) << "nothing was left to save";
    ASSERT_TRUE(Write(source_, "a", "again"));
    EXPECT_EQ(Spelled(Saved()).at("a"), "again");
}

TEST_P(Saving, ElsewhereTakesEverythingAndLeavesTheFile) {
    const std::string before = ReadFile(path_);
    Open();
    Apply();
    const std::string copy = folder_ / "copy";
    WriteFile(copy, "something older");
    fs::permissions(copy, fs::owner_all | fs::group_read);
    ASSERT_EQ(source_.SaveAs(copy.c_str()), Source::NoError);
    EXPECT_FALSE(source_.IsDirty());
    EXPECT_EQ(fs::status(copy).permissions(), fs::owner_all | fs::group_read);
    EXPECT_TRUE(Spelled(GetAll(copy)) == Expected());
    EXPECT_EQ(source_.Close(Source::SaveChanges, false), Source::NoError);
    EXPECT_TRUE(ReadFile(path_) == before);
}

INSTANTIATE_TEST_SUITE_P(, Saving, testing::ValuesIn(kEdits),
                         [](const auto& edit) { return std::string(edit.param.name); });

class SavingProject : public Project {};

TEST_F(SavingProject, IncrementallyAndWholeDifferInWhatTheyLeaveOut) {
    Open();
    *source_.GetTempOStream("scratch") << "temporary";
    EXPECT_FALSE(source_.IsDirty());
    ASSERT_TRUE(Write(source_, "new", "kept"));
    source_.DeleteSource("b");
    fs::create_directory(InWorkspace("folder"));
    WriteFile(InWorkspace("couldNOTdelete"), "");
    ASSERT_EQ(source_.CopyToBlockFile(true), Source::NoError);
    CompoundFile file;
    ASSERT_EQ(file.Open(path_.c_str(), KrStreamE::ReadWrite), KrStreamE::Ok);
    EXPECT_TRUE(GetAll(file) == With({{"scratch", "temporary"}, {"new", "kept"}}));
    file.DeleteCFFile("scratch");
    ASSERT_EQ(source_.CopyToBlockFile(false), Source::NoError);
    Model expected = With({{"new", "kept"}});
    expected.erase("b");
    EXPECT_TRUE(GetAll(file) == expected);
}

TEST_F(SavingProject, IsRefusedToReadersAndSavesNothingWhenDiscarded) {
    const std::string before = ReadFile(path_);
    Open();
    ASSERT_TRUE(Write(source_, "a", "new"));
    source_.SetIsReadOnly(true);
    EXPECT_EQ(source_.CopyToBlockFile(false), Source::CouldNotOpenCompoundFile);
    EXPECT_EQ(source_.Close(Source::SaveChanges, false), Source::CouldNotOpenCompoundFile);
    EXPECT_TRUE(source_.IsDirty());
    EXPECT_EQ(ReadFile(InWorkspace("a")), "new");
    EXPECT_EQ(source_.Close(Source::DiscardChanges, false), Source::NoError);
    EXPECT_FALSE(fs::exists(workspace_));
    EXPECT_TRUE(ReadFile(path_) == before);
    EXPECT_EQ(source_.CopyToBlockFile(false), Source::CouldNotOpenCompoundFile);
}

TEST_F(SavingProject, KeepsEditsWhenEverythingIsCopiedOut) {
    Open();
    ASSERT_TRUE(Write(source_, "a", "edited"));
    ASSERT_TRUE(Write(source_, "new", "made"));
    ASSERT_TRUE(source_.ExtractAllFiles());
    EXPECT_TRUE(ReadFile(InWorkspace("b")) == kStreams.at("b"));
    // Edited without a word: whatever was copied out this way is saved.
    WriteFile(InWorkspace("empty"), "filled");
    EXPECT_TRUE(Saved() == With({{"a", "edited"}, {"new", "made"}, {"empty", "filled"}}));
}

TEST_F(SavingProject, CopiesOfASourceAreOneWorkspace) {
    Open();
    auto copy = std::make_unique<Source>(source_);
    ASSERT_TRUE(Write(*copy, "a", "new"));
    EXPECT_TRUE(source_.IsDirty());
    copy->SetIsReadOnly(true);
    EXPECT_FALSE(source_.IsReadOnly());
    EXPECT_TRUE(Saved() == With({{"a", "new"}}));
    EXPECT_EQ(copy->CopyToBlockFile(false), Source::CouldNotOpenCompoundFile);
    EXPECT_EQ(copy->GetIStream("a"), nullptr);
    copy.reset();
    Open();
    EXPECT_EQ(Read(source_, "a"), "new");
}

TEST_F(SavingProject, ElsewhereRefusesWhatIsInUseOrNoFile) {
    Open();
    ASSERT_TRUE(Write(source_, "a", "new"));
    const std::string other = folder_ / "other";
    fs::copy_file(path_, other);
    CompoundFile reader;
    ASSERT_EQ(reader.Open(other.c_str(), KrStreamE::ReadOnly), KrStreamE::Ok);
    fs::create_directory(folder_ / "folder");
    for (const std::string& target : {path_, other, folder_ / "folder", folder_ / "PROJECT",
                                      folder_ / "OTHER", InWorkspace("copy")}) {
        EXPECT_EQ(source_.SaveAs(target.c_str()), Source::FileSystemError) << target;
    }
    fs::rename(path_, folder_ / "moved");
    EXPECT_EQ(source_.SaveAs(path_.c_str()), Source::FileSystemError) << "still open";
    EXPECT_FALSE(fs::exists(path_));
    EXPECT_EQ(source_.SaveAs((folder_ / "no/file").c_str()), Source::CouldNotOpenCompoundFile);
    EXPECT_EQ(source_.SaveAs(nullptr), Source::CouldNotOpenCompoundFile);
    EXPECT_TRUE(fs::exists(folder_ / "folder"));
    EXPECT_TRUE(GetAll(reader) == kStreams);
    EXPECT_TRUE(source_.IsDirty());
    // A copy that goes takes the file with it; then not everything could be saved.
    { const Source copy = source_; }
    EXPECT_EQ(source_.SaveAs((folder_ / "new").c_str()), Source::CouldNotOpenCompoundFile);
    EXPECT_TRUE(source_.IsDirty());
}

TEST_F(SavingProject, IsRefusedWhereTheFileIsOpenForReadingOnly) {
    CompoundFile reader;
    ASSERT_EQ(reader.Open(path_.c_str(), KrStreamE::ReadOnly), KrStreamE::Ok);
    Open();
    source_.DeleteSource("a");
    EXPECT_EQ(source_.Close(Source::SaveChanges, false), Source::CouldNotOpenCompoundFile);
    reader.Close();
    Open(Source::ExistingWorkspace);
    source_.DeleteSource("a");
    EXPECT_EQ(Saved().count("a"), 0U);
}

TEST_F(SavingProject, ChangesFoldersOnlyByOpening) {
    Open();
    ASSERT_TRUE(Write(source_, "a", "new"));
    fs::create_directory(folder_ / "other");
    WriteFile(folder_ / "other/precious", "kept");
    source_.SetDirectoryName((folder_ / "other").c_str());
    EXPECT_EQ(source_.GetDirectoryName(), folder_ / "other");
    source_.CompactCompoundFile();
    EXPECT_EQ(source_.GetDirectoryName(), workspace_ + "/");
    source_.SetDirectoryName((folder_ / "other").c_str());
    EXPECT_TRUE(Saved() == With({{"a", "new"}}));
    EXPECT_EQ(source_.Close(Source::DiscardChanges, false), Source::NoError);
    EXPECT_FALSE(Write(source_, "precious", "x"));
    EXPECT_EQ(ReadFile(folder_ / "other/precious"), "kept");
}

TEST_F(SavingProject, KeepsThePasswordOfAnEncryptedFile) {
    const auto open = [](CompoundFile& file, const std::string& path) {
        return file.Open(path.c_str(), KrStreamE::ReadWrite) == KrStreamE::Ok && !Get(file, "a") &&
               file.SetPassword("secret") && file.IsEncrypted();
    };
    const std::string copy = folder_ / "copy";
    CompoundFile file;
    ASSERT_EQ(file.Open(path_.c_str(), KrStreamE::ReadWrite), KrStreamE::Ok);
    ASSERT_EQ(file.Encrypt("secret"), KrStreamE::Ok);
    file.Close();

    Open();
    WriteFile(copy, "older");
    source_.DeleteSource("b");
    EXPECT_EQ(source_.SaveAs(copy.c_str()), Source::CompoundFileCorrupt) << "no password yet";
    EXPECT_EQ(source_.CopyToBlockFile(false), Source::CompoundFileCorrupt);
    EXPECT_EQ(source_.GetIStream("a"), nullptr);
    EXPECT_EQ(ReadFile(copy), "older");
    ASSERT_EQ(file.Open(path_.c_str(), KrStreamE::ReadWrite), KrStreamE::PasswordRequired);
    ASSERT_TRUE(file.SetPassword("secret"));
    ASSERT_TRUE(Write(source_, "new", "text"));
    ASSERT_EQ(source_.SaveAs(copy.c_str()), Source::NoError);
    source_.SetIsDirty(true, nullptr);
    EXPECT_THROW(source_.CompactCompoundFile(), std::exception) << "the other handle has it open";
    file.Close();
    source_.CompactCompoundFile();
    EXPECT_EQ(source_.Close(Source::SaveChanges, false), Source::NoError);
    Model expected = With({{"new", "text"}});
    expected.erase("b");
    for (const std::string& path : {path_, copy}) {
        CompoundFile saved;
        ASSERT_TRUE(open(saved, path)) << path;
        EXPECT_EQ(saved.EncryptLike(saved), KrStreamE::Ok);
        EXPECT_TRUE(saved.IsEncrypted());
        EXPECT_TRUE(GetAll(saved) == expected);
    }
}

} // namespace
