#include "fuzz/Damage.h"

#include <algorithm>
#include <cstdint>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* bytes, std::size_t size, std::size_t limit);

/// Bytes that the fuzzer changed blindly would hardly ever be a block file.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* bytes, std::size_t size,
                                               std::size_t limit, unsigned seed) {
    if (size == 0 || seed % 8 == 0) {
        return LLVMFuzzerMutate(bytes, size, limit);
    }
    bytes[0] = static_cast<std::uint8_t>(seed % 3 == 0 ? seed >> 8 : bytes[0]);
    RawFile file(std::string(bytes + 1, bytes + size));
    Damage(file, seed);
    const std::size_t count = std::min(file.bytes.size(), limit - 1);
    std::copy_n(file.bytes.begin(), count, bytes + 1);
    return count + 1;
}
