#include <TALVOkrstream/KrStreamSource.h>
#include <TALVOutl/Files.h>
#include <TALVOutl/TimeUtl.h>

#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/iostreams/stream.hpp>

#include <ctime>

namespace fs = boost::filesystem;

namespace {

using MemoryStream = boost::iostreams::stream<KrContainerDevice<std::vector<char>>>;

/// Whether nothing is lost to anybody when `path` is written over.
bool MayWriteOver(const fs::path& path) {
    boost::system::error_code error;
    const fs::file_type type = fs::status(path, error).type();
    return type == fs::file_not_found ||
           (type == fs::regular_file && !KrIsFileLocked(path.string()));
}

} // namespace

MemCompoundFileStreamSource::MemCompoundFileStreamSource()
    : name_(KrTimeUtl::FormatLocal(std::time(nullptr), "In-memory-project-%y%m%d%H%M%S")) {}

// The engine writes while it closes, so it closes while the stream and the buffer are there.
MemCompoundFileStreamSource::~MemCompoundFileStreamSource() {
    Close();
    stream_.reset();
}

void MemCompoundFileStreamSource::Open() {
    stream_ = std::make_shared<MemoryStream>(KrContainerDevice<std::vector<char>>(buffer_));
    PureCompoundFileStreamSource::Open(stream_);
}

bool MemCompoundFileStreamSource::Save(const char* path) {
    if (path == nullptr || !MayWriteOver(path)) {
        return false;
    }
    fs::ofstream file(path, std::ios_base::out | std::ios_base::binary);
    if (!file.is_open()) {
        return false;
    }
    file.write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
    return true;
}

std::string MemCompoundFileStreamSource::GetStreamFileName() const {
    return name_;
}

std::string MemCompoundFileStreamSource::GetCompoundFileName() const {
    return name_;
}

std::string MemCompoundFileStreamSource::GetFilePath() const {
    return {};
}
