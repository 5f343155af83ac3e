#include "benchmarks/EntryWorks.h"

#include "benchmarks/Contenders.h"
#include "benchmarks/Works.h"

#include <TALVOkrstream/CompoundFile.h>

#include <boost/filesystem/operations.hpp>

#include <cstring>
#include <istream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kEntrySize = 100;

void Require(bool condition, const char* what) {
    if (!condition) {
        throw std::runtime_error(std::string("entries: ") + what);
    }
}

void Open(CompoundFile& file, const std::string& path,
          KrStreamE::OpenMode mode = KrStreamE::ReadWrite) {
    Require(file.Open(path.c_str(), mode) == KrStreamE::Ok, "open");
}

void Close(CompoundFile& file) {
    Require(file.Close() == KrStreamE::Ok, "close");
}

void WriteEntry(CompoundFile& file, const std::string& name) {
    const auto stream = file.GetIOStream(name.c_str(), "wb");
    Require(stream != nullptr && stream->write(StreamBytes(0, 0), kEntrySize).flush().good(),
            "write");
}

/// Measures `work` on every entry of a file that is there and open.
template <typename Work>
Sample OnEachEntry(const EntryWorks& works, Work work) {
    works.Make();
    const std::vector<std::string> names = ShuffledNames(works.entries);
    CompoundFile file;
    Open(file, works.path);
    return Measure([&] {
        for (const std::string& name : names) {
            work(file, name);
        }
        Close(file);
    });
}

} // namespace

void EntryWorks::Make() const {
    boost::filesystem::remove(path);
    CompoundFile file;
    Open(file, path);
    for (std::size_t entry = 0; entry < entries; ++entry) {
        WriteEntry(file, StreamName(entry));
    }
    Close(file);
}

Sample EntryWorks::Create() const {
    WarmUp(entries);
    return Measure([this] { Make(); });
}

Sample EntryWorks::Find() const {
    return OnEachEntry(*this, [](CompoundFile& file, const std::string& name) {
        char bytes[kEntrySize];
        const auto stream = file.GetIOStream(name.c_str(), "rb");
        Require(stream != nullptr && stream->read(bytes, sizeof bytes).good(), "read");
    });
}

Sample EntryWorks::Replace() const {
    return OnEachEntry(*this, WriteEntry);
}

Sample EntryWorks::Delete() const {
    return OnEachEntry(*this, [](CompoundFile& file, const std::string& name) {
        Require(file.DeleteCFFile(name.c_str()), "delete");
    });
}

Sample EntryWorks::List() const {
    Make();
    return Measure([this] {
        CompoundFile file;
        Open(file, path, KrStreamE::ReadOnly);
        std::size_t bytes = 0;
        unsigned long index = 0;
        for (const char* name = file.GetFirstDirName(&index); name != nullptr;
             name = file.GetNextDirName(&index)) {
            bytes += std::strlen(name);
        }
        Require(bytes > entries, "list");
        Close(file);
    });
}
