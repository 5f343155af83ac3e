#include <TALVOkrstream/KStreamBase.h>
#include <TALVOutl/ByteIO.h>

#include <cstring>
#include <istream>
#include <ostream>

bool KStreamLight::WriteMagicStringAndVersionNumber(std::ostream& os, unsigned short version,
                                                    const char* magic) {
    const std::size_t size = std::strlen(magic);
    const auto length = static_cast<std::uint16_t>(size);
    return WriteTwoBytes(&length, 1, os) && WriteBytes(magic, size, os) &&
           WriteTwoBytes(&version, 1, os);
}

bool KStreamLight::CheckMagicStringAndVersionNumber(std::istream& is, unsigned short& version,
                                                    const char* magic) {
    std::uint16_t length = 0;
    if (!ReadTwoBytes(&length, 1, is)) {
        return false;
    }
    std::uint16_t same = 0;
    while (same < length && magic[same] != '\0') {
        char stored = '\0';
        if (!ReadBytes(&stored, 1, is) || stored != magic[same]) {
            return false;
        }
        ++same;
    }
    std::uint16_t found = 0;
    if (same < length || magic[same] != '\0' || !ReadTwoBytes(&found, 1, is)) {
        return false;
    }
    version = found;
    return true;
}
