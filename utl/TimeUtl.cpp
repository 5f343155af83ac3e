#include "TALVOutl/TimeUtl.h"

#include <algorithm>
#include <array>
#include <cstring>

bool krlocaltime_r(std::time_t time, std::tm& local) {
    return localtime_r(&time, &local) != nullptr;
}

bool krasctime_r(const std::tm& local, char (&text)[kTimeTextSize]) {
    // asctime_r writes past 26 bytes for years of five digits; the larger buffer takes what it
    // makes then.
    std::array<char, 128> buffer{};
    const bool made = asctime_r(&local, buffer.data()) != nullptr &&
                      std::strlen(buffer.data()) == kTimeTextSize - 1;
    std::fill(std::begin(text), std::end(text), '\0');
    if (made) {
        std::memcpy(text, buffer.data(), kTimeTextSize);
    }
    return made;
}

namespace KrTimeUtl {

std::string FormatLocal(std::time_t time, const char* format) {
    std::tm local{};
    if (!krlocaltime_r(time, local)) {
        return {};
    }
    std::array<char, 1024> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), format, &local);
    return {text.data(), length};
}

} // namespace KrTimeUtl
