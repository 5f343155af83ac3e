#include "blockfile/StreamStore.h"

#include <istream>
#include <streambuf>

namespace {

/// Runs an action on the buffer of a stream that is alive and healthy. A caller's stream that
/// throws has failed like one that says so.
template <typename Result, typename Action>
Result OnBuffer(const std::weak_ptr<std::iostream>& stream, Result failure, Action action) {
    try {
        const std::shared_ptr<std::iostream> alive = stream.lock();
        if (alive == nullptr || alive->fail() || alive->rdbuf() == nullptr) {
            return failure;
        }
        return action(*alive->rdbuf());
    } catch (...) {
        return failure;
    }
}

bool SeekTo(std::streambuf& buffer, std::uint64_t offset, std::ios_base::openmode which) {
    const auto target = static_cast<std::streamoff>(offset);
    return std::streamoff(buffer.pubseekpos(target, which)) == target;
}

} // namespace

StreamStore::StreamStore(const std::shared_ptr<std::iostream>& stream, Ownership ownership)
    : stream_(stream), owned_(ownership == Ownership::Shared ? stream : nullptr) {}

std::optional<std::uint64_t> StreamStore::MeasureLength() {
    using Length = std::optional<std::uint64_t>;
    return OnBuffer(stream_, Length(), [](std::streambuf& buffer) {
        const std::streampos here = buffer.pubseekoff(0, std::ios_base::cur, std::ios_base::in);
        const std::streamoff end = buffer.pubseekoff(0, std::ios_base::end, std::ios_base::in);
        const bool measured = end >= 0 && buffer.pubseekpos(here, std::ios_base::in) == here;
        return measured ? Length(static_cast<std::uint64_t>(end)) : Length();
    });
}

std::size_t StreamStore::Read(std::uint64_t offset, unsigned char* bytes, std::size_t count) {
    return OnBuffer(stream_, std::size_t{0}, [&](std::streambuf& buffer) {
        const std::streamsize got =
            SeekTo(buffer, offset, std::ios_base::in)
                ? buffer.sgetn(reinterpret_cast<char*>(bytes), static_cast<std::streamsize>(count))
                : 0;
        return got > 0 ? static_cast<std::size_t>(got) : std::size_t{0};
    });
}

ByteStore::Bytes StreamStore::View(std::uint64_t offset, std::size_t needed, std::size_t) {
    return {view_.data(), Read(offset, view_.data(), needed)};
}

bool StreamStore::Write(std::uint64_t offset, const unsigned char* bytes, std::size_t count) {
    return OnBuffer(stream_, false, [&](std::streambuf& buffer) {
        const auto size = static_cast<std::streamsize>(count);
        return SeekTo(buffer, offset, std::ios_base::out) &&
               buffer.sputn(reinterpret_cast<const char*>(bytes), size) == size;
    });
}

bool StreamStore::Flush() {
    return OnBuffer(stream_, false, [](std::streambuf& buffer) { return buffer.pubsync() == 0; });
}
