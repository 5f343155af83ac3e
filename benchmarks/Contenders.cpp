#include "benchmarks/Contenders.h"

#include <algorithm>
#include <stdexcept>

std::vector<Contender> AllContenders() {
    return {
        KrstreamContender(),
#ifdef KRSTREAM_HAS_SQLITE
        SqliteContender(),   SqliteUnsafeContender(),
#endif
#ifdef KRSTREAM_HAS_LIBGSF
        Ole2Contender(),
#endif
#ifdef KRSTREAM_HAS_LIBZIP
        ZipContender(),
#endif
#ifdef KRSTREAM_HAS_HDF5
        Hdf5Contender(),
#endif
        FolderContender(),
    };
}

const Contender& FindContender(const std::vector<Contender>& contenders, const std::string& name) {
    const auto found = std::find_if(contenders.begin(), contenders.end(),
                                    [&](const Contender& one) { return one.name == name; });
    if (found == contenders.end()) {
        throw std::runtime_error("no contender is called " + name);
    }
    return *found;
}
