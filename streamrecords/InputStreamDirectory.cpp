#include "streamrecords/StreamDirectoryFormat.h"

#include <TALVOkrstream/StreamDirectory.h>
#include <TALVOutl/ByteIO.h>
#include <TALVOutl/Exception.h>

#include <algorithm>
#include <istream>

using namespace StreamDirectoryFormat;

namespace {

/// Whether the stream stands at `position` in the end.
bool MoveTo(std::uint64_t position, std::istream& is) {
    const auto target = static_cast<std::streamoff>(position);
    // Seeking also wakes a stream that has been read to its end.
    return (is.good() && std::streamoff(is.tellg()) == target) || !is.seekg(target).fail();
}

} // namespace

InputStreamDirectory::InputStreamDirectory(std::istream& is) {
    Open(is);
}

InputStreamDirectory::InputStreamDirectory(const InputStreamDirectory&) = default;
InputStreamDirectory& InputStreamDirectory::operator=(const InputStreamDirectory&) = default;

InputStreamDirectory::~InputStreamDirectory() {
    try {
        Close();
    } catch (...) {
        // A destructor has nobody to tell; the stream's state does.
        open_ = false;
    }
}

bool InputStreamDirectory::Open(std::istream& is) {
    if (open_) {
        return false;
    }
    if (!Read(is)) {
        is.setstate(std::ios_base::failbit);
        return false;
    }
    stream_ = &is;
    open_ = true;
    return true;
}

std::istream* InputStreamDirectory::GetInput(unsigned short id) {
    if (!open_ || !stream_->good()) {
        return nullptr;
    }
    const auto end = ids_.begin() + count_;
    const auto found = std::lower_bound(ids_.begin(), end, id);
    if (found == end || *found != id) {
        return nullptr;
    }
    if (!MoveTo(starts_[static_cast<std::size_t>(found - ids_.begin())], *stream_)) {
        stream_->setstate(std::ios_base::failbit);
        return nullptr;
    }
    return stream_;
}

void InputStreamDirectory::Close() {
    if (open_) {
        open_ = false;
        MoveTo(end_, *stream_);
        stream_ = nullptr;
    }
}

bool InputStreamDirectory::Read(std::istream& is) {
    return CheckMagicString(is) && ReadOffsetIDVector(is) && ReadPositions(&end_, 1, is);
}

bool InputStreamDirectory::CheckMagicString(std::istream& is) {
    std::array<char, kMagic.size()> bytes{};
    if (!is.good() || !ReadBytes(bytes.data(), bytes.size(), is)) {
        return false;
    }
    const std::string_view magic(bytes.data(), bytes.size());
    version_ = kVersionOfShortPositions;
    if (magic != kOldMagic && (magic != kMagic || !ReadTwoBytes(&version_, 1, is))) {
        return false;
    }
    if (version_ > kVersion) {
        throw Exception(ExceptionMessage::translate(
            "The file was written with a newer version of the software and can not be read by "
            "this version."));
    }
    return true;
}

bool InputStreamDirectory::ReadOffsetIDVector(std::istream& is) {
    std::uint16_t capacity = 0;
    return ReadTwoBytes(&capacity, 1, is) && ReadTwoBytes(&count_, 1, is) &&
           capacity <= ids_.size() && count_ <= capacity &&
           ReadTwoBytes(ids_.data(), capacity, is) && ReadPositions(starts_.data(), capacity, is);
}

bool InputStreamDirectory::ReadPositions(std::uint64_t* positions, std::size_t count,
                                         std::istream& is) const {
    if (version_ != kVersionOfShortPositions) {
        return ReadEightBytes(positions, count, is);
    }
    std::array<std::uint32_t, OutputStreamDirectory::kMaxSlots> shortPositions{};
    const bool read = ReadFourBytes(shortPositions.data(), count, is);
    std::copy_n(shortPositions.begin(), count, positions);
    return read;
}
