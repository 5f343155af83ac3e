#include "ToolRun.h"

#include <sys/stat.h>

class PasswordTest : public ToolTest {
protected:
    PasswordTest() {
        WriteFile("one", "first secret\nsecond line\n");
        WriteFile("two", "other secret\r\n");
        WriteFile("empty", "\nfirst secret\n");
        WriteFile("binary", std::string("first\0secret", 12));
        WriteFile("a", text_);
        for (int i = 0; i < 100; ++i) {
            gone_ += "deleted text that nobody may read";
        }
        WriteFile("b", gone_);
    }

    void MakeEncrypted() {
        ASSERT_EQ(Run({"create", "f.kr", "a", "b"}).status, 0);
        ASSERT_EQ(Run({"encrypt", "f.kr", "--password-file", "one"}).status, 0);
    }

    const std::string text_ = "text that nobody else may read";
    /// Over several blocks, as the library uses the first free one again at once.
    std::string gone_;
};

TEST_F(PasswordTest, EncryptLeavesNoPlainByte) {
    ASSERT_EQ(Run({"create", "f.kr", "a", "b"}).status, 0);
    ASSERT_EQ(chmod(Path("f.kr").c_str(), 0600), 0);
    ASSERT_EQ(Run({"rm", "f.kr", "b"}).status, 0);
    ASSERT_NE(ReadFile("f.kr").find("nobody may"), std::string::npos);
    const auto others = Snapshot().size();
    EXPECT_EQ(Run({"encrypt", "f.kr", "--password-file", "one"}).status, 0);
    EXPECT_EQ(ReadFile("f.kr").find("nobody"), std::string::npos);
    EXPECT_EQ(Snapshot().size(), others);
    struct stat status {};
    ASSERT_EQ(stat(Path("f.kr").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
    EXPECT_EQ(Run({"list", "f.kr"}).out, "a\n");
    EXPECT_EQ(Run({"cat", "f.kr", "a", "--password-file", "-"}, "first secret").out, text_);
    EXPECT_EQ(Run({"add", "f.kr", "b", "--password-file", "one"}).status, 0);
    EXPECT_EQ(ReadFile("f.kr").find("nobody"), std::string::npos);
    EXPECT_EQ(Run({"extract", "f.kr", "-C", "out", "--password-file", "one"}).status, 0);
    EXPECT_EQ(ReadFile("out/b"), gone_);
}

TEST_F(PasswordTest, WithoutTheRightPasswordNothingIsReadOrChanged) {
    MakeEncrypted();
    const auto before = Snapshot();
    const std::vector<std::pair<std::string, std::string>> sources = {
        {"", "no terminal"},
        {"two", "password is wrong"},
        {"empty", "password is empty"},
        {"none", "cannot be opened"},
        {"binary", "NUL"}};
    const std::vector<std::vector<std::string>> commands = {
        {"cat", "f.kr", "a"}, {"extract", "f.kr", "-C", "out"},
        {"add", "f.kr", "b"}, {"rm", "f.kr", "a"},
        {"decrypt", "f.kr"},  {"passwd", "f.kr"},
        {"compact", "f.kr"}};
    for (const auto& [source, saying] : sources) {
        for (std::vector<std::string> command : commands) {
            if (!source.empty()) {
                command.insert(command.end(), {"--password-file", source});
            }
            const ToolResult result = Run(command);
            EXPECT_EQ(result.status, 4) << command.front() << source;
            EXPECT_EQ(result.out, "");
            EXPECT_NE(result.err.find(saying), std::string::npos) << result.err;
            EXPECT_EQ(Snapshot(), before) << command.front() << source;
        }
    }
    EXPECT_EQ(
        Run({"passwd", "f.kr", "--password-file", "one", "--new-password-file", "empty"}).status,
        4);
    EXPECT_EQ(Run({"encrypt", "f.kr", "--password-file", "two"}).status, 2);
    EXPECT_EQ(Snapshot(), before);
}

TEST_F(PasswordTest, PasswordsChangeAndGo) {
    MakeEncrypted();
    EXPECT_EQ(Run({"passwd", "f.kr", "--password-file", "-", "--new-password-file", "-"},
                  "first secret\nother secret\n")
                  .status,
              0);
    EXPECT_EQ(Run({"cat", "f.kr", "a", "--password-file", "one"}).status, 4);
    EXPECT_EQ(Run({"cat", "f.kr", "a", "--password-file", "two"}).out, text_);
    EXPECT_EQ(Run({"decrypt", "f.kr", "--password-file", "two"}).status, 0);
    EXPECT_EQ(Run({"cat", "f.kr", "a"}).out, text_);
    EXPECT_NE(ReadFile("f.kr").find(text_), std::string::npos);
}
