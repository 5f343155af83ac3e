#include "ToolRun.h"

#include <csignal>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

void Type(int fd, const std::string& text) {
    ASSERT_EQ(write(fd, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

} // namespace

TEST_F(ToolTest, PasswordsAreAskedForWithoutEcho) {
    WriteFile("f.kr", FileOf({{"a", "content"}}));
    const auto ask = [this](const std::vector<std::string>& arguments,
                            const std::vector<std::string>& answers, std::string& shown) {
        const TerminalRun run = Start(arguments);
        char c = 0;
        for (const std::string& answer : answers) {
            while (read(run.terminal, &c, 1) == 1 && c != ':') {
                shown += c;
            }
            Type(run.terminal, answer + '\n');
        }
        int status = 0;
        shown += Finish(run, status);
        EXPECT_EQ(shown.find("secret"), std::string::npos);
        return WEXITSTATUS(status);
    };
    std::string shown;
    EXPECT_EQ(ask({"encrypt", "f.kr"}, {"secret", "secret2"}, shown), 4);
    EXPECT_EQ(Run({"cat", "f.kr", "a"}).out, "content");
    EXPECT_EQ(ask({"encrypt", "f.kr"}, {"secret", "secret"}, shown), 0);
    EXPECT_EQ(ask({"passwd", "f.kr"}, {"secret", "secret2", "secret2"}, shown), 0);
    shown.clear();
    EXPECT_EQ(ask({"cat", "f.kr", "a"}, {"secret2"}, shown), 0);
    EXPECT_NE(shown.find("content"), std::string::npos);
}

TEST_F(ToolTest, LongWorkShowsItsProgress) {
    WriteFile("f.kr", "");
    const TerminalRun run = Start({"add", "f.kr", "-", "--name", "slow"});
    // The work goes on until something is shown of it.
    pollfd terminal{run.terminal, POLLIN, 0};
    for (int i = 0; i < 3000 && poll(&terminal, 1, 20) == 0; ++i) {
        Type(run.input, Pattern(1000, 1));
    }
    int status = 0;
    const std::string shown = Finish(run, status);
    EXPECT_EQ(status, 0);
    EXPECT_NE(shown.find("\rstoring "), std::string::npos);
    EXPECT_NE(shown.find("/s\x1b[K"), std::string::npos);
    // In the end the line is empty again.
    EXPECT_EQ(shown.substr(shown.size() - 4), "\r\x1b[K");
}

TEST_F(ToolTest, AnInterruptLeavesNothingHalfDone) {
    WriteFile("a", "content");
    ASSERT_EQ(Run({"create", "f.kr", "a"}).status, 0);
    const TerminalRun run = Start({"add", "f.kr", "-", "--name", "half"});
    // More than a pipe holds, so that the tool has read the rest by the time this is typed.
    Type(run.input, Pattern(200000, 1));
    ASSERT_EQ(kill(-run.process, SIGTERM), 0);
    int status = 0;
    Finish(run, status);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
    EXPECT_EQ(Run({"list", "f.kr"}).out, "a\n");
    EXPECT_EQ(Run({"add", "f.kr", "a"}).status, 0);
}
