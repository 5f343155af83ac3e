#include "ToolRun.h"

namespace {

/// What a terminal or a reader could be fooled by: an escape sequence, a newline, a carriage
/// return, bytes that are no UTF-8, text from right to left, a control character of two bytes.
const std::string kNasty =
    "\x1b[2J line\nkrstream: forged \r \xff\xfe \xe2\x80\xaegnp \xd8\x9c \xc2\x9b"
    "0m \x7f \t <b>&";

/// Whether `text` is lines of plain UTF-8.
::testing::AssertionResult IsHarmless(const std::string& text) {
    for (const char* const bad : {"\x1b", "\r", "\xff", "\xe2\x80\xae", "\xd8\x9c", "\xc2\x9b",
                                  "\x7f", "\t", "\nkrstream: forged"}) {
        if (text.find(bad) != std::string::npos) {
            return ::testing::AssertionFailure() << testing::PrintToString(text);
        }
    }
    return ::testing::AssertionSuccess();
}

} // namespace

TEST_F(ToolTest, NamesOfAnyBytesAreShownSafely) {
    std::string bytes = FileOf({{"a" + kNasty, Pattern(1500, 1)}, {"b" + kNasty, "b"}});
    bytes[2048] = '\x55';
    const std::string file = kNasty + ".kr";
    const std::string entry = "a" + kNasty;
    const std::string other = "other" + kNasty;
    WriteFile(file, bytes);
    WriteFile(entry, "in the way");
    const std::vector<std::vector<std::string>> commands = {
        {"list", "-l", file},
        {"info", file},
        {"check", file},
        {"map", file},
        {"map", file, "-o", "picture.svg"},
        {"map", file, "-o", file},
        {"map", file, "-o", entry},
        {"repair", "-f", file, "new.kr"},
        {"extract", file},
        {"extract", file, "-C", entry},
        {"cat", file, other},
        {"cat", file, entry + "_"},
        {"rm", file, other},
        {"add", file, other},
        {"create", file, entry},
        {"encrypt", file},
        {"encrypt", file, "--password-file", other},
        {"decrypt", file},
        {"compact", file},
        {"list", other},
        {"list", file, other},
        {"list", file, "--" + kNasty},
        {"frob" + kNasty},
        {"--generate", kNasty},
    };
    for (const auto& command : commands) {
        const ToolResult result = Run(command);
        EXPECT_TRUE(IsHarmless(result.out)) << testing::PrintToString(command);
        EXPECT_TRUE(IsHarmless(result.err)) << testing::PrintToString(command);
    }
    EXPECT_TRUE(IsHarmless(ReadFile("picture.svg")));
}
