#include "ToolRun.h"
#include "tests/support/Matches.h"

#include <boost/algorithm/string/replace.hpp>

#include <sstream>

namespace {

/// The lines under "Examples:" that are no comments.
std::vector<std::string> Examples(const std::string& help) {
    std::istringstream lines(help.substr(help.find("Examples:\n")));
    std::vector<std::string> examples;
    std::string line;
    for (std::getline(lines, line); std::getline(lines, line) && !line.empty();) {
        if (line.compare(0, 3, "  #") != 0) {
            examples.push_back(line);
        }
    }
    return examples;
}

} // namespace

class HelpTest : public ToolTest {
protected:
    std::vector<std::string> Commands() const {
        const std::string help = Run({"--help"}).out;
        std::vector<std::string> commands;
        for (const Match& line :
             AllMatches(help.substr(0, help.find("\nOptions:")), "^  ([a-z]+)(, [a-z]+)* +[A-Z]")) {
            commands.push_back(line[1]);
        }
        return commands;
    }

    /// The files that examples name, in a folder of their own.
    void MakeWorld(const std::string& folder) const {
        WriteFile(folder + "/drawings/plan.txt", Pattern(3000, 1));
        WriteFile(folder + "/notes.txt", "Please call back.\n");
        WriteFile(folder + "/password.txt", "secret\n");
        WriteFile(folder + "/new-password.txt", "other\n");
        ASSERT_EQ(Shell("cd " + folder +
                        " && krstream create project.kr drawings notes.txt"
                        " && cp project.kr secret.kr"
                        " && krstream encrypt secret.kr --password-file password.txt")
                      .status,
                  0);
        std::string damaged = ReadFile(folder + "/project.kr");
        damaged[damaged.size() - 1024] = '\x55';
        WriteFile(folder + "/damaged.kr", damaged);
    }
};

TEST_F(HelpTest, EveryExampleWorks) {
    std::map<std::string, std::string> helps = {{"krstream", Run({"--help"}).out}};
    for (const std::string& command : Commands()) {
        helps[command] = Run({command, "--help"}).out;
    }
    EXPECT_EQ(helps.size(), 15U);
    for (const auto& [command, help] : helps) {
        MakeWorld(command);
        const std::string enter = "cd " + command + " && ";
        const std::vector<std::string> examples = Examples(help);
        EXPECT_FALSE(examples.empty()) << command;
        for (const std::string& example : examples) {
            const ToolResult result = Shell(enter + example);
            EXPECT_EQ(result.status, 0) << example << '\n' << result.err;
            EXPECT_EQ(result.err, "") << example;
        }
    }
}

TEST_F(HelpTest, TheManualPageNamesEverything) {
    const std::string page = Run({"--generate", "man"}).out;
    for (const std::string& command : Commands()) {
        const std::size_t begin = page.find("\n.SS " + command + " ");
        ASSERT_NE(begin, std::string::npos) << command;
        const std::string section = page.substr(begin, page.find("\n.S", begin + 1) - begin);
        for (const Match& line :
             AllMatches(Run({command, "--help"}).out, "^ +(-., )?(--[a-z-]+)( |$)")) {
            const std::string option = boost::replace_all_copy(line[2], "-", "\\-");
            EXPECT_TRUE(option == "\\-\\-help" || section.find(option) != std::string::npos)
                << command << option;
        }
    }
    WriteFile("krstream.1", page);
    if (Shell("command -v mandoc").status == 0) {
        EXPECT_EQ(Shell("mandoc -T lint krstream.1").out, "");
    } else if (Shell("command -v man && command -v groff").status == 0) {
        EXPECT_EQ(Shell("man --warnings -l krstream.1 >/dev/null").err, "");
    }
}

TEST_F(HelpTest, BashCompletesCommandsOptionsAndEntries) {
    WriteFile("f.kr", FileOf({{"notes of May", ""},
                              {"notes\x1b[2J", ""},
                              {"drawings/plan", ""},
                              {"at 12:30", ""},
                              {"icon@2x=a", ""},
                              {"it's \"`touch hacked`\"!1", ""},
                              {"~root", ""},
                              {"$(touch hacked)", ""}}));
    WriteFile("a b.kr", ReadFile("f.kr"));
    WriteFile("sub/x", "");
    // The words as bash divides them, and what it is told.
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"li", "list"},
        {"--ve", "--version"},
        {"--generate b", "bash"},
        {"list --j", "--json"},
        {"ls --al", "--all"},
        {"passwd f.kr --n", "--new-password-file"},
        {"list f", ""},
        {"repair f.kr o", ""},
        {"cat f.kr no", R"(notes\ of\ May)"},
        {"cat f.kr 'notes\\ of'", R"(notes\ of\ May)"},
        {"cat f.kr \\'notes", "notes of May"},
        {"cat 'a\\ b.kr' dra", "drawings/plan"},
        {"cat f.kr 'at\\ 12' : 3", "30"},
        {"cat f.kr 'at\\ 12:'", "at\\ 12:30"},
        {"cat f.kr \\'at\\ 12:", "at 12:30"},
        {"cat f.kr icon @ 2x =", "a"},
        {"cat f.kr icon @", "2x=a"},
        {"cat f.kr '\\$(t'", R"(\$\(touch\ hacked\))"},
        {"cat f.kr '\\~'", R"(\~root)"},
        {"cat f.kr it", R"(it\'s\ \"\`touch\ hacked\`\"\!1)"},
        {"cat f.kr \\'it", R"(it'\''s "`touch hacked`"!1)"},
        {"cat f.kr \\\"it", R"(it's \"\`touch hacked\`\""\!"1)"},
        {"cat -- f.kr dra", "drawings/plan"},
        {"x -C sub f.kr dra", "drawings/plan"},
        {"x --password-file = pw f.kr dra", "drawings/plan"},
        {"extract f.kr -C su", "sub"},
        {"rm f.kr nothing", ""},
        {"cat none.kr n", ""},
        {"frob x", ""},
    };
    WriteFile("completion", Run({"--generate", "bash"}).out);
    for (const auto& [words, reply] : cases) {
        const ToolResult result = Shell("set -u; . ./completion; COMP_WORDS=(krstream " + words +
                                        "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); "
                                        "_krstream; printf '%s,' \"${COMPREPLY[@]}\"");
        EXPECT_EQ(result.out, reply + ',') << words;
        EXPECT_EQ(result.err, "") << words;
    }
    EXPECT_FALSE(Exists("hacked"));
    if (Shell("command -v zsh").status == 0) {
        WriteFile("_krstream", Run({"--generate", "zsh"}).out);
        EXPECT_EQ(Shell("zsh -n _krstream").status, 0);
    }
}

TEST_F(HelpTest, TheToolIsInstalledWithItsDocuments) {
    const std::string prefix = KRSTREAM_PREFIX;
    const ToolResult result =
        Shell("DESTDIR=$PWD/root cmake --install '" KRSTREAM_BUILD "' --component tool");
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(Shell("test -x root" + prefix + "/bin/krstream").status, 0);
    const std::string zshFolder = Shell("cd root && find * -name _krstream -printf /%h").out;
    const std::map<std::string, std::string> made = {
        {"man", "root" + prefix + "/share/man/man1/krstream.1"},
        {"bash", "root" + prefix + "/share/bash-completion/completions/krstream"},
        {"zsh", "root" + zshFolder + "/_krstream"}};
    for (const auto& [kind, path] : made) {
        EXPECT_EQ(ReadFile(path), Run({"--generate", kind}).out) << kind;
    }
    const bool zshLooksThere = prefix == "/usr" || prefix == "/usr/local";
    if (zshLooksThere && Shell("command -v zsh").status == 0) {
        EXPECT_EQ(Shell("zsh -fc 'print -l $fpath' | grep -Fx " + zshFolder).status, 0)
            << zshFolder;
    }
}
