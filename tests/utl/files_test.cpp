#include "tests/support/TempFolder.h"

#include <TALVOutl/Files.h>
#include <TALVOutl/FolderIndex.h>

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>

namespace fs = boost::filesystem;

TEST(Files, SyncingTellsWhatIsNotThere) {
    const TempFolder folder;
    EXPECT_TRUE(KrSync(folder / ""));
    EXPECT_FALSE(KrSync(folder / "none"));
}

using Names = std::vector<std::string>;

/// A folder's index beside so many other names: a few are read for each question.
class FolderIndexBeside : public testing::TestWithParam<int> {
protected:
    void Fill(const std::string& folder) const {
        for (int i = 0; i < GetParam(); ++i) {
            WriteFile(folder + "/other" + std::to_string(i), "");
        }
    }

    const TempFolder folder_;
};

TEST_P(FolderIndexBeside, FollowsWhatHappensInTheFolder) {
    Fill(folder_ / "");
    WriteFile(folder_ / "Name", "");
    FolderIndex index(folder_ / "");
    EXPECT_EQ(index.SpellingsOf("NAME"), Names{"Name"});
    EXPECT_EQ(index.SpellingsOf("NAM"), Names());
    WriteFile(folder_ / "nAME", "");
    EXPECT_EQ(index.SpellingsOf("name"), (Names{"Name", "nAME"}));
    fs::rename(folder_ / "Name", folder_ / "Other");
    EXPECT_EQ(index.SpellingsOf("name"), Names{"nAME"});
    EXPECT_EQ(index.SpellingsOf("other"), Names{"Other"});
    fs::remove(folder_ / "nAME");
    EXPECT_EQ(index.SpellingsOf("name"), Names());
    fs::create_directory(folder_ / "\xC4\xE4");
    EXPECT_EQ(index.SpellingsOf("\xE4\xE4"), Names()) << "only A to Z fold";
    // More than the system keeps notices of.
    for (int i = 0; i < 17000; ++i) {
        WriteFile(folder_ / "new", "");
        fs::remove(folder_ / "new");
    }
    WriteFile(folder_ / "NEW", "");
    EXPECT_EQ(index.SpellingsOf("new"), Names{"NEW"});
}

TEST_P(FolderIndexBeside, FollowsAFolderThatIsMadeAnew) {
    const std::string path = folder_ / "folder";
    FolderIndex index(path);
    EXPECT_EQ(index.SpellingsOf("a"), Names());
    for (int round = 0; round < 2; ++round) {
        fs::create_directory(path);
        Fill(path);
        WriteFile(path + "/A", "");
        EXPECT_EQ(index.SpellingsOf("a"), Names{"A"});
        round == 0 ? fs::remove_all(path) : (fs::rename(path, path + "2"), 0);
        EXPECT_EQ(index.SpellingsOf("a"), Names());
    }
}

/// Leaves the process so many free descriptors while it lives.
class FewDescriptors {
public:
    explicit FewDescriptors(rlim_t free) {
        getrlimit(RLIMIT_NOFILE, &before_);
        const int lowestFree = dup(STDOUT_FILENO);
        close(lowestFree);
        const rlimit few{static_cast<rlim_t>(lowestFree) + free, before_.rlim_max};
        setrlimit(RLIMIT_NOFILE, &few);
    }
    ~FewDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }
    FewDescriptors(const FewDescriptors&) = delete;
    FewDescriptors& operator=(const FewDescriptors&) = delete;

private:
    rlimit before_{};
};

// Without a descriptor for notices, or with none left to read the names that they are about.
TEST_P(FolderIndexBeside, ReadsAnewWhileDescriptorsAreShort) {
    Fill(folder_ / "");
    for (const rlim_t free : {0, 1, 2}) {
        const std::string name = "Name" + std::to_string(free);
        WriteFile(folder_ / name, "");
        FolderIndex index(folder_ / "");
        {
            const FewDescriptors few(free);
            EXPECT_EQ(index.SpellingsOf(name), free == 0 ? Names() : Names{name});
        }
        EXPECT_EQ(index.SpellingsOf(name), Names{name});
    }
}

INSTANTIATE_TEST_SUITE_P(Names, FolderIndexBeside, testing::Values(0, 100));
