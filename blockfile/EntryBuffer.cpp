#include "blockfile/EntryBuffer.h"

#include <algorithm>
#include <utility>

namespace {

/// Batches small reads and writes; about ten blocks.
constexpr std::streamsize kBufferSize = 10240;
/// Many entries need no more, and an allocator has pieces of this size at hand.
constexpr std::streamsize kFirstBufferSize = 1000;
/// From here on reading is cheaper past the buffer.
constexpr std::streamsize kLargeRead = 512;

} // namespace

EntryBuffer::EntryBuffer(KrIOStreamDevice device, std::ios& owner)
    : device_(std::move(device)), owner_(owner) {}

EntryBuffer::~EntryBuffer() {
    try {
        Send();
    } catch (...) {
        // The engine has the status.
    }
}

EntryBuffer::int_type EntryBuffer::underflow() {
    if (gptr() == egptr()) {
        BeginReading();
        Reserve(kBufferSize);
        const std::streamsize got = device_.read(buffer_.get(), kBufferSize);
        setg(buffer_.get(), buffer_.get(), buffer_.get() + std::max<std::streamsize>(got, 0));
    }
    return gptr() < egptr() ? traits_type::to_int_type(*gptr()) : traits_type::eof();
}

// Called where nothing that was read is left before the current place, or another character stands
// there: that one is then put into the buffer alone, not into the entry.
EntryBuffer::int_type EntryBuffer::pbackfail(int_type c) {
    const std::streamoff before = Position() - 1;
    if (before < 0 ||
        std::streamoff(seekoff(before, std::ios_base::beg, std::ios_base::in)) != before ||
        traits_type::eq_int_type(underflow(), traits_type::eof())) {
        return traits_type::eof();
    }
    if (!traits_type::eq_int_type(c, traits_type::eof())) {
        *gptr() = traits_type::to_char_type(c);
    }
    return traits_type::not_eof(c);
}

EntryBuffer::int_type EntryBuffer::overflow(int_type c) {
    BeginWriting();
    if (pptr() - pbase() == kBufferSize) {
        Send();
    }
    const auto pending = static_cast<int>(pptr() - pbase());
    Reserve(pending == 0 ? kFirstBufferSize : kBufferSize);
    setp(buffer_.get(), buffer_.get() + size_);
    pbump(pending);
    return traits_type::eq_int_type(c, traits_type::eof()) ? traits_type::not_eof(c)
                                                           : sputc(traits_type::to_char_type(c));
}

std::streamsize EntryBuffer::xsgetn(char* bytes, std::streamsize count) {
    if (count <= 0) {
        return 0;
    }
    std::streamsize done = std::min<std::streamsize>(count, egptr() - gptr());
    std::copy_n(gptr(), done, bytes);
    gbump(static_cast<int>(done));
    if (count - done < kLargeRead) {
        return done + std::streambuf::xsgetn(bytes + done, count - done);
    }
    BeginReading();
    while (done < count) {
        const std::streamsize got = device_.read(bytes + done, count - done);
        if (got <= 0) {
            break;
        }
        done += got;
    }
    return done;
}

// As much as the buffer would gather need not be gathered.
std::streamsize EntryBuffer::xsputn(const char* bytes, std::streamsize count) {
    if (count < kBufferSize) {
        return std::streambuf::xsputn(bytes, count);
    }
    BeginWriting();
    Send();
    return device_.write(bytes, count);
}

int EntryBuffer::sync() {
    try {
        Send();
        device_.flush();
        return 0;
    } catch (...) {
        return -1;
    }
}

EntryBuffer::pos_type EntryBuffer::seekoff(off_type offset, std::ios_base::seekdir direction,
                                           std::ios_base::openmode) {
    try {
        if (offset == 0 && direction == std::ios_base::cur) {
            return Position();
        }
        BeginWriting();
        Send();
        return device_.seek(offset, direction);
    } catch (const std::ios_base::failure&) {
        owner_.setstate(std::ios_base::badbit);
        return {off_type(-1)};
    }
}

EntryBuffer::pos_type EntryBuffer::seekpos(pos_type position, std::ios_base::openmode which) {
    return seekoff(position, std::ios_base::beg, which);
}

void EntryBuffer::BeginReading() {
    Send();
    setg(nullptr, nullptr, nullptr);
}

// Takes the device back over what was read ahead.
void EntryBuffer::BeginWriting() {
    if (gptr() < egptr()) {
        device_.seek(gptr() - egptr(), std::ios_base::cur);
    }
    setg(nullptr, nullptr, nullptr);
}

// Forgotten at once: what could not be written is not tried again.
void EntryBuffer::Send() {
    const char* const bytes = pbase();
    const std::streamsize count = pptr() - pbase();
    setp(nullptr, nullptr);
    if (count > 0) {
        device_.write(bytes, count);
    }
}

// Makes the buffer at least so large, with what is still to be written at its beginning.
void EntryBuffer::Reserve(std::streamsize size) {
    if (size_ < size) {
        std::unique_ptr<char[]> larger(new char[static_cast<std::size_t>(size)]);
        std::copy(pbase(), pptr(), larger.get());
        buffer_ = std::move(larger);
        size_ = size;
    }
}

std::streamoff EntryBuffer::Position() {
    return device_.seek(0, std::ios_base::cur) + (pptr() - pbase()) - (egptr() - gptr());
}
