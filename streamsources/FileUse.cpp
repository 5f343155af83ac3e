#include "streamsources/FileUse.h"

#include "compoundfile/Servers.h"

#include <TALVOutl/Files.h>
#include <TALVOutl/Paths.h>

#include <boost/filesystem/path.hpp>

bool IsInUse(const std::string& path) {
    return Servers::Get()->Find(KrGetCanonicalPath(path.c_str())) != nullptr ||
           KrIsFileLocked(path);
}

bool SyncWithName(const std::string& path) {
    KrSync(boost::filesystem::path(path).parent_path().string());
    return KrSync(path);
}
