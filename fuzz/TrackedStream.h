#pragma once

#include "fuzz/Names.h"

#include <memory>

/// An entry as it has to be, shared by the streams that are open on it.
struct Content {
    std::string bytes;
    /// False once the entry was deleted or made anew.
    bool isAlive = true;
    /// A stream may hold bytes that it has not handed on yet.
    bool isPending = false;
    bool hasWriter = false;
    int readers = 0;
};

/// A stream on an entry, and beside it what it has to do. Either one stream writes an entry, or any
/// number read it.
class TrackedStream {
public:
    TrackedStream(std::unique_ptr<std::iostream> stream, std::shared_ptr<Content> content)
        : stream_(std::move(stream)),
          content_(std::move(content)),
          isWriter_(content_->readers == 0) {
        content_->hasWriter = isWriter_;
        content_->readers += isWriter_ ? 0 : 1;
    }
    ~TrackedStream() {
        stream_.reset();
        content_->readers -= isWriter_ ? 0 : 1;
        if (isWriter_) {
            content_->hasWriter = false;
            content_->isPending = false;
        }
    }
    TrackedStream(const TrackedStream&) = delete;
    TrackedStream& operator=(const TrackedStream&) = delete;

    bool IsAlive() const { return content_->isAlive; }

    void Read(std::size_t count) {
        std::string bytes(count, '\0');
        stream_->read(bytes.data(), static_cast<std::streamsize>(count));
        bytes.resize(static_cast<std::size_t>(stream_->gcount()));
        Require(!stream_->bad() && bytes == content_->bytes.substr(at_, count), "what is read");
        stream_->clear();
        at_ += bytes.size();
    }
    void Write(std::size_t count, unsigned seed) {
        if (isWriter_) {
            const std::string bytes = Pattern(count, seed);
            stream_->write(bytes.data(), static_cast<std::streamsize>(count));
            Require(stream_->good(), "a write succeeds");
            Patch(content_->bytes, at_, bytes);
            at_ += count;
            content_->isPending = true;
        }
    }
    void Seek(std::int64_t offset, std::ios::seekdir from) {
        const auto size = static_cast<std::int64_t>(content_->bytes.size());
        const std::int64_t base = from == std::ios::beg   ? 0
                                  : from == std::ios::cur ? std::int64_t(at_)
                                                          : size;
        const std::int64_t target = base + offset;
        stream_->seekg(offset, from);
        at_ = static_cast<std::size_t>(target < 0 || target > size ? size : target);
        Require(stream_->tellg() == static_cast<std::streamoff>(at_), "where a seek arrives");
    }
    void StepBack() {
        Require(stream_->unget().good() == (at_ > 0), "one back");
        stream_->clear();
        at_ -= at_ > 0 ? 1 : 0;
    }
    void Flush() {
        Require(stream_->flush().good(), "a flush succeeds");
        content_->isPending = false;
    }
    void RequireDead() {
        stream_->write("x", 1).flush();
        Require(!stream_->good(), "a stream on an entry that is gone fails");
        stream_->clear();
    }

private:
    std::unique_ptr<std::iostream> stream_;
    std::shared_ptr<Content> content_;
    const bool isWriter_;
    std::size_t at_ = 0;
};
