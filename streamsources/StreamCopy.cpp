#include "streamsources/StreamCopy.h"

#include <array>
#include <istream>
#include <ostream>

void CopyStream(std::istream& in, std::ostream& out) {
    std::array<char, 10240> buffer;
    do {
        in.read(buffer.data(), buffer.size());
        out.write(buffer.data(), in.gcount());
    } while (in.gcount() == static_cast<std::streamsize>(buffer.size()) && out.good());
}
