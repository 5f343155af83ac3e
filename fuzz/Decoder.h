#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// Turns a fuzzer's bytes into choices, the first ones first. Behind their end all choices are 0.
class Decoder {
public:
    Decoder(const std::uint8_t* bytes, std::size_t count) : next_(bytes), end_(bytes + count) {}

    bool IsDone() const { return next_ == end_; }
    unsigned Byte() { return IsDone() ? 0U : *next_++; }
    unsigned Short() {
        const unsigned low = Byte();
        return low + Byte() * 256;
    }
    /// A number below `limit`, which is at most 256; 0 for a limit of 0.
    std::size_t Below(std::size_t limit) { return limit == 0 ? 0 : Byte() % limit; }
    bool OneIn(unsigned count) { return Byte() % count == count - 1; }

    template <typename T, std::size_t kCount>
    const T& Pick(const T (&choices)[kCount]) {
        return choices[Below(kCount)];
    }

    /// A number of bytes, mostly one at which a block or a buffer begins or ends.
    std::size_t Size() {
        static constexpr std::size_t kEdges[] = {0,    1,    7,    8,    992,  1000, 1001,  1002,
                                                 1003, 1004, 2005, 2006, 2007, 3009, 10240, 10241};
        return OneIn(4) ? Short() % 3000 : Pick(kEdges);
    }

    std::string Rest() const { return {next_, end_}; }

private:
    const std::uint8_t* next_;
    const std::uint8_t* end_;
};
