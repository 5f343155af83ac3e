#include "ToolRun.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

struct Refusal {
    std::vector<std::string> arguments;
    int status;
    std::string saying;
};

} // namespace

class RefusalTest : public ToolTest {
protected:
    void ExpectRefused(const std::vector<Refusal>& refusals) const {
        const auto before = Snapshot();
        for (const Refusal& refusal : refusals) {
            const ToolResult result = Run(refusal.arguments, "input");
            const std::string shown = testing::PrintToString(refusal.arguments) + result.err;
            EXPECT_EQ(result.status, refusal.status) << shown;
            EXPECT_EQ(result.out, "") << shown;
            EXPECT_NE(result.err.find(refusal.saying), std::string::npos) << shown;
            EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << shown;
            EXPECT_EQ(Snapshot(), before) << shown;
        }
    }
};

TEST_F(RefusalTest, RefusedCommandsChangeNothing) {
    WriteFile("a", "a");
    WriteFile("A", "A");
    WriteFile("sub/a", "a");
    WriteFile("text", "no compound file");
    WriteFile("pw", "secret\n");
    WriteFile("KRAVONEL_BLOCK_FILE_FREE_LIST", "");
    const std::string deep = std::string(130, 'n') + '/' + std::string(130, 'n');
    WriteFile(deep, "");
    ASSERT_EQ(Run({"create", "have.kr", "a"}).status, 0);
    WriteFile("cut.kr", ReadFile("have.kr").substr(0, 2000));
    std::string newer = ReadFile("have.kr");
    newer[13] = '3';
    WriteFile("newer.kr", newer);
    WriteFile("blank.kr", std::string(4096, '\0'));

    std::vector<Refusal> refusals = {
        {{}, 64, "--help"},
        {{"frob"}, 64, "frob is no command"},
        {{"lsit", "x"}, 64, "did you mean list?"},
        {{"list", "have.kr", "--jsno"}, 64, "did you mean --json?"},
        {{"list", "have.kr", "a\n"}, 64, "a\\n is one argument too many"},
        {{"list", "have.kr", "-l", "--json"}, 64, "see 'krstream list --help'"},
        {{"--generate", "csh"}, 64, "man, bash and zsh"},
        {{"create", "new.kr"}, 64, "PATH"},
        {{"create", "new.kr", ""}, 64, "PATH: an empty value"},
        {{"map", "have.kr", "-o", ""}, 64, "--output: an empty value"},
        {{"rm", "--password-file=", "have.kr", "a"}, 64, "--password-file=: an empty value"},
        {{"list", "have.kr", "--frob"}, 64, "--frob"},
        {{"add", "have.kr", "-"}, 64, "--name"},
        {{"add", "have.kr", "a", "--name", "b"}, 64, "--name"},
        {{"add", "have.kr", "-", "--name", "b", "--password-file", "-"}, 64, "standard input"},
        {{"create", "have.kr", "a"}, 2, "have.kr: is there already; use --force"},
        {{"create", "new.kr", "a", "nope"}, 2, "nope"},
        {{"create", "new.kr", "-C", "nofolder", "a"}, 2, "nofolder"},
        {{"create", "nofolder/new.kr", "a"}, 2, "nofolder"},
        {{"create", "new.kr", ".."}, 2, "leads above"},
        {{"create", "new.kr", "a", "A"}, 2, "A: would be the same entry as a"},
        {{"add", "have.kr", "sub", "sub/a"}, 2, "same entry"},
        {{"create", "new.kr", deep}, 2, "256"},
        {{"create", "new.kr", "KRAVONEL_BLOCK_FILE_FREE_LIST"}, 2, "library's own"},
        {{"add", "have.kr", "-", "--name", "./"}, 2, "empty entry name"},
        {{"rm", "have.kr", "a", "Kravonel_block_file_free_list"}, 2, "stays"},
        {{"create", "sub", "a", "--force"}, 2, "not a file"},
        {{"decrypt", "have.kr"}, 2, "not encrypted"},
        {{"passwd", "have.kr"}, 2, "not encrypted"},
        {{"list", "sub"}, 2, "is a folder"},
        {{"check", "sub"}, 2, "is a folder"},
        {{"check", "blank.kr"}, 2, "blank.kr: is not a compound file"},
        {{"repair", "have.kr", "cut.kr"}, 2, "cut.kr: is there already; use --force"},
        {{"repair", "have.kr", "sub", "--force"}, 2, "not a file"},
        {{"repair", "have.kr", "./have.kr", "--force"}, 2, "is FILE itself"},
        {{"repair", "blank.kr", "new.kr"}, 2, "blank.kr: is not a compound file"},
        {{"repair", "have.kr"}, 64, "OUT"},
        {{"list", "/dev/null"}, 2, "is a device"},
        {{"list", "text"}, 2, "not a compound file"},
        {{"list", "cut.kr"}, 2, "cut short"},
        {{"list", "newer.kr"}, 2, "version 3"},
        {{"add", "blank.kr", "a"}, 2, "not a compound file"},
        {{"list", "esc\x1b[2J\n.kr"}, 2, "esc\\x1b[2J\\n.kr: does not exist"},
    };
    for (const char* const command :
         {"list", "info", "encrypt", "decrypt", "passwd", "compact", "check"}) {
        refusals.push_back({{command, "none.kr"}, 2, "none.kr: does not exist"});
    }
    for (const char* const command : {"extract", "cat", "add", "rm", "repair"}) {
        refusals.push_back({{command, "none.kr", "a"}, 2, "none.kr: does not exist"});
    }
    ExpectRefused(refusals);
}

TEST_F(RefusalTest, FilesInUseAreLeftAlone) {
    WriteFile("a", "a");
    WriteFile("pw", "secret");
    ASSERT_EQ(Run({"create", "f.kr", "a"}).status, 0);
    const int fd = open(Path("f.kr").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(fd, LOCK_SH), 0);
    const std::vector<Refusal> changes = {
        {{"add", "f.kr", "a"}, 5, "f.kr: is in use"},
        {{"rm", "f.kr", "a"}, 5, "f.kr: is in use"},
        {{"create", "--force", "f.kr", "a"}, 5, "f.kr: is in use"},
        {{"encrypt", "f.kr", "--password-file", "pw"}, 5, "f.kr: is in use"},
        {{"compact", "f.kr"}, 5, "f.kr: is in use"},
    };
    ExpectRefused(changes);
    EXPECT_EQ(Run({"cat", "f.kr", "a"}).out, "a");
    EXPECT_EQ(Run({"check", "f.kr"}).status, 0);

    ASSERT_EQ(flock(fd, LOCK_EX), 0);
    ExpectRefused(changes);
    ExpectRefused({{{"list", "f.kr"}, 5, "in use"},
                   {{"info", "f.kr"}, 5, "in use"},
                   {{"extract", "f.kr"}, 5, "in use"},
                   {{"check", "f.kr"}, 2, "in use"},
                   {{"map", "f.kr", "-o", "new.svg"}, 5, "in use"},
                   {{"repair", "f.kr", "new.kr"}, 5, "in use"}});
    close(fd);
}

TEST_F(RefusalTest, EveryCutOfAFileIsSurvived) {
    const Model entries = {{"a", Pattern(5000, 1)},
                           {"b", Pattern(3000, 2)},
                           {"c", Pattern(1, 3)},
                           {"d", Pattern(2, 4)}};
    const std::string whole = FileOf(entries);
    WriteFile("d", "new");
    for (std::size_t length = 512; length < whole.size(); length += 512) {
        WriteFile("cut.kr", whole.substr(0, length));
        const std::string folder = "out" + std::to_string(length);
        const ToolResult extracted = Run({"extract", "cut.kr", "-C", folder});
        EXPECT_TRUE(extracted.status == 1 || extracted.status == 2 || extracted.status == 0);
        if (Exists(folder)) {
            for (const auto& [name, content] : Snapshot(folder)) {
                EXPECT_EQ(content, Summary(entries.at(name))) << length;
            }
        }
        for (const char* const command : {"list", "info"}) {
            EXPECT_EQ(Run({command, "cut.kr"}).status, extracted.status == 2 ? 2 : 0) << length;
        }
        EXPECT_NE(Run({"add", "cut.kr", "d"}).status, -1) << length;
    }
}

TEST_F(RefusalTest, ADamagedEntryCostsOnlyItself) {
    std::string bytes =
        FileOf({{"a", Pattern(3000, 1)}, {"b", Pattern(3000, 2)}, {"c", Pattern(3000, 3)}});
    const std::size_t second = bytes.find(Pattern(3000, 2).substr(1003, 100)) / 1024 * 1024;
    bytes[second] = static_cast<char>(bytes[second] ^ 0x40);
    WriteFile("f.kr", bytes);

    const ToolResult extracted = Run({"extract", "f.kr", "-C", "out"});
    EXPECT_EQ(extracted.status, 1);
    EXPECT_EQ(extracted.err, "krstream: b: not extracted, it is damaged in f.kr; 'krstream repair' "
                             "saves what is left\n");
    EXPECT_EQ(Snapshot("out"),
              (Model{{"a", Summary(Pattern(3000, 1))}, {"c", Summary(Pattern(3000, 3))}}));
    const ToolResult shown = Run({"cat", "f.kr", "b", "c"});
    EXPECT_EQ(shown.status, 1);
    EXPECT_EQ(shown.out, Pattern(3000, 2).substr(0, shown.out.size() - 3000) + Pattern(3000, 3));
    EXPECT_EQ(Run({"extract", "f.kr", "b", "-C", "alone"}).status, 2);
    WriteFile("pw", "secret");
    EXPECT_EQ(Run({"encrypt", "f.kr", "--password-file", "pw"}).status, 2);
    EXPECT_EQ(ReadFile("f.kr"), bytes);
}

TEST_F(RefusalTest, MessagesSayWhatToDo) {
    WriteFile("large", Pattern(100000, 1));
    WriteFile("f.kr", FileOf({{"notes.txt", "x"}, {std::string(256, 'n'), "y"}}));
    std::string nameless = FileOf({{"a", "x"}});
    nameless[nameless.find("a" + std::string(8, '\0'))] = '\0';
    WriteFile("noname.kr", nameless);
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"cat f.kr Note.txt", "f.kr: has no entry Note.txt; did you mean notes.txt?"},
        {"cat f.kr q$'\\n'", "f.kr: has no entry q\\n; see 'krstream list'"},
        {"extract f.kr " + std::string(256, 'n'), "File name too long; 'krstream cat' can write"},
        {"cat noname.kr note", "noname.kr: has no entry note; see 'krstream list'"},
        {"map large -o f.kr", "f.kr: is there already; use --force"},
        {"create . large", "is not a file, so it is not replaced; take another name"},
    };
    const auto before = Snapshot();
    for (const auto& [line, saying] : cases) {
        const ToolResult result = Shell("krstream " + line);
        EXPECT_NE(result.err.find(saying), std::string::npos) << line << '\n' << result.err;
        EXPECT_EQ(Snapshot(), before) << line;
    }
    const ToolResult full = Shell("ulimit -f 40; krstream create new.kr large");
    EXPECT_EQ(full.status, 2);
    EXPECT_EQ(full.err,
              "krstream: new.kr: could not be written; check the disk, quotas and limits, "
              "then try again\n");
    EXPECT_EQ(Snapshot(), before);
}
