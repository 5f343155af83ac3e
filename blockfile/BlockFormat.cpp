#include "blockfile/BlockFormat.h"

#include <TALVOutl/ByteOrder.h>
#include <TALVOutl/Strings.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace BlockFormat {

Header UnpackHeader(const unsigned char* block) {
    Header header{};
    header.number = LoadLittleEndian<std::uint32_t>(block + kNumberOffset);
    header.inUse = block[kInUseOffset];
    std::copy_n(block + kSignatureOffset, kSignatureSize, header.signature.begin());
    header.next = LoadLittleEndian<std::uint32_t>(block + kNextOffset);
    return header;
}

void PackHeader(const Header& header, unsigned char* block) {
    StoreLittleEndian(block + kNumberOffset, header.number);
    block[kInUseOffset] = header.inUse;
    std::memcpy(block + kSignatureOffset, header.signature.data(), kSignatureSize);
    StoreLittleEndian(block + kNextOffset, header.next);
}

int VersionOf(const Signature& signature) {
    if (signature == kSignature) {
        return 2;
    }
    const std::string_view text(
        signature.data(),
        static_cast<std::size_t>(std::find(signature.begin(), signature.end(), '\0') -
                                 signature.begin()));
    if (text == "BlockFile") {
        return 1;
    }
    int version = 0;
    const bool known = text.substr(0, 5) == "Block" && KrString::ToInt(text.substr(5), version) &&
                       (version == 1 || version == 2);
    return known ? version : 0;
}

} // namespace BlockFormat
