#include <TALVOkrstream/KrStreamSource.h>

#include <algorithm>

namespace {

[[noreturn]] void FailSeek(const char* text) {
    throw std::ios_base::failure(text, std::io_errc::stream);
}

} // namespace

template <typename Container>
KrContainerDevice<Container>::KrContainerDevice(Container& container) : container_(&container) {}

template <typename Container>
std::streamsize KrContainerDevice<Container>::read(char* bytes, std::streamsize n) {
    const auto size = static_cast<std::int64_t>(container_->size());
    const std::int64_t count = std::min(std::max<std::int64_t>(size - position_, 0), n);
    if (count <= 0) {
        return -1;
    }
    std::copy_n(container_->begin() + position_, count, bytes);
    position_ += count;
    return count;
}

template <typename Container>
std::streamsize KrContainerDevice<Container>::write(const char* bytes, std::streamsize n) {
    const auto size = static_cast<std::int64_t>(container_->size());
    const std::int64_t inPlace = std::min(std::max<std::int64_t>(size - position_, 0), n);
    if (inPlace < n) {
        container_->insert(container_->end(), bytes + inPlace, bytes + n);
    }
    std::copy_n(bytes, inPlace, container_->begin() + position_);
    position_ = inPlace < n ? static_cast<std::int64_t>(container_->size()) : position_ + n;
    return n;
}

template <typename Container>
std::int64_t KrContainerDevice<Container>::seek(std::int64_t offset,
                                                std::ios_base::seekdir direction) {
    const auto size = static_cast<std::int64_t>(container_->size());
    std::int64_t base = 0;
    if (direction == std::ios_base::cur) {
        base = position_;
    } else if (direction == std::ios_base::end) {
        base = size - 1;
    } else if (direction != std::ios_base::beg) {
        FailSeek("bad seek direction");
    }
    // The base is at least -1, so only the sum's upper end can overflow.
    if (offset < -base || offset > size - base) {
        FailSeek("bad seek offset");
    }
    position_ = base + offset;
    return position_;
}

template class KrContainerDevice<std::vector<char>>;
