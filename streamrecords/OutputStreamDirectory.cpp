#include "streamrecords/StreamDirectoryFormat.h"
#include "streamsources/LazyWriteFileStream.h"

#include <TALVOkrstream/StreamDirectory.h>
#include <TALVOutl/ByteIO.h>

#include <ostream>
#include <sstream>

using namespace StreamDirectoryFormat;

namespace {

std::uint64_t PositionOf(std::ostream& os) {
    return static_cast<std::uint64_t>(std::streamoff(os.tellp()));
}

void SeekTo(std::uint64_t position, std::ostream& os) {
    os.seekp(static_cast<std::streamoff>(position));
}

} // namespace

OutputStreamDirectory::OutputStreamDirectory(std::ostream& os, unsigned short slots)
    : stream_(&os), capacity_(slots <= kMaxSlots ? slots : std::uint16_t{0}) {
    if (slots > kMaxSlots || !os.good()) {
        os.setstate(std::ios_base::failbit);
    }
    WriteBytes(kMagic.data(), kMagic.size(), os);
    WriteTwoBytes(&kVersion, 1, os);
    directoryPosition_ = PositionOf(os);
    // The count is that of a full directory until the true one is known.
    count_ = capacity_;
    WriteDirectory(os, directoryPosition_);
    count_ = 0;
}

OutputStreamDirectory::~OutputStreamDirectory() {
    try {
        Close();
    } catch (...) {
        // A destructor has nobody to tell; the stream's state does.
        closed_ = true;
    }
}

std::ostream& OutputStreamDirectory::GetOutput(unsigned short id) {
    const std::uint64_t position = PositionOf(*stream_);
    const bool lastIsEmpty = count_ > 0 && starts_[count_ - 1U] == position;
    if (!lastIsEmpty && count_ == kMaxSlots) {
        stream_->setstate(std::ios_base::failbit);
        return *stream_;
    }
    if (!lastIsEmpty) {
        ++count_;
    }
    ids_[count_ - 1U] = id;
    starts_[count_ - 1U] = position;
    return *stream_;
}

void OutputStreamDirectory::Close() {
    if (closed_) {
        return;
    }
    closed_ = true;
    if (!stream_->good()) {
        // Of a stream at its end, too, nobody would learn that the directory is missing.
        stream_->setstate(std::ios_base::failbit);
        return;
    }
    const std::uint64_t end = PositionOf(*stream_);
    if (count_ > 0 && starts_[count_ - 1U] == (end & UINT32_MAX)) {
        --count_;
        ids_[count_] = 0;
        starts_[count_] = 0;
    }
    if (auto* const lazy = dynamic_cast<LazyWriteFileBuffer*>(stream_->rdbuf())) {
        std::ostringstream directory;
        WriteDirectory(directory, end);
        const std::string bytes = directory.str();
        lazy->AddPatch(static_cast<std::streamoff>(directoryPosition_), bytes.data(), bytes.size());
        return;
    }
    SortOffsets();
    SeekTo(directoryPosition_, *stream_);
    WriteDirectory(*stream_, end);
    SeekTo(end, *stream_);
}

void OutputStreamDirectory::WriteDirectory(std::ostream& os, std::uint64_t end) const {
    WriteTwoBytes(&capacity_, 1, os);
    WriteTwoBytes(&count_, 1, os);
    WriteTwoBytes(ids_.data(), capacity_, os);
    WriteEightBytes(starts_.data(), capacity_, os);
    WriteEightBytes(&end, 1, os);
}

// The format's writers have always sorted this way, equal IDs and lost upper bits included; the
// header tells callers how to stay clear of both.
void OutputStreamDirectory::SortOffsets() {
    bool swapped = true;
    while (swapped) {
        swapped = false;
        for (std::size_t k = 1; k < count_; ++k) {
            if (ids_[k - 1] >= ids_[k]) {
                std::swap(ids_[k - 1], ids_[k]);
                const auto moved = static_cast<std::uint16_t>(starts_[k - 1]);
                starts_[k - 1] = starts_[k];
                starts_[k] = moved;
                swapped = true;
            }
        }
    }
}
