#include "tests/streamsources/Project.h"

#include <functional>

namespace {

namespace fs = boost::filesystem;

/// What an application does to the stream "a", and what is in the file once that is saved; "-" for
/// no such entry. "<a>" stands for the bytes that were there.
struct Edit {
    const char* name;
    std::function<void(Source&, const std::string& file)> apply;
    std::string after;
};

void Overwrite(Source& source, const char* bytes) {
    if (const auto stream = source.GetIOStream("a")) {
        *stream << bytes;
    }
}

const Edit kEdits[] = {
    {"read", [](Source& source, const std::string&) { Read(source, "a"); }, "<a>"},
    {"write", [](Source& source, const std::string&) { Write(source, "a", "new"); }, "new"},
    {"change", [](Source& source, const std::string&) { Overwrite(source, "Z"); }, "Z<a>"},
    {"empty", [](Source& source, const std::string&) { Write(source, "a", ""); }, ""},
    {"read_then_change",
     [](Source& source, const std::string&) {
         Read(source, "a");
         Overwrite(source, "Z");
     },
     "Z<a>"},
    {"change_then_read",
     [](Source& source, const std::string&) {
         Overwrite(source, "Z");
         Read(source, "a");
     },
     "Z<a>"},
    {"file_changed_and_told",
     [](Source& source, const std::string& file) {
         Read(source, "a");
         WriteFile(file, "by hand");
         source.SetIsDirty(true, "A");
     },
     "by hand"},
    {"file_made",
     [](Source& source, const std::string& file) {
         WriteFile(file, "by hand");
         source.SetIsDirty(true, nullptr);
     },
     "by hand"},
    {"deleted", [](Source& source, const std::string&) { source.DeleteSource("a"); }, "-"},
    {"read_then_deleted",
     [](Source& source, const std::string&) {
         Read(source, "a");
         source.DeleteSource("a");
         EXPECT_FALSE(Read(source, "a"));
         EXPECT_FALSE(source.StreamExists("a"));
         EXPECT_EQ(source.GetStreamSize("a"), 0U);
         EXPECT_EQ(source.GetFileNames()->count("a"), 0U);
     },
     "-"},
    {"deleted_then_written",
     [](Source& source, const std::string&) {
         source.DeleteSource("a");
         Write(source, "A", "reborn");
     },
     "reborn"},
    {"deleted_then_brought_back",
     [](Source& source, const std::string&) {
         source.DeleteSource("a");
         Overwrite(source, "Z");
     },
     "Z<a>"},
    {"deleted_then_made_by_hand",
     [](Source& source, const std::string& file) {
         Read(source, "a");
         source.DeleteSource("a");
         WriteFile(file, "by hand");
         EXPECT_EQ(source.GetStreamSize("a"), 7U);
     },
     "by hand"},
    {"written_then_deleted",
     [](Source& source, const std::string&) {
         Write(source, "a", "new");
         source.DeleteSource("a");
     },
     "-"},
    {"temporary",
     [](Source& source, const std::string&) {
         *source.GetTempOStream("a") << "scratch";
         source.SetIsDirty(true, nullptr);
     },
     "<a>"},
    {"temporary_then_changed",
     [](Source& source, const std::string&) {
         *source.GetTempOStream("a") << "scratch";
         Overwrite(source, "S");
     },
     "Scratch"},
    {"changed_then_temporary",
     [](Source& source, const std::string&) {
         Overwrite(source, "Z");
         *source.GetTempIOStream("a") << "Y";
     },
     "<a>"},
};

class Saving : public Project, public testing::WithParamInterface<Edit> {
protected:
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

TEST_P(Saving, WritesWhatChanged) {
    Open();
    GetParam().apply(source_, InWorkspace("a"));
    EXPECT_TRUE(Spelled(Saved()) == Expected());
}

TEST_P(Saving, GoesOnAfterwards) {
    Open();
    GetParam().apply(source_, InWorkspace("a"));
    const bool isTemporary = std::string(GetParam().name).find("temporary") != std::string::npos;
    ASSERT_EQ(source_.CopyToBlockFile(false), Source::NoError);
    EXPECT_FALSE(source_.IsDirty());
    const std::string saved = ReadFile(path_);
    source_.SetIsDirty(true, nullptr);
    ASSERT_EQ(source_.CopyToBlockFile(false), Source::NoError);
    EXPECT_TRUE(ReadFile(path_) == saved) << "nothing was left to save";
    const auto expected = Expected();
    if (!isTemporary) {
        EXPECT_EQ(Read(source_, "a"), expected.count("a") != 0
                                          ? std::optional<std::string>(expected.at("a"))
                                          : std::nullopt);
    }
    ASSERT_TRUE(Write(source_, "a", "again"));
    EXPECT_EQ(Spelled(Saved()).at("a"), "again");
}

TEST_P(Saving, ElsewhereTakesEverythingAndLeavesTheFile) {
    const std::string before = ReadFile(path_);
    Open();
    GetParam().apply(source_, InWorkspace("a"));
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

TEST_F(SavingProject, TakesUpAWorkspaceThatWasLeft) {
    {
        Source earlier(path_.c_str(), workspace_.c_str());
        ASSERT_EQ(earlier.Open(Source::NewWorkspace, false), Source::NoError);
        ASSERT_TRUE(Read(earlier, "b"));
        ASSERT_TRUE(Write(earlier, "a", "edited"));
        ASSERT_TRUE(Write(earlier, "new", "made"));
    }
    Open(Source::ExistingWorkspace);
    EXPECT_EQ(Read(source_, "A"), "edited");
    EXPECT_FALSE(source_.IsDirty());
    source_.SetIsDirty(true, nullptr);
    EXPECT_TRUE(Saved() == With({{"a", "edited"}, {"new", "made"}}));
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
    for (const std::string& target : {path_, other, folder_ / "folder"}) {
        EXPECT_EQ(source_.SaveAs(target.c_str()), Source::FileSystemError) << target;
    }
    EXPECT_EQ(source_.SaveAs((folder_ / "no/file").c_str()), Source::CouldNotOpenCompoundFile);
    EXPECT_EQ(source_.SaveAs(nullptr), Source::CouldNotOpenCompoundFile);
    EXPECT_TRUE(fs::exists(folder_ / "folder"));
    EXPECT_TRUE(GetAll(reader) == kStreams);
    EXPECT_TRUE(source_.IsDirty());
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
    EXPECT_EQ(source_.GetIStream("a"), nullptr) << "no password yet";
    EXPECT_EQ(source_.SaveAs(copy.c_str()), Source::CompoundFileCorrupt);
    ASSERT_EQ(file.Open(path_.c_str(), KrStreamE::ReadWrite), KrStreamE::PasswordRequired);
    ASSERT_TRUE(file.SetPassword("secret"));
    ASSERT_TRUE(Write(source_, "new", "text"));
    ASSERT_EQ(source_.SaveAs(copy.c_str()), Source::NoError);
    source_.SetIsDirty(true, nullptr);
    EXPECT_THROW(source_.CompactCompoundFile(), std::exception) << "the other handle has it open";
    file.Close();
    source_.CompactCompoundFile();
    EXPECT_EQ(source_.Close(Source::SaveChanges, false), Source::NoError);
    for (const std::string& path : {path_, copy}) {
        CompoundFile saved;
        ASSERT_TRUE(open(saved, path)) << path;
        EXPECT_TRUE(GetAll(saved) == With({{"new", "text"}}));
    }
}

} // namespace
