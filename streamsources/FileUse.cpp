#include "streamsources/FileUse.h"

#include "compoundfile/Servers.h"

#include <TALVOutl/Files.h>
#include <TALVOutl/Paths.h>

bool IsInUse(const std::string& path) {
    return Servers::Get()->Find(KrGetCanonicalPath(path.c_str())) != nullptr ||
           KrIsFileLocked(path);
}
