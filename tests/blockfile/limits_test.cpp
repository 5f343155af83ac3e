#include "blockfile/CompoundFileServer.h"
#include "tests/support/Entries.h"
#include "tests/support/TempFolder.h"

#include <TALVOkrstream/Recovery.h>

#include <gtest/gtest.h>

namespace {

class Limits : public testing::Test {
protected:
    /// Blocks may be wasted.
    void RequireNoDamage() const {
        Recovery::File file;
        ASSERT_EQ(file.Open(path_.c_str()), Recovery::Status::Ok);
        for (const Recovery::Finding& finding : file.Check()) {
            EXPECT_EQ(finding.severity, Recovery::Severity::Notice) << finding.text;
        }
    }

    TempFolder folder_;
    const std::string path_ = folder_ / "file";
    CompoundFile file_;
};

// Wherever the numbers run out, in the middle of an entry, at a new directory block or while the
// file closes: what was written before is whole, and the file can be changed once there is room.
TEST_F(Limits, RunningOutOfBlockNumbersLosesNothing) {
    for (BlockFormat::BlockNumber last = 3; last <= 40; ++last) {
        SCOPED_TRACE(last);
        WriteFile(path_, "");
        ASSERT_EQ(file_.Open(path_.c_str(), KrStreamE::ReadWrite), KrStreamE::Ok);
        file_.GetCompoundFileServer()->LimitBlocks(last);
        Model whole;
        for (unsigned i = 0; file_.GetStatus() == KrStreamE::Ok; ++i) {
            ASSERT_LT(i, last);
            const std::string name = "entry" + std::to_string(i);
            const std::string bytes = Pattern(std::size_t{i % 4} * 900, i);
            const bool written = Put(file_, name, bytes);
            ASSERT_EQ(written, file_.GetStatus() == KrStreamE::Ok);
            if (written) {
                whole[name] = bytes;
            }
        }
        file_.Close();
        EXPECT_LE(ReadFile(path_).size(), std::size_t{last} * BlockFormat::kBlockSize);

        ASSERT_EQ(file_.Open(path_.c_str(), KrStreamE::ReadWrite), KrStreamE::Ok);
        Model found = GetAll(file_);
        for (const auto& [name, bytes] : whole) {
            EXPECT_TRUE(found[name] == bytes) << name;
        }
        EXPECT_TRUE(Put(file_, "later", Pattern(5000, 99)));
        EXPECT_TRUE(whole.empty() || file_.DeleteCFFile(whole.begin()->first.c_str()));
        file_.Close();
        RequireNoDamage();
    }
}

// A sparse file is as long as the numbers reach; only its directory is looked at.
TEST_F(Limits, FilesEndWithTheLastBlockNumber) {
    WriteFile(path_, FileOf({{"a", "x"}}));
    const std::uint64_t longest = BlockFormat::OffsetOf(BlockFormat::kMaxBlockNumber + 1U);
    boost::system::error_code error;
    boost::filesystem::resize_file(path_, longest, error);
    if (error) {
        GTEST_SKIP() << "no file here can be that long";
    }
    ASSERT_EQ(file_.Open(path_.c_str(), KrStreamE::ReadOnly), KrStreamE::Ok);
    EXPECT_EQ(Get(file_, "a"), "x");
    boost::filesystem::resize_file(path_, longest + BlockFormat::kBlockSize);
    EXPECT_EQ(file_.Open(path_.c_str(), KrStreamE::ReadOnly), KrStreamE::NotOpen);
}

} // namespace
