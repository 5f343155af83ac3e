#include "tests/streamsources/Project.h"
#include "tests/support/RawFile.h"

#include <boost/locale/encoding_errors.hpp>

namespace {

namespace fs = boost::filesystem;

class Workspace : public Project {};

TEST_F(Workspace, OpensOrSaysWhyNot) {
    fs::create_directory(folder_ / "real");
    WriteFile(folder_ / "plain", "plain");
    WriteFile(folder_ / "junk", "no compound file");
    struct {
        std::string file;
        std::string directory;
        Source::OpenMode mode;
        Source::Error error;
        bool holdsFile;
    } const cases[] = {
        {"project", "real", Source::ExistingWorkspace, Source::NoError, true},
        {"project", "made/", Source::NewWorkspace, Source::NoError, true},
        {"missing", "real", Source::NewWorkspace, Source::NoError, true},
        {"project", "none", Source::ExistingWorkspace, Source::TempDirDoesNotExist, true},
        {"project", "no/parent", Source::NewWorkspace, Source::FileSystemError, false},
        {"project", "plain", Source::NewWorkspace, Source::FileSystemError, false},
        {"project", "", Source::ExistingWorkspace, Source::FileSystemError, false},
        {"real/inside", "real", Source::NewWorkspace, Source::FileSystemError, false},
        {"junk", "real", Source::NewWorkspace, Source::CouldNotOpenCompoundFile, false},
        {"junk", "real", Source::ExistingWorkspace, Source::CouldNotOpenCompoundFile, false},
    };
    for (const auto& opening : cases) {
        SCOPED_TRACE(opening.file + ", " + opening.directory);
        Source source((folder_ / "./" + opening.file).c_str(),
                      (folder_ / "real/../" + opening.directory).c_str());
        EXPECT_EQ(source.Open(opening.mode, true), opening.error);
        EXPECT_EQ(source.GetOpenMode(),
                  opening.error == Source::NoError ? opening.mode : Source::NotOpened);
        EXPECT_EQ(!source.GetFilePath().empty(), opening.holdsFile);
        EXPECT_EQ(source.GetOriginalPath(), folder_ / opening.file);
        const std::string directory = source.GetDirectoryName();
        EXPECT_EQ(directory.find(folder_ / opening.directory), 0U);
        EXPECT_EQ(directory.find_last_not_of('/') + 2, directory.size());
        EXPECT_TRUE(source.IsReadOnly());
        if (opening.error == Source::NoError) {
            EXPECT_EQ(fs::status(directory).permissions(), fs::owner_all);
        } else {
            EXPECT_FALSE(Write(source, "plain", "x"));
            EXPECT_EQ(source.CopyToBlockFile(true), Source::CouldNotOpenCompoundFile);
            source.CloseFile();
        }
    }
    EXPECT_EQ(ReadFile(folder_ / "plain"), "plain") << "what was refused is left alone";
    EXPECT_TRUE(fs::exists(folder_ / "real"));
}

TEST_F(Workspace, NeverGoesThroughALink) {
    fs::create_directory(folder_ / "other");
    WriteFile(folder_ / "other/a", "theirs");
    fs::create_directory_symlink(folder_ / "other", workspace_);
    for (const std::string& directory : {workspace_, workspace_ + "/"}) {
        Source linked(path_.c_str(), directory.c_str());
        for (const auto mode : {Source::NewWorkspace, Source::ExistingWorkspace}) {
            EXPECT_EQ(linked.Open(mode, false), Source::FileSystemError);
            EXPECT_FALSE(Write(linked, "new", "x"));
            EXPECT_THROW(linked.GetFileNames(), fs::filesystem_error);
        }
    }
    Source linked(path_.c_str(), workspace_.c_str());
    linked.Open(Source::NewWorkspace, false);
    EXPECT_FALSE(linked.CleanUp());
    EXPECT_EQ(linked.Close(Source::DiscardChanges, false), Source::NoError);
    fs::remove(workspace_);

    Open();
    for (const char* name : {"a", "b", "new"}) {
        fs::create_symlink(folder_ / "other/a", InWorkspace(name));
    }
    EXPECT_EQ(Names(), (std::set<std::string>{"Mixed.Case", "a", "b", "empty"}));
    EXPECT_EQ(Read(source_, "a"), kStreams.at("a"));
    EXPECT_TRUE(Write(source_, "b", "ours"));
    EXPECT_EQ(source_.GetIOStream("new"), nullptr);
    EXPECT_TRUE(Saved() == With({{"b", "ours"}}));
    EXPECT_EQ(ReadFile(folder_ / "other/a"), "theirs");
}

TEST_F(Workspace, CopiesOutWhatIsAskedFor) {
    Open();
    EXPECT_EQ(Names(), (std::set<std::string>{"Mixed.Case", "a", "b", "empty"}));
    EXPECT_TRUE(fs::is_empty(workspace_));
    for (const auto& [name, bytes] : kStreams) {
        EXPECT_TRUE(source_.StreamExists(name.c_str()));
        EXPECT_EQ(source_.GetStreamSize(name.c_str()), bytes.size());
        EXPECT_TRUE(Read(source_, name) == bytes);
        EXPECT_TRUE(ReadFile(InWorkspace(name)) == bytes);
    }
    for (const char* none : {"none", "", static_cast<const char*>(nullptr)}) {
        EXPECT_FALSE(source_.StreamExists(none));
        EXPECT_EQ(source_.GetStreamSize(none), 0U);
        EXPECT_EQ(source_.GetIStream(none), nullptr);
        EXPECT_EQ(source_.GetIOStream(none), nullptr);
        EXPECT_EQ(source_.GetTempIOStream(none), nullptr);
        source_.DeleteSource(none);
    }
    EXPECT_EQ(source_.GetOStream(""), nullptr);
    EXPECT_EQ(source_.GetStreamSource("a"), nullptr);
    EXPECT_FALSE(source_.IsDirty());
}

TEST_F(Workspace, FailedCopiesLeaveNothingBehind) {
    RawFile raw(ReadFile(path_));
    raw.SetNumber(RawFile::At(raw.Chain(raw.Find("b").firstBlock)[3], 15), 4, 0);
    WriteFile(path_, raw.bytes);
    Open();
    EXPECT_EQ(source_.GetIStream("b"), nullptr);
    EXPECT_EQ(source_.GetIOStream("b"), nullptr);
    EXPECT_TRUE(fs::is_empty(workspace_));
    EXPECT_FALSE(source_.ExtractAllFiles());
}

TEST_F(Workspace, ReadersKeepWhatTheyOpenedWhileTheStreamIsReplaced) {
    Open();
    const auto reader = source_.GetIStream("b");
    ASSERT_TRUE(Write(source_, "b", "short"));
    std::string bytes{std::istreambuf_iterator<char>(*reader), std::istreambuf_iterator<char>()};
    EXPECT_TRUE(bytes == kStreams.at("b"));
    EXPECT_EQ(Read(source_, "b"), "short");
}

TEST_F(Workspace, NamesThatCannotBeFilesStayInTheCompoundFile) {
    const std::string longName(256, 'n');
    const Model others = {{"x/y", "1"}, {"../up", "2"}, {".", "3"}, {"..", "4"}, {longName, "5"}};
    WriteFile(path_, FileOf(With(others)));
    Open();
    for (const auto& [name, bytes] : others) {
        EXPECT_EQ(Read(source_, name), bytes);
        EXPECT_EQ(source_.GetOStream(name.c_str()), nullptr);
        EXPECT_EQ(source_.GetIOStream(name.c_str()), nullptr);
        EXPECT_EQ(source_.GetTempOStream(name.c_str()), nullptr);
    }
    EXPECT_TRUE(fs::is_empty(workspace_));
    EXPECT_TRUE(source_.ExtractAllFiles());
    EXPECT_FALSE(fs::exists(folder_ / "up"));
    ASSERT_EQ(source_.SaveAs((folder_ / "copy").c_str()), Source::NoError);
    EXPECT_TRUE(GetAll(folder_ / "copy") == With(others));
    source_.DeleteSource("x/y");
    EXPECT_EQ(source_.GetIStream("x/y"), nullptr);
    Model left = With(others);
    left.erase("x/y");
    EXPECT_TRUE(Saved() == left);
}

TEST_F(Workspace, LongPathsOfStreamsDoNotExist) {
    Open();
    const std::size_t room = 259 - std::string(source_.GetDirectoryName()).size();
    for (const std::size_t size : {room, room + 1}) {
        const std::string name(size, 'n');
        ASSERT_TRUE(Write(source_, name, "x"));
        EXPECT_EQ(source_.StreamExists(name.c_str()), size == room);
        EXPECT_EQ(Read(source_, name), "x");
    }
}

// What the application and the source do to a stream under one spelling and another; "file" writes
// the workspace's file by ordinary calls.
TEST_F(Workspace, OneStreamInEverySpelling) {
    Open();
    EXPECT_EQ(Read(source_, "MIXED.case"), kStreams.at("Mixed.Case"));
    EXPECT_TRUE(HasFile("MIXED.case"));
    EXPECT_TRUE(Write(source_, "mixed.case", "changed"));
    EXPECT_FALSE(HasFile("mixed.case"));
    EXPECT_EQ(Read(source_, "Mixed.Case"), "changed");
    EXPECT_EQ(Names().count("Mixed.Case"), 0U) << "one stream is listed once, as its file";

    // A file that the application makes, whatever was looked up before.
    EXPECT_EQ(source_.GetIStream("Text"), nullptr);
    WriteFile(InWorkspace("TEXT"), "file");
    EXPECT_EQ(Read(source_, "text"), "file");
    *source_.GetIOStream("text") << "F";
    WriteFile(InWorkspace("A"), "other file");
    EXPECT_EQ(Read(source_, "a"), "other file");
    fs::rename(InWorkspace("A"), InWorkspace("away"));
    EXPECT_EQ(Read(source_, "a"), kStreams.at("a"));
    source_.DeleteSource("AWAY");
    source_.DeleteSource("EMPTY");
    EXPECT_FALSE(HasFile("away"));

    EXPECT_TRUE(Saved() == (Model{{"a", kStreams.at("a")},
                                  {"b", kStreams.at("b")},
                                  {"MIXED.case", "changed"},
                                  {"TEXT", "File"}}));
}

TEST_F(Workspace, FilesThatDifferOnlyInCaseAreNotSavedOverEachOther) {
    Open();
    ASSERT_TRUE(Read(source_, "a"));
    ASSERT_TRUE(Write(source_, "new", "x"));
    WriteFile(InWorkspace("A"), "the other");
    const std::string before = ReadFile(path_);
    EXPECT_EQ(source_.CopyToBlockFile(false), Source::FileSystemError);
    EXPECT_EQ(source_.CopyToBlockFile(true), Source::FileSystemError);
    EXPECT_EQ(source_.Close(Source::SaveChanges, false), Source::FileSystemError);
    EXPECT_EQ(source_.SaveAs((folder_ / "copy").c_str()), Source::FileSystemError);
    EXPECT_FALSE(fs::exists(folder_ / "copy"));
    EXPECT_EQ(ReadFile(path_), before);
    fs::remove(InWorkspace("a")); // and with it what was known of "a"
    source_.SetIsDirty(true, nullptr);
    Model expected = With({{"A", "the other"}, {"new", "x"}});
    expected.erase("a");
    EXPECT_TRUE(Saved() == expected);
}

TEST_F(Workspace, LegacyNamesAreUtf8OnDiskAndThemselvesInTheFile) {
    const std::string content = Pattern(1500, 1);
    WriteFile(path_, Version1File("Caf\xE9", content).bytes);
    Open();
    EXPECT_EQ(Read(source_, "CAF\xE9"), content);
    EXPECT_TRUE(HasFile("CAF\xC3\xA9"));
    EXPECT_EQ(Names(), std::set<std::string>{"CAF\xE9"});
    EXPECT_EQ(Read(source_, "caf\xC3\xA9"), content) << "known by its file's name, too";
    *source_.GetIOStream("Caf\xE9") << "Z";
    EXPECT_TRUE(Saved() == (Model{{"CAF\xE9", "Z" + content.substr(1)}}));

    WriteFile(path_, Version1File("Caf\x81", content).bytes);
    Open();
    EXPECT_THROW(source_.ExtractAllFiles(), boost::locale::conv::conversion_error);
    EXPECT_EQ(Read(source_, "Caf\x81"), content) << "served from the compound file";
}

TEST_F(Workspace, FoldersAreFoundByKeyAndFailuresByMarker) {
    const std::string name = Source::GetTempFolderName("/base/", "");
    EXPECT_EQ(name, "/base/_SP_d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(Source::GetTempFolderName("/base", ""), name);
    EXPECT_NE(Source::GetTempFolderName("/base", "key"), name);

    EXPECT_FALSE(Source::PreviousDeleteOfTempDirUnsuccessfull(workspace_.c_str()));
    Open();
    WriteFile(InWorkspace("CouldNotDelete"), "");
    EXPECT_TRUE(Source::PreviousDeleteOfTempDirUnsuccessfull(workspace_.c_str()));
    EXPECT_TRUE(Source::PreviousDeleteOfTempDirUnsuccessfull((workspace_ + "/").c_str()));
}

TEST(WorkspaceErrors, AreToldInWords) {
    EXPECT_EQ(Source::ToString(Source::NoError), "No error");
    EXPECT_EQ(Source::ToString(Source::TempDirAlreadyExists), "Temp directory already exists");
    EXPECT_EQ(Source::ToString(Source::FileSystemError), "File system error");
    EXPECT_EQ(Source::ToString(static_cast<Source::Error>(8)), "Unknown error");
    EXPECT_EQ(Source::ToString(static_cast<Source::Error>(-1)), "Unknown error");
}

} // namespace
