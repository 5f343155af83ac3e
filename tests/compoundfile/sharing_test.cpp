#include "FileTest.h"

#include <csignal>
#include <cstdlib>
#include <functional>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Runs an action in a child process; its answer is the child's exit status.
int InChild(const std::function<int()>& action) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(action());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class Sharing : public FileTest {
protected:
    int OpenInChild(KrStreamE::OpenMode mode) const {
        // Another spelling of the path, so that the child does not find the engine it inherited.
        const std::string link = folder_ / "link";
        const int status = InChild([&] {
            CompoundFile file;
            return ::link(path_.c_str(), link.c_str()) == 0 ? file.Open(link.c_str(), mode) : 99;
        });
        ::unlink(link.c_str());
        return status;
    }
};

TEST_F(Sharing, AnotherProgramMayOnlyReadBesideReaders) {
    const auto ro = KrStreamE::ReadOnly;
    const auto rw = KrStreamE::ReadWrite;
    for (const auto& [mine, theirs, expected] :
         {std::tuple(ro, ro, KrStreamE::Ok), std::tuple(ro, rw, KrStreamE::NotOpen),
          std::tuple(rw, ro, KrStreamE::NotOpen), std::tuple(rw, rw, KrStreamE::NotOpen)}) {
        Open(mine);
        EXPECT_EQ(OpenInChild(theirs), expected) << mine << theirs;
        if (mine == rw) {
            EXPECT_TRUE(Put(file_, "e", "undisturbed"));
        }
    }
    file_.Close();
    EXPECT_TRUE(GetAll(path_) == (Model{{"e", "undisturbed"}}));
}

TEST_F(Sharing, OnlyRegularFilesAreOpened) {
    const std::string pipe = folder_ / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& path : {pipe, folder_ / "", std::string("/dev/null")}) {
        EXPECT_EQ(file_.Open(path.c_str(), KrStreamE::ReadOnly), KrStreamE::NotOpen) << path;
        EXPECT_EQ(file_.Open(path.c_str(), KrStreamE::ReadWrite), KrStreamE::NotOpen) << path;
    }
    EXPECT_EQ(file_.Open(static_cast<const char*>(nullptr), KrStreamE::ReadOnly),
              KrStreamE::NotOpen);
}

TEST_F(Sharing, MissingFileIsMadePrivate) {
    for (const auto mode : {KrStreamE::ReadOnly, KrStreamE::ReadWrite}) {
        unlink(path_.c_str());
        EXPECT_EQ(file_.Open(path_.c_str(), mode), KrStreamE::Ok);
        struct stat status {};
        ASSERT_EQ(stat(path_.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, 0600U);
        EXPECT_EQ(status.st_size, 0);
        file_.Close();
    }
}

// A program that dies while it writes may lose what it wrote, never what was there.
TEST_F(Sharing, KilledWriterLeavesTheRestWhole) {
    const Model before = {{"a", Pattern(5000, 1)}, {"b", Pattern(100, 2)}};
    OpenWith(FileOf(before));
    file_.Close();
    for (int steps = 1; steps < 12; ++steps) {
        const int killed = InChild([&] {
            CompoundFile file;
            if (file.Open(path_.c_str(), KrStreamE::ReadWrite) != KrStreamE::Ok) {
                return 1;
            }
            auto open = file.GetIOStream("unfinished", "wb");
            for (int i = 0; i < steps; ++i) {
                // More than a stream buffers, so that it has taken a block that it has not written
                // yet.
                open->write(Pattern(11000, 3).data(), 11000);
                Put(file, "new" + std::to_string(i), Pattern(2000, 4));
                file.DeleteCFFile(("new" + std::to_string(i - 2)).c_str());
            }
            return std::raise(SIGKILL);
        });
        EXPECT_EQ(killed, -1) << "the file could not be opened after the last time";
        Model after = GetAll(path_);
        EXPECT_TRUE(after["a"] == before.at("a")) << steps;
        EXPECT_TRUE(after["b"] == before.at("b")) << steps;
    }
    // Nothing is left that could not be changed.
    Open();
    for (const auto& entry : GetAll(path_)) {
        EXPECT_TRUE(Put(file_, entry.first, "replaced")) << entry.first;
        EXPECT_TRUE(file_.DeleteCFFile(entry.first.c_str())) << entry.first;
    }
}

} // namespace
