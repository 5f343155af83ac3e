#include "JsonAt.h"
#include "ToolRun.h"

#include <cstdint>
#include <sstream>

#include <sys/stat.h>
#include <unistd.h>

TEST_F(ToolTest, FoldersComeBackAsTheyWere) {
    // Sizes around the payload of a block and the library's buffer; names as people and attackers
    // make them.
    const std::map<std::string, std::size_t> files = {{"empty", 0},
                                                      {"sub/1002", 1002},
                                                      {"sub/1003", 1003},
                                                      {"sub/1004", 1004},
                                                      {"sub/deep/er/x", 10240},
                                                      {"large", 300001},
                                                      {"a b", 1},
                                                      {"line\nbreak", 2},
                                                      {"[list,like]", 3},
                                                      {"\xc3\xa9t\xc3\xa9", 4},
                                                      {"bad\xff", 5},
                                                      {"-dash", 6}};
    for (const auto& [name, size] : files) {
        WriteFile("in/" + name, Pattern(size, static_cast<unsigned>(size)));
    }
    EXPECT_EQ(Run({"create", "-C", "in", "f.kr", "."}).status, 0);
    EXPECT_EQ(Run({"extract", "f.kr", "-C", "out/new"}).status, 0);
    EXPECT_EQ(Snapshot("out/new"), Snapshot("in"));

    EXPECT_EQ(Run({"c", "one.kr", "./in//sub/../sub"}).status, 0);
    EXPECT_EQ(Run({"ls", "one.kr"}).out,
              "in/sub/1002\nin/sub/1003\nin/sub/1004\nin/sub/deep/er/x\n");
    EXPECT_EQ(Run({"x", "one.kr", "IN/sub/1003", "--directory", "two"}).status, 0);
    EXPECT_EQ(Snapshot("two").size(), 1U);
    EXPECT_EQ(ReadFile("two/in/sub/1003"), ReadFile("in/sub/1003"));
}

TEST_F(ToolTest, EntriesAreAddedReplacedShownAndDeleted) {
    WriteFile("a", "first");
    WriteFile("b", "second");
    ASSERT_EQ(Run({"create", "f.kr", "a", "b"}).status, 0);
    WriteFile("a", "other");
    EXPECT_EQ(Run({"add", "f.kr", "a"}).status, 0);
    EXPECT_EQ(Run({"a", "f.kr", "-", "--name", "sub/./piped"}, Pattern(20000, 1)).status, 0);
    EXPECT_EQ(Run({"cat", "f.kr", "A", "b"}).out, "othersecond");
    EXPECT_EQ(Run({"cat", "f.kr", "sub/piped"}).out, Pattern(20000, 1));

    const ToolResult some = Run({"cat", "f.kr", "c", "b"});
    EXPECT_EQ(some.status, 1);
    EXPECT_EQ(some.out, "second");
    EXPECT_EQ(some.err, "krstream: f.kr: has no entry c; see 'krstream list'\n");

    EXPECT_EQ(Run({"rm", "f.kr", "a", "A", "nope"}).status, 1);
    EXPECT_EQ(Run({"d", "f.kr", "b"}).status, 0);
    EXPECT_EQ(Run({"l", "f.kr"}).out, "sub/piped\n");
    EXPECT_EQ(Run({"l", "f.kr", "--all"}).out, "kravonel_block_file_free_list\nsub/piped\n");
}

TEST_F(ToolTest, ListAndInfoTellWhatIsThere) {
    WriteFile("bad\xff", Pattern(2006, 1));
    WriteFile("x", "");
    ASSERT_EQ(Run({"create", "f.kr", "bad\xff", "x"}).status, 0);

    const std::string list = Run({"list", "--json", "f.kr"}).out;
    EXPECT_EQ(JsonAt(list, "/0/name"), "\"bad\xef\xbf\xbd\"");
    EXPECT_EQ(JsonAt(list, "/0/size"), "2006");
    EXPECT_EQ(JsonAt(list, "/0/blocks"), "3");
    EXPECT_EQ(JsonAt(list, "/1/name"), "\"x\"");
    EXPECT_ANY_THROW(JsonAt(list, "/2")) << "there are two";
    const std::string quoted = JsonAt(list, "/0/modified");
    const std::string modified = quoted.substr(1, quoted.size() - 2);
    EXPECT_EQ(Run({"list", "-l", "f.kr"}).out, "   SIZE             MODIFIED  BLOCKS  NAME\n"
                                               "2.0 KiB  " +
                                                   modified +
                                                   "       3  bad\\xff\n"
                                                   "    0 B  " +
                                                   modified + "       1  x\n");
    EXPECT_EQ(Run({"list", "-0", "f.kr"}).out, std::string("bad\xff\0x\0", 7));
    EXPECT_NE(Run({"list", "-l", "--all", "f.kr"}).out.find("      r  kravonel"),
              std::string::npos);

    // A directory block, 3 + 1 blocks of payload and one of the record of free blocks; then the 3
    // are freed.
    std::string info = Run({"info", "--json", "f.kr"}).out;
    EXPECT_EQ(JsonAt(info, "/blocks_used"), "6");
    EXPECT_EQ(JsonAt(info, "/blocks_free"), "0");
    ASSERT_EQ(Run({"rm", "f.kr", "bad\xff"}).status, 0);
    info = Run({"info", "--json", "f.kr"}).out;
    EXPECT_EQ(JsonAt(info, "/blocks_used"), "3");
    EXPECT_EQ(JsonAt(info, "/blocks_free"), "3");
    EXPECT_EQ(JsonAt(info, "/entries"), "1");
    EXPECT_EQ(JsonAt(info, "/payload_bytes"), "0");
    EXPECT_EQ(JsonAt(info, "/format_version"), "2");
    EXPECT_EQ(JsonAt(info, "/encrypted"), "false");
}

TEST_F(ToolTest, ListsStayTablesWhateverTheDirectoryClaims) {
    std::string bytes = FileOf({{"a", Pattern(3000, 1)}, {"b", "b"}});
    const std::string size("\xb8\x0b\0\0\0\0\0\0", 8);
    bytes.replace(bytes.find(size), size.size(), std::string(7, '\xff') + '\x7f');
    WriteFile("f.kr", bytes);
    const std::string table = Run({"list", "-l", "f.kr"}).out;
    std::istringstream lines(table);
    std::size_t names = 0;
    std::string line;
    std::getline(lines, line);
    const std::size_t column = line.find("NAME");
    for (; std::getline(lines, line); ++names) {
        EXPECT_EQ(line.size(), column + 1) << table;
        EXPECT_EQ(line.substr(column - 3), names == 0 ? "!  a" : "   b") << table;
    }
    EXPECT_EQ(names, 2U) << table;
    EXPECT_EQ(JsonAt(Run({"list", "--json", "f.kr"}).out, "/0/size"), std::to_string(INT64_MAX));
}

TEST_F(ToolTest, WhatCannotBeStoredIsLeftOutByName) {
    WriteFile("in/file", "x");
    WriteFile("elsewhere/y", "y");
    ASSERT_EQ(symlink("file", Path("in/link").c_str()), 0);
    ASSERT_EQ(symlink("../elsewhere", Path("in/folderlink").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", Path("in/dangling").c_str()), 0);
    ASSERT_EQ(mkfifo(Path("in/pipe").c_str(), 0600), 0);
    const ToolResult made = Run({"create", "in/f.kr", "in"});
    EXPECT_EQ(made.status, 1);
    for (const char* const name : {"in/folderlink", "in/dangling", "in/pipe"}) {
        EXPECT_NE(made.err.find(std::string("krstream: ") + name + ": skipped"), std::string::npos);
    }
    EXPECT_EQ(Run({"list", "in/f.kr"}).out, "in/file\nin/link\n");
    EXPECT_EQ(Run({"cat", "in/f.kr", "in/link"}).out, "x");

    // The file itself is never stored in itself.
    EXPECT_EQ(Run({"add", "in/f.kr", "in/f.kr", "in/file"}).status, 0);
    EXPECT_EQ(Run({"list", "in/f.kr"}).out, "in/file\nin/link\n");

    const ToolResult absolute = Run({"create", "abs.kr", Path("elsewhere/y")});
    EXPECT_EQ(absolute.status, 0);
    EXPECT_NE(absolute.err.find("leading '/'"), std::string::npos);
    EXPECT_EQ(Run({"list", "abs.kr"}).out, Path("elsewhere/y").substr(1) + '\n');
}

TEST_F(ToolTest, ReplacingKeepsPermissionsAndLinks) {
    WriteFile("a", "a");
    WriteFile("old.kr", "anything");
    ASSERT_EQ(chmod(Path("old.kr").c_str(), 0640), 0);
    ASSERT_EQ(symlink("old.kr", Path("link.kr").c_str()), 0);
    EXPECT_EQ(Run({"create", "--force", "link.kr", "a"}).status, 0);
    EXPECT_EQ(Run({"list", "old.kr"}).out, "a\n");
    ASSERT_EQ(Run({"rm", "link.kr", "a"}).status, 0);
    EXPECT_EQ(Run({"compact", "link.kr"}).status, 0);
    EXPECT_EQ(ReadFile("old.kr"), "");
    struct stat status {};
    ASSERT_EQ(lstat(Path("link.kr").c_str(), &status), 0);
    EXPECT_TRUE(S_ISLNK(status.st_mode));
    ASSERT_EQ(stat(Path("old.kr").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(ToolTest, OutputThatCannotBeWrittenIsAFailure) {
    WriteFile("f.kr", FileOf({{"a", "a"}}));
    const std::vector<std::vector<std::string>> commands = {{"list", "f.kr"},
                                                            {"info", "f.kr", "--json"},
                                                            {"compact", "f.kr"},
                                                            {"cat", "f.kr", "a"},
                                                            {"--help"}};
    for (const auto& arguments : commands) {
        const ToolResult full = Run(arguments, "", "/dev/full");
        EXPECT_EQ(full.status, 2) << arguments.front();
        EXPECT_NE(full.err.find("standard output"), std::string::npos) << arguments.front();
    }
}
