#include <TALVOutl/ByteIO.h>
#include <TALVOutl/Exception.h>
#include <TALVOutl/MD5.h>

#include <array>
#include <iostream>
#include <sstream>

// The same bytes whatever the machine's byte order.
void WritePoint(std::ostream& stream, std::uint32_t x, std::uint32_t y) {
    const std::array<std::uint32_t, 2> point = {x, y};
    if (!WriteFourBytes(point.data(), point.size(), stream)) {
        throw Exception(ExceptionMessage::translate("The point {1} cannot be written.") %
                        std::to_string(x));
    }
}

int main() {
    std::ostringstream stream;
    WritePoint(stream, 4, 3);
    MD5 digest;
    digest.Update(stream.str().data(), stream.str().size());
    std::cout << digest.GetDigest() << '\n';
    try {
        stream.setstate(std::ios_base::badbit);
        WritePoint(stream, 5, 0);
    } catch (const Exception& error) {
        std::cout << error.what() << '\n';
    }
    return 0;
}
