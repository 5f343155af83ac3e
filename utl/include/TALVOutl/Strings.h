#pragma once

#include <TALVOutl/Export.h>

#include <algorithm>
#include <locale>
#include <string_view>

/// \file
/// Helpers for texts and names.

/// Helpers for C strings. Any thread.
namespace KrString {

/// Converts a whole text to an integer: leading blanks, an optional sign, decimal digits, nothing
/// after. False, with `value` unchanged, for any other text and for a number outside int.
TALVOUTL_EXPORT bool ToInt(std::string_view text, int& value);

/// A heap copy of `text` that the caller frees with delete[]; null for null. Throws std::bad_alloc.
TALVOUTL_EXPORT char* krstrdup(const char* text);

/// Replaces an owned string (null or from krstrdup) by a copy of `text`, which may be the old
/// string itself. Throws std::bad_alloc with `target` unchanged.
TALVOUTL_EXPORT void SetStr(char*& target, const char* text);

} // namespace KrString

/// Helpers for names. Any thread.
namespace KrStdString {

/// Compares two texts byte by byte, letters without regard to case as `locale` folds single bytes:
/// negative, 0 or positive as `a` sorts before, equal to or after `b`.
TALVOUTL_EXPORT int CompareNoCase(std::string_view a, std::string_view b,
                                  const std::locale& locale);

/// An ordering for sets and maps of names: CompareNoCase under a locale, by default the global one
/// of the moment when the ordering is made.
struct TALVOUTL_EXPORT LessNoCase {
    /// Whose folding of single bytes counts.
    std::locale locale;

    /// Whether `a` sorts before `b`.
    bool operator()(std::string_view a, std::string_view b) const;
};

/// Whether `locale` folds every single byte as the classic locale does (A to Z and nothing else).
/// True for the classic locale itself and, usually, for UTF-8 locales.
TALVOUTL_EXPORT bool FoldsLikeClassic(const std::locale& locale);

/// A byte folded to lower case as the classic locale does it.
constexpr char FoldClassic(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Whether two texts are the same when folded as the classic locale does it.
inline bool EqualClassic(std::string_view a, std::string_view b) {
    const auto equal = [](char left, char right) {
        return FoldClassic(left) == FoldClassic(right);
    };
    return a == b || std::equal(a.begin(), a.end(), b.begin(), b.end(), equal);
}

} // namespace KrStdString

/// The code page of entry names in files of format version 1, as Boost.Locale names it:
/// "windows-1252".
TALVOUTL_EXPORT const char* GetLegacyStreamEncoding();
