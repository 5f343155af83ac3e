#include "streamsources/LazyWriteFileStream.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

namespace {

constexpr auto kMode = std::ios_base::out | std::ios_base::binary;

class LazyWrite : public testing::Test {
protected:
    /// Writes `content`, patches it, and lets the stream go.
    std::string Written(const std::string& content,
                        const std::vector<LazyWriteFileBuffer::Patch>& patches,
                        std::ios_base::openmode mode = kMode) {
        {
            LazyWriteFileStream stream;
            stream.open(path_, mode);
            stream << content;
            auto& buffer = dynamic_cast<LazyWriteFileBuffer&>(*stream.rdbuf());
            for (const auto& patch : patches) {
                buffer.AddPatch(patch.offset, patch.bytes.data(), patch.bytes.size());
            }
        }
        return ReadFile(path_);
    }

    const TempFolder folder_;
    const std::string path_ = folder_ / "file";
};

TEST_F(LazyWrite, AppliesPatchesInOrderWhenItEnds) {
    WriteFile(path_, "something much older");
    EXPECT_EQ(Written("0123456789", {}), "0123456789");
    EXPECT_EQ(Written("0123456789", {{8, "YZ"}, {0, "abc"}, {1, "BC"}}), "aBC34567YZ");
    std::string large(100000, 'x');
    large.replace(70000, 3, "abc");
    EXPECT_EQ(Written(std::string(100000, 'x'), {{70000, "abc"}}), large);
}

// An empty file cannot be mapped: the mode decides whether opening it again keeps what there is.
TEST_F(LazyWrite, PatchesAnEmptyFileThroughAStream) {
    EXPECT_EQ(Written("", {{0, "ab"}, {2, "cd"}}), "abcd");
}

TEST_F(LazyWrite, LeavesAFileAloneThatTookThePlaceOfItsOwn) {
    {
        LazyWriteFileStream stream;
        stream.open(path_, kMode);
        stream << "0123456789";
        dynamic_cast<LazyWriteFileBuffer&>(*stream.rdbuf()).AddPatch(0, "abc", 3);
        WriteFile(folder_ / "new", "another");
        boost::filesystem::rename(folder_ / "new", path_);
    }
    EXPECT_EQ(ReadFile(path_), "another");
}

TEST_F(LazyWrite, ReportsAFileThatCannotBeOpened) {
    LazyWriteFileStream stream;
    stream.open(folder_ / "no/file", kMode);
    EXPECT_TRUE(stream.fail());
}

} // namespace
