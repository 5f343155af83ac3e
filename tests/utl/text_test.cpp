#include "tests/support/TempFolder.h"
#include "tests/support/UmlautLetters.h"

#include <TALVOutl/Exception.h>
#include <TALVOutl/Paths.h>
#include <TALVOutl/Strings.h>
#include <TALVOutl/TimeUtl.h>

#include <boost/locale/generator.hpp>
#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <locale>
#include <optional>
#include <tuple>

#include <fcntl.h>
#include <unistd.h>

namespace fs = boost::filesystem;
using namespace std::string_literals;

TEST(Strings, ToInt) {
    const std::pair<std::string, std::optional<int>> cases[] = {
        {"   2", 2},        {" \t\n-07", -7},    {"+5", 5},  {"2147483647", INT_MAX},
        {"2147483648", {}}, {"-2147483649", {}}, {"", {}},   {"  ", {}},
        {"+-5", {}},        {"- 5", {}},         {"5 ", {}}, {"5\0"s, {}}};
    for (const auto& [text, value] : cases) {
        int got = 42;
        EXPECT_EQ(KrString::ToInt(text, got), value.has_value()) << text;
        EXPECT_EQ(got, value.value_or(42)) << text;
    }
}

TEST(Strings, NamesWithoutCase) {
    const std::locale classic = std::locale::classic();
    const std::locale umlauts(classic, new UmlautLetters);
    const std::tuple<std::string, std::string, int, int> cases[] = {
        {"aBz", "AbZ", 0, 0},     {"a", "B", -1, -1},         {"A", "[", 1, 1},
        {"Ab", "aBc", -1, -1},    {"a\0b"s, "A\0c"s, -1, -1}, {"\x7F", "\x80", -1, -1},
        {"\xC4x", "\xE4X", -1, 0}};
    for (const auto& [a, b, plain, folded] : cases) {
        EXPECT_EQ(KrStdString::CompareNoCase(a, b, classic), plain) << a;
        EXPECT_EQ(KrStdString::CompareNoCase(b, a, classic), -plain) << a;
        EXPECT_EQ(KrStdString::CompareNoCase(a, b, umlauts), folded) << a;
    }
    EXPECT_TRUE(KrStdString::FoldsLikeClassic(classic));
    EXPECT_FALSE(KrStdString::FoldsLikeClassic(umlauts));
}

TEST(Strings, SetStrWithItself) {
    char* text = KrString::krstrdup("first");
    KrString::SetStr(text, text + 2);
    EXPECT_STREQ(text, "rst");
    KrString::SetStr(text, nullptr);
}

TEST(Time, Texts) {
    std::tm moment{};
    moment.tm_mday = 1;
    for (const auto& [year, written] :
         {std::pair(2026, "Sun Jan  1 00:00:00 2026\n\0"s), {999, ""}, {10000, ""}}) {
        moment.tm_year = year - 1900;
        char text[kTimeTextSize];
        EXPECT_EQ(krasctime_r(moment, text), !written.empty());
        EXPECT_EQ(std::string(text, 26), written.empty() ? std::string(26, '\0') : written);
    }
    setenv("TZ", "EST5", 1);
    tzset();
    EXPECT_EQ(KrTimeUtl::FormatLocal(0, "%Y-%m-%d %H:%M:%S"), "1969-12-31 19:00:00");
    EXPECT_EQ(KrTimeUtl::FormatLocal(0, std::string(1024, 'x').c_str()), "");
    EXPECT_EQ(KrTimeUtl::FormatLocal(LONG_MAX, "%Y"), "");
}

TEST(Messages, FilledUnderAnyGlobalLocale) {
    const std::locale before;
    for (const std::locale& locale : {before, boost::locale::generator()("en_US.UTF-8")}) {
        std::locale::global(locale);
        const auto message = ExceptionMessage::translate("{2}, {1}, {2}{3}.") % "{2} %1 \xC3\xA4";
        EXPECT_EQ(message.str(), ", {2} %1 \xC3\xA4, .");
        EXPECT_STREQ(Exception(ExceptionMessage(message) % "b{1}").what(),
                     "b{1}, {2} %1 \xC3\xA4, b{1}.");
    }
    std::locale::global(before);
}

TEST(Paths, CanonicalFormsAndExistence) {
    const TempFolder folder;
    const std::string base = fs::canonical(folder / ".").string();
    fs::create_directories(folder / "d/e");
    WriteFile(folder / "d/f", "x");
    fs::create_symlink("d", folder / "link");
    fs::create_symlink("d/e", folder / "deep");
    fs::create_symlink(base + "/d", folder / "absolute");
    fs::create_symlink("later/file", folder / "dangling");
    fs::create_symlink("loop", folder / "loop");
    const std::tuple<std::string, std::string, bool> cases[] = {
        {"d/./f", "/d/f", true},
        {"d//f", "/d/f", true},
        {"d/../d/f", "/d/f", true},
        {"d/e/", "/d/e", true},
        {"d/.././/link/./e/", "/d/e", true},
        {"absolute/f", "/d/f", true},
        {"deep/../f", "/d/f", true},
        {"d/none/../f", "/d/f", false},
        {"link/none/x/", "/d/none/x", false},
        {"none/../link", "/d", false},
        {"dangling", "/later/file", false},
        {"d/f/x", "/d/f/x", false}};
    for (const auto& [path, canonical, exists] : cases) {
        EXPECT_EQ(KrGetCanonicalPath((folder / path).c_str()), base + canonical) << path;
        EXPECT_EQ(KrOpenCanonical(std::string(base).append("/").append(path).c_str(), O_RDONLY), -1)
            << path;
        EXPECT_EQ(KrFileExist((folder / path).c_str()), exists) << path;
    }
    for (const std::string& path : {folder / "loop/x", folder / std::string(300, 'n'), ""s}) {
        EXPECT_EQ(KrGetCanonicalPath(path.c_str()), "") << path;
        EXPECT_FALSE(KrFileExist(path.c_str())) << path;
    }
    EXPECT_EQ(KrGetCanonicalPath(nullptr), "");
    EXPECT_FALSE(KrFileExist(nullptr));
    EXPECT_EQ(KrGetCanonicalPath(("/" + base + "//d").c_str()), base + "/d");
    EXPECT_EQ(KrGetCanonicalPath("/../.."), "/");
    EXPECT_EQ(KrOpenCanonical(nullptr, O_RDONLY), -1);
    const int canonical = KrOpenCanonical((base + "/d/f").c_str(), O_RDONLY);
    EXPECT_TRUE(canonical >= 0 || errno == ENOSYS || errno == EPERM);
    close(canonical);

    const fs::path before = fs::current_path();
    fs::current_path(folder / "deep");
    EXPECT_EQ(KrGetCanonicalPath("../f"), base + "/d/f");
    EXPECT_EQ(KrOpenCanonical("../f", O_RDONLY), -1);
    fs::remove(folder / "d/e");
    EXPECT_EQ(KrGetCanonicalPath("f"), "");
    EXPECT_EQ(KrGetCanonicalPath((folder / "d/f").c_str()), base + "/d/f");
    fs::current_path(before);
}
