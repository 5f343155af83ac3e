#pragma once

#include <TALVOkrstream/KrStreamSource.h>

#include <istream>
#include <iterator>
#include <optional>
#include <string>

/// A whole stream; none when there is no such stream, or it cannot be read.
inline std::optional<std::string> Read(KrStreamSource& source, const std::string& name) {
    const auto stream = source.GetIStream(name.c_str());
    if (stream == nullptr || !stream->good()) {
        return std::nullopt;
    }
    std::string bytes{std::istreambuf_iterator<char>(*stream), std::istreambuf_iterator<char>()};
    return stream->bad() ? std::nullopt : std::optional<std::string>(bytes);
}

/// Writes all of a stream; whether that could be done as far as the stream can tell.
inline bool Write(KrStreamSource& source, const std::string& name, const std::string& bytes) {
    const auto stream = source.GetOStream(name.c_str());
    return stream != nullptr &&
           stream->write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush().good();
}
