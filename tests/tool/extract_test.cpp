#include "ToolRun.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// The bytes of a file with entries of these names.
std::string FileOfNames(const std::vector<std::string>& names) {
    Model entries;
    for (const std::string& name : names) {
        entries[name] = "from " + name;
    }
    return FileOf(entries);
}

} // namespace

TEST_F(ToolTest, NothingIsExtractedOutsideTheFolder) {
    const std::vector<std::string> refused = {
        Path("abs"), "../up", "sub/../../up", "..",      ".",           "sub/./dot",
        "sub//x",    "sub/",  "link/in",      "file/in", "esc\x1b[2J/", "sub/link2/a/b"};
    std::vector<std::string> names = refused;
    names.insert(names.end(), {"sub/good", "sub/deep/good"});
    WriteFile("f.kr", FileOfNames(names));
    WriteFile("outside/in", "mine");
    WriteFile("out/file", "mine");
    WriteFile("out/sub/mine", "mine");
    ASSERT_EQ(symlink("../outside", Path("out/link").c_str()), 0);
    ASSERT_EQ(symlink("../../outside", Path("out/sub/link2").c_str()), 0);
    auto expected = Snapshot();
    expected["out/sub/good"] = "from sub/good";
    expected["out/sub/deep/good"] = "from sub/deep/good";

    const ToolResult result = Run({"extract", "f.kr", "-f", "-C", "out"});
    EXPECT_EQ(result.status, 1);
    for (const std::string& name : refused) {
        const std::string shown = name[0] == 'e' ? "esc\\x1b[2J/" : name;
        EXPECT_NE(result.err.find("krstream: " + shown + ": not extracted"), std::string::npos)
            << shown;
    }
    EXPECT_EQ(Snapshot(), expected);
}

TEST_F(ToolTest, FilesThatAreThereAreReplacedOnlyWhenAskedFor) {
    WriteFile("f.kr", FileOfNames({"file", "link", "folder", "busy"}));
    WriteFile("out/file", "mine");
    WriteFile("out/busy", "mine");
    WriteFile("out/folder/x", "mine");
    WriteFile("target", "mine");
    ASSERT_EQ(symlink("../target", Path("out/link").c_str()), 0);
    ASSERT_EQ(chmod(Path("out/file").c_str(), 0604), 0);
    const auto before = Snapshot();
    const ToolResult refused = Run({"extract", "f.kr", "-C", "out"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find("use -f"), std::string::npos);
    EXPECT_EQ(Snapshot(), before);

    const int fd = open(Path("out/busy").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(fd, LOCK_SH), 0);
    EXPECT_EQ(Run({"extract", "f.kr", "-f", "-C", "out"}).status, 1);
    auto after = before;
    after["out/file"] = "from file";
    after["out/link"] = "from link";
    EXPECT_EQ(Snapshot(), after);
    struct stat status {};
    ASSERT_EQ(stat(Path("out/file").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0604U);
    close(fd);
}
