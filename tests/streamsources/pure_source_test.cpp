#include "tests/support/Entries.h"
#include "tests/support/Sources.h"
#include "tests/support/TempFolder.h"

#include <TALVOkrstream/KrStreamSource.h>

#include <boost/filesystem/operations.hpp>
#include <gtest/gtest.h>

#include <sstream>

namespace {

using Names = std::set<std::string>;

/// The same in a file and in memory.
class PureSource : public testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        if (GetParam()) {
            auto source = std::make_unique<MemCompoundFileStreamSource>();
            source->Open();
            source_ = std::move(source);
        } else {
            source_ = std::make_unique<PureCompoundFileStreamSource>();
            ASSERT_TRUE(source_->Open((folder_ / "file").c_str(), false));
        }
    }

    const TempFolder folder_;
    std::unique_ptr<PureCompoundFileStreamSource> source_;
};

TEST_P(PureSource, KeepsItsStreamsInTheCompoundFile) {
    ASSERT_TRUE(Write(*source_, "a", Pattern(3000, 1)));
    ASSERT_TRUE(Write(*source_, "b", ""));
    *source_->GetTempOStream("c") << "temporary";
    source_->GetIOStream("A")->write("Z", 1);
    EXPECT_EQ(source_->GetTempIOStream("none"), nullptr);
    EXPECT_EQ(Read(*source_, "a"), "Z" + Pattern(3000, 1).substr(1));
    EXPECT_EQ(Read(*source_, "b"), "");
    EXPECT_EQ(*source_->GetFileNames(), (Names{"a", "b", "c"}));
    source_->DeleteSource("B");
    EXPECT_FALSE(source_->StreamExists("b"));
    EXPECT_EQ(source_->GetIStream("b"), nullptr);
    EXPECT_FALSE(source_->CleanUp());

    // What the source holds is a whole compound file.
    auto copy = std::make_shared<std::stringstream>(source_->FlushToString());
    PureCompoundFileStreamSource other;
    ASSERT_TRUE(other.Open(copy, true));
    EXPECT_FALSE(other.IsReadOnly());
    EXPECT_EQ(Read(other, "c"), "temporary");
    EXPECT_TRUE(Write(other, "d", "x"));
}

TEST_P(PureSource, AnswersNothingOnceItIsClosed) {
    ASSERT_TRUE(Write(*source_, "a", "text"));
    auto held = source_->GetIStream("a");
    source_->CloseFile();
    std::string text;
    EXPECT_TRUE(*held >> text) << "a stream keeps the file open on its own";
    held.reset();
    EXPECT_EQ(source_->GetOStream("a"), nullptr);
    EXPECT_EQ(source_->GetIStream(nullptr), nullptr);
    EXPECT_EQ(source_->GetTempOStream(nullptr), nullptr);
    source_->DeleteSource("a");
    EXPECT_FALSE(source_->StreamExists("a"));
    EXPECT_EQ(*source_->GetFileNames(), Names());
    EXPECT_EQ(source_->GetFilePath(), "");
}

INSTANTIATE_TEST_SUITE_P(, PureSource, testing::Bool());

TEST(PureSourceOnAFile, ReadOnlyRefusesEveryChange) {
    const TempFolder folder;
    const std::string path = folder / "file";
    PureCompoundFileStreamSource source;
    ASSERT_TRUE(source.Open(path.c_str(), false));
    ASSERT_TRUE(Write(source, "a", "text"));
    ASSERT_TRUE(source.Open(path.c_str(), true));
    EXPECT_TRUE(source.IsReadOnly());
    EXPECT_EQ(source.GetOStream("a"), nullptr);
    EXPECT_EQ(source.GetIOStream("a"), nullptr);
    EXPECT_EQ(source.GetTempOStream("a"), nullptr);
    EXPECT_EQ(source.GetTempIOStream("a"), nullptr);
    source.DeleteSource("a");
    EXPECT_EQ(Read(source, "a"), "text");
    for (const std::string& name :
         {source.GetFilePath(), source.GetCompoundFileName(), source.GetStreamFileName()}) {
        EXPECT_EQ(name, boost::filesystem::canonical(path).string());
    }

    const auto nested = source.GetStreamSource(path.c_str());
    EXPECT_TRUE(nested->IsReadOnly());
    EXPECT_EQ(Read(*nested, "a"), "text");
    EXPECT_FALSE(source.Open((folder / "no/file").c_str(), true));
    EXPECT_TRUE(source.IsReadOnly());
}

/// A source that is used once more when the program ends.
struct AtExit {
    PureCompoundFileStreamSource source;
    ~AtExit() { source.Open("/", true); }
} atExit;

TEST(MemorySource, SavesAProjectThatHadNoFile) {
    const TempFolder folder;
    const std::string path = folder / "saved";
    MemCompoundFileStreamSource source;
    const std::string name = source.GetStreamFileName();
    EXPECT_EQ(name.find("In-memory-project-"), 0U);
    EXPECT_EQ(name.size(), 18U + 12);
    EXPECT_EQ(name.find_last_not_of("0123456789"), 17U);
    EXPECT_EQ(source.GetCompoundFileName(), name);
    EXPECT_TRUE(source.Save(path.c_str()));
    EXPECT_EQ(ReadFile(path), "") << "never opened";

    source.Open();
    ASSERT_TRUE(Write(source, "a", Pattern(5000, 1)));
    EXPECT_EQ(source.GetFilePath(), "");
    EXPECT_TRUE(source.Save(path.c_str()));
    EXPECT_TRUE(GetAll(path) == (Model{{"a", Pattern(5000, 1)}}));
    source.Close();
    boost::filesystem::permissions(path, boost::filesystem::owner_all);
    EXPECT_TRUE(source.Save(path.c_str()));
    EXPECT_EQ(boost::filesystem::status(path).permissions(), boost::filesystem::owner_all);
    CompoundFile saved;
    ASSERT_EQ(saved.Open(path.c_str(), KrStreamE::ReadOnly), KrStreamE::Ok);
    EXPECT_TRUE(saved.Exists(CompoundFile::kFreeListEntryName));
    EXPECT_FALSE(source.Save(path.c_str())) << "in use";
    EXPECT_TRUE(GetAll(saved) == (Model{{"a", Pattern(5000, 1)}}));
    EXPECT_FALSE(source.Save((folder / "").c_str()));
    EXPECT_FALSE(source.Save((folder / "no/file").c_str()));
    EXPECT_FALSE(source.Save(nullptr));
}

TEST(MemorySource, MayGoBeforeItsStreamsAndBeforeItsCopies) {
    auto source = std::make_unique<MemCompoundFileStreamSource>();
    source->Open();
    ASSERT_TRUE(Write(*source, "a", Pattern(5000, 1)));
    const auto stream = source->GetIOStream("a");
    const PureCompoundFileStreamSource& base = *source;
    PureCompoundFileStreamSource copy = base;
    *stream << "unwritten";
    source.reset();
    EXPECT_FALSE(stream->seekg(4000).get() >= 0) << "the bytes are gone";
    EXPECT_EQ(copy.GetIStream("a"), nullptr);
}

} // namespace
