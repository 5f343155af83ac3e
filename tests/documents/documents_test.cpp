#include "tests/support/Matches.h"
#include "tests/support/TempFolder.h"

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace fs = boost::filesystem;

namespace {

using Lines = std::vector<std::string>;

/// A block of code in a document, without the fences.
struct CodeBlock {
    std::string language;
    Lines lines;
};

const fs::path& Root() {
    static const fs::path root(KRSTREAM_SOURCES);
    return root;
}

Lines LinesOf(const fs::path& file) {
    std::istringstream text(ReadFile(file.string()));
    Lines lines;
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line);
    }
    return lines;
}

bool IsFence(const std::string& line) {
    return line.compare(0, 3, "```") == 0;
}

std::vector<CodeBlock> CodeBlocksOf(const fs::path& document) {
    std::vector<CodeBlock> blocks;
    bool isInside = false;
    for (const std::string& line : LinesOf(document)) {
        if (!IsFence(line) && isInside) {
            blocks.back().lines.push_back(line);
        } else if (IsFence(line)) {
            isInside = !isInside;
            if (isInside) {
                blocks.push_back({line.substr(3), {}});
            }
        }
    }
    return blocks;
}

/// The document as text, without its blocks of code.
std::string ProseOf(const fs::path& document) {
    std::string prose;
    bool isInside = false;
    for (const std::string& line : LinesOf(document)) {
        isInside = isInside != IsFence(line);
        prose += isInside || IsFence(line) ? "" : line + '\n';
    }
    return prose;
}

/// Whether the lines are the block's, each behind the same indentation.
bool IsBlockAt(const Lines& lines, std::size_t first, const Lines& block) {
    const std::size_t indentation =
        lines[first].size() - std::min(lines[first].size(), block[0].size());
    const std::string blanks(indentation, ' ');
    for (std::size_t i = 0; i < block.size(); ++i) {
        if (lines[first + i] != (block[i].empty() ? "" : blanks + block[i])) {
            return false;
        }
    }
    return true;
}

bool Holds(const fs::path& file, const Lines& block) {
    const Lines lines = LinesOf(file);
    for (std::size_t first = 0; first + block.size() <= lines.size(); ++first) {
        if (IsBlockAt(lines, first, block)) {
            return true;
        }
    }
    return false;
}

/// The files under a folder whose names end like this.
std::vector<fs::path> FilesIn(const fs::path& folder, const std::string& ending) {
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        const std::string path = entry.path().string();
        if (path.size() > ending.size() &&
            path.compare(path.size() - ending.size(), ending.size(), ending) == 0) {
            files.push_back(entry.path());
        }
    }
    return files;
}

bool IsInAnExample(const CodeBlock& block, const std::string& ending) {
    const std::vector<fs::path> files = FilesIn(Root() / "examples", ending);
    return std::any_of(files.begin(), files.end(),
                       [&](const fs::path& file) { return Holds(file, block.lines); });
}

/// A command for the repository itself: CI runs the scripts, and the presets are there.
bool IsOwnCommand(const std::string& line) {
    const auto found =
        AllMatches(line, R"(\$ ((scripts/[a-z-]+)|(cmake|ctest) .*--preset ([a-z]+)))");
    if (found.empty()) {
        return false;
    }
    const Match& command = found.front();
    return command[2].empty()
               ? ReadFile((Root() / "CMakePresets.json").string())
                         .find(R"("name": ")" + command[4] + '"') != std::string::npos
               : fs::exists(Root() / command[2]);
}

void ExpectRuns(const CodeBlock& block) {
    const std::string& language = block.language;
    if (language == "console") {
        for (const std::string& line : block.lines) {
            EXPECT_TRUE(IsOwnCommand(line)) << line;
        }
    } else {
        const std::string ending = language == "cmake" ? "CMakeLists.txt" : '.' + language;
        EXPECT_TRUE(IsInAnExample(block, ending))
            << language << " that begins with: " << block.lines.front();
    }
}

/// A document, and the languages of the code in it.
struct Document {
    std::string path;
    std::set<std::string> languages;
};

void PrintTo(const Document& document, std::ostream* out) {
    *out << document.path;
}

class Documents : public testing::TestWithParam<Document> {};

TEST_P(Documents, ShowOnlyCodeThatRuns) {
    std::set<std::string> languages;
    for (const CodeBlock& block : CodeBlocksOf(Root() / GetParam().path)) {
        ASSERT_FALSE(block.lines.empty());
        languages.insert(block.language);
        ExpectRuns(block);
    }
    EXPECT_EQ(languages, GetParam().languages);
}

INSTANTIATE_TEST_SUITE_P(WithCode, Documents,
                         testing::Values(Document{"README.md", {"cmake", "console", "cpp", "sh"}},
                                         Document{"docs/guide.md", {"cpp", "sh"}},
                                         Document{"docs/crashes.md", {"cpp"}}),
                         [](const auto& document) {
                             return fs::path(document.param.path).stem().string();
                         });

TEST(Examples, AreAllRun) {
    const std::string listed = ReadFile((Root() / "examples/CMakeLists.txt").string());
    for (const fs::directory_entry& entry : fs::directory_iterator(Root() / "examples")) {
        const std::string extension = entry.path().extension().string();
        const std::string name = entry.path().stem().string();
        if (extension == ".cpp" || extension == ".sh") {
            const std::string test =
                R"(krstream_(add|run)_example\([[:space:]]*)" + name + "[[:space:]]";
            EXPECT_EQ(AllMatches(listed, test).size(), 1U) << name;
        }
    }
}

/// What follows the # in a link to a heading.
std::string AnchorOf(const std::string& heading) {
    std::string anchor;
    for (const char c : heading) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '_') {
            anchor += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        } else if (c == ' ') {
            anchor += '-';
        }
    }
    return anchor;
}

bool HasAnchor(const fs::path& document, const std::string& anchor) {
    const auto headings = AllMatches(ProseOf(document), "^#+ (.*)$");
    return std::any_of(headings.begin(), headings.end(),
                       [&](const Match& heading) { return AnchorOf(heading[1]) == anchor; });
}

void ExpectLinksLead(const fs::path& document) {
    const std::string prose = ProseOf(document);
    ASSERT_FALSE(prose.empty()) << document;
    for (const Match& link : AllMatches(prose, R"(\]\(([^)#]*)(#([^)]*))?\))")) {
        const std::string& path = link[1];
        if (path.find("://") != std::string::npos) {
            continue;
        }
        const fs::path target = path.empty() ? document : document.parent_path() / path;
        EXPECT_TRUE(fs::exists(target)) << document << " links to " << path;
        EXPECT_TRUE(link[2].empty() || HasAnchor(target, link[3]))
            << document << " links to " << link[0];
    }
}

TEST(Links, LeadToFilesAndHeadings) {
    std::vector<fs::path> documents = FilesIn(Root() / "docs", ".md");
    for (const char* name : {"README.md", "CONTRIBUTING.md", "CHANGELOG.md"}) {
        documents.push_back(Root() / name);
    }
    for (const fs::path& document : documents) {
        ExpectLinksLead(document);
    }
}

} // namespace
