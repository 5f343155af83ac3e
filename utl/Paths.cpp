#include "TALVOutl/Paths.h"

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

std::string KrGetCanonicalPath(const char* path) {
    if (path == nullptr || *path == '\0') {
        return {};
    }
    try {
        return boost::filesystem::weakly_canonical(boost::filesystem::absolute(path)).string();
    } catch (const boost::filesystem::filesystem_error&) {
        return {};
    }
}

bool KrFileExist(const char* path) {
    if (path == nullptr) {
        return false;
    }
    boost::system::error_code error;
    return boost::filesystem::exists(path, error);
}
