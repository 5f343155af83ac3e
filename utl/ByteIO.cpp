#include "TALVOutl/ByteIO.h"

#include "TALVOutl/ByteOrder.h"

#include <algorithm>
#include <array>
#include <istream>
#include <limits>
#include <ostream>

namespace {

template <typename Integer>
bool ReadIntegers(Integer* buffer, std::size_t count, std::istream& stream) {
    std::array<unsigned char, sizeof(Integer)> bytes{};
    for (std::size_t i = 0; i < count; ++i) {
        if (!ReadBytes(bytes.data(), bytes.size(), stream)) {
            return false;
        }
        buffer[i] = LoadLittleEndian<Integer>(bytes.data());
    }
    return stream.good();
}

template <typename Integer>
bool WriteIntegers(const Integer* buffer, std::size_t count, std::ostream& stream) {
    std::array<unsigned char, sizeof(Integer)> bytes{};
    for (std::size_t i = 0; i < count; ++i) {
        StoreLittleEndian(bytes.data(), buffer[i]);
        if (!WriteBytes(bytes.data(), bytes.size(), stream)) {
            return false;
        }
    }
    return stream.good();
}

} // namespace

bool ReadBytes(void* buffer, std::size_t count, std::istream& stream) {
    stream.read(static_cast<char*>(buffer), static_cast<std::streamsize>(count));
    return stream.good();
}

bool ReadTwoBytes(std::uint16_t* buffer, std::size_t count, std::istream& stream) {
    return ReadIntegers(buffer, count, stream);
}

bool ReadFourBytes(std::uint32_t* buffer, std::size_t count, std::istream& stream) {
    return ReadIntegers(buffer, count, stream);
}

bool ReadEightBytes(std::uint64_t* buffer, std::size_t count, std::istream& stream) {
    return ReadIntegers(buffer, count, stream);
}

bool WriteBytes(const void* buffer, std::size_t count, std::ostream& stream) {
    stream.write(static_cast<const char*>(buffer), static_cast<std::streamsize>(count));
    return stream.good();
}

bool WriteTwoBytes(const std::uint16_t* buffer, std::size_t count, std::ostream& stream) {
    return WriteIntegers(buffer, count, stream);
}

bool WriteFourBytes(const std::uint32_t* buffer, std::size_t count, std::ostream& stream) {
    return WriteIntegers(buffer, count, stream);
}

bool WriteEightBytes(const std::uint64_t* buffer, std::size_t count, std::ostream& stream) {
    return WriteIntegers(buffer, count, stream);
}

bool ReadASCIIBinaryString(std::string& text, std::istream& stream) {
    std::uint32_t length = 0;
    if (!ReadFourBytes(&length, 1, stream)) {
        return false;
    }
    std::string delivered;
    std::array<char, 4096> piece{};
    while (delivered.size() < length) {
        const std::size_t wanted = std::min<std::size_t>(piece.size(), length - delivered.size());
        if (!ReadBytes(piece.data(), wanted, stream)) {
            return false;
        }
        delivered.append(piece.data(), wanted);
    }
    text = std::move(delivered);
    return true;
}

bool WriteASCIIBinaryString(const std::string& text, std::ostream& stream) {
    if (text.size() > std::numeric_limits<std::uint32_t>::max()) {
        return false;
    }
    const auto length = static_cast<std::uint32_t>(text.size());
    return WriteFourBytes(&length, 1, stream) && WriteBytes(text.data(), text.size(), stream);
}
