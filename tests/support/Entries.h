#pragma once

#include <TALVOkrstream/CompoundFile.h>

#include <map>
#include <optional>
#include <sstream>
#include <string>

using Model = std::map<std::string, std::string>;

/// Bytes that differ from entry to entry and from place to place, so that a block in the wrong
/// place shows.
inline std::string Pattern(std::size_t size, unsigned seed) {
    std::string bytes(size, '\0');
    unsigned state = seed * 2654435761U + 1;
    for (char& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

/// Writes to an entry's stream; whether everything went well as far as the stream can tell.
inline bool WriteTo(const std::unique_ptr<std::iostream>& stream, const std::string& bytes,
                    std::ios::seekdir from = std::ios::beg) {
    return stream != nullptr && stream->seekp(0, from)
                                    .write(bytes.data(), static_cast<std::streamsize>(bytes.size()))
                                    .flush()
                                    .good();
}

/// Creates or replaces an entry.
inline bool Put(CompoundFile& file, const std::string& name, const std::string& bytes) {
    return WriteTo(file.GetIOStream(name.c_str(), "wb"), bytes);
}

/// The bytes of a file that was made with these entries, in the order of their names.
inline std::string FileOf(const Model& entries) {
    const auto stream = std::make_shared<std::stringstream>();
    CompoundFile file;
    file.Open(stream);
    for (const auto& [name, bytes] : entries) {
        Put(file, name, bytes);
    }
    file.Close();
    return stream->str();
}

/// A whole entry; none when it is missing or cannot be read to its end.
inline std::optional<std::string> Get(CompoundFile& file, const std::string& name) {
    const auto stream = file.GetIOStream(name.c_str(), "rb");
    std::ostringstream bytes;
    if (stream == nullptr || !stream->good()) {
        return std::nullopt;
    }
    char piece[1500];
    while (stream->read(piece, sizeof piece).gcount() > 0) {
        bytes.write(piece, stream->gcount());
    }
    return stream->bad() ? std::nullopt : std::optional<std::string>(bytes.str());
}

/// All entries but the record of free blocks; an unreadable one stands as "<unreadable>".
inline Model GetAll(CompoundFile& file) {
    Model entries;
    unsigned long index = 0;
    for (const char* name = file.GetFirstDirName(&index); name != nullptr;
         name = file.GetNextDirName(&index)) {
        if (std::string(name) != CompoundFile::kFreeListEntryName) {
            entries[name] = Get(file, name).value_or("<unreadable>");
        }
    }
    return entries;
}

inline Model GetAll(const std::string& path) {
    CompoundFile file;
    return file.Open(path.c_str(), KrStreamE::ReadOnly) == KrStreamE::Ok
               ? GetAll(file)
               : Model{{"<unopened>", path}};
}
