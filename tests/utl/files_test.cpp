#include "tests/support/TempFolder.h"

#include <TALVOutl/Files.h>
#include <TALVOutl/FolderIndex.h>

#include <gtest/gtest.h>

namespace fs = boost::filesystem;

TEST(Files, SyncingTellsWhatIsNotThere) {
    const TempFolder folder;
    EXPECT_TRUE(KrSync(folder / ""));
    EXPECT_FALSE(KrSync(folder / "none"));
}

using Names = std::vector<std::string>;

TEST(FolderIndex, FollowsWhatHappensInTheFolder) {
    const TempFolder folder;
    WriteFile(folder / "Name", "");
    FolderIndex index(folder / "");
    EXPECT_EQ(index.SpellingsOf("NAME"), Names{"Name"});
    EXPECT_EQ(index.SpellingsOf("NAM"), Names());
    WriteFile(folder / "nAME", "");
    EXPECT_EQ(index.SpellingsOf("name"), (Names{"Name", "nAME"}));
    fs::rename(folder / "Name", folder / "Other");
    EXPECT_EQ(index.SpellingsOf("name"), Names{"nAME"});
    EXPECT_EQ(index.SpellingsOf("other"), Names{"Other"});
    fs::remove(folder / "nAME");
    EXPECT_EQ(index.SpellingsOf("name"), Names());
    fs::create_directory(folder / "\xC4\xE4");
    EXPECT_EQ(index.SpellingsOf("\xE4\xE4"), Names()) << "only A to Z fold";
    // More than the system keeps notices of.
    for (int i = 0; i < 17000; ++i) {
        WriteFile(folder / "new", "");
        fs::remove(folder / "new");
    }
    WriteFile(folder / "NEW", "");
    EXPECT_EQ(index.SpellingsOf("new"), Names{"NEW"});
}

TEST(FolderIndex, FollowsAFolderThatIsMadeAnew) {
    const TempFolder folder;
    const std::string path = folder / "folder";
    FolderIndex index(path);
    EXPECT_EQ(index.SpellingsOf("a"), Names());
    for (int round = 0; round < 2; ++round) {
        fs::create_directory(path);
        WriteFile(path + "/A", "");
        EXPECT_EQ(index.SpellingsOf("a"), Names{"A"});
        round == 0 ? fs::remove_all(path) : (fs::rename(path, path + "2"), 0);
        EXPECT_EQ(index.SpellingsOf("a"), Names());
    }
}
