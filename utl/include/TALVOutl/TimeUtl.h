#pragma once

#include <TALVOutl/Export.h>

#include <cstddef>
#include <ctime>
#include <string>

/// \file
/// Local times as texts.

/// Bytes in a time text: 24 characters in the C library's asctime form, a newline, a NUL.
constexpr std::size_t kTimeTextSize = 26;

/// Breaks `time` down into local time; false, with `local` unspecified, when it cannot be
/// represented. The time zone is the process's (TZ). Any thread.
TALVOUTL_EXPORT bool krlocaltime_r(std::time_t time, std::tm& local);

/// Writes `local` as a time text, "Sat Nov 21 08:05:04 2026\n" and a NUL, never in another
/// language. False, with `text` all NUL, for a year that four characters cannot show. Any thread.
TALVOUTL_EXPORT bool krasctime_r(const std::tm& local, char (&text)[kTimeTextSize]);

/// Helpers for times.
namespace KrTimeUtl {

/// `time` as local time in a strftime format; empty when the time cannot be represented or the
/// result is over 1,023 bytes long. Any thread.
TALVOUTL_EXPORT std::string FormatLocal(std::time_t time, const char* format);

} // namespace KrTimeUtl
