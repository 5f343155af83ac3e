#include "EntryCopy.h"

#include "Descriptor.h"
#include "ExitStatus.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <memory>
#include <utility>

namespace {

constexpr std::size_t kBufferSize = 256UL * 1024;

/// A stream for writing an entry; what was begun is deleted again unless it was finished.
class NewEntry {
public:
    NewEntry(CompoundFile& file, const std::string& name, const std::string& path)
        : file_(file), name_(name), path_(path), stream_(file.GetIOStream(name.c_str(), "wb")) {
        if (!stream_) {
            throw WriteFailure(path_);
        }
    }
    NewEntry(const NewEntry&) = delete;
    NewEntry& operator=(const NewEntry&) = delete;
    ~NewEntry() {
        if (stream_) {
            stream_.reset();
            file_.DeleteCFFile(name_.c_str());
        }
    }

    void Append(std::string_view data) {
        if (!stream_->write(data.data(), static_cast<std::streamsize>(data.size()))) {
            throw WriteFailure(path_);
        }
    }

    void Finish() {
        if (!stream_->flush()) {
            throw WriteFailure(path_);
        }
        stream_.reset();
        if (file_.GetStatus() != KrStreamE::Ok) {
            throw WriteFailure(path_);
        }
    }

private:
    CompoundFile& file_;
    const std::string& name_;
    const std::string& path_;
    std::unique_ptr<std::iostream> stream_;
};

} // namespace

EntryCopy::EntryCopy(Report& report, std::string path)
    : report_(report), path_(std::move(path)), buffer_(kBufferSize) {}

bool EntryCopy::Read(OpenFile& file, const Entry& entry, const Sink& sink) {
    std::unique_ptr<std::iostream> stream = file.Handle().GetIOStream(entry.name.c_str(), "rb");
    std::uint64_t total = 0;
    while (stream && *stream) {
        stream->read(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
        const auto count = static_cast<std::size_t>(stream->gcount());
        sink({buffer_.data(), count});
        report_.Advance(count);
        total += count;
    }
    const bool whole = stream && !stream->bad() && total == entry.size;
    if (!whole) {
        stream.reset();
        file.Recover();
    }
    return whole;
}

void EntryCopy::ReadWhole(OpenFile& file, const Entry& entry, const Sink& sink) {
    if (!Read(file, entry, sink)) {
        throw Failure(path_, "entry " + Printable(entry.name) +
                                 " is damaged, so nothing was changed; 'krstream repair' saves "
                                 "what is left in a new file");
    }
}

int EntryCopy::Write(CompoundFile& file, const std::string& name, int fd) {
    NewEntry entry(file, name, path_);
    while (true) {
        const ssize_t count = ReadSome(fd, buffer_.data(), buffer_.size());
        if (count < 0) {
            return errno;
        }
        if (count == 0) {
            break;
        }
        entry.Append({buffer_.data(), static_cast<std::size_t>(count)});
        report_.Advance(static_cast<std::uint64_t>(count));
    }
    entry.Finish();
    return 0;
}

void EntryCopy::Transfer(OpenFile& from, const Entry& entry, CompoundFile& to) {
    NewEntry copy(to, entry.name, path_);
    ReadWhole(from, entry, [&copy](std::string_view part) { copy.Append(part); });
    copy.Finish();
}
