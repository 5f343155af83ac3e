#include "FreshFile.h"

#include "OpenFile.h"

FreshFile::FreshFile(const std::string& target, Existing existing) : output_(target, existing) {
    if (handle_.Open(output_.Temporary().c_str(), KrStreamE::ReadWrite) != KrStreamE::Ok) {
        throw WriteFailure(target);
    }
}

void FreshFile::PutInPlace() {
    if (!CloseWritten(handle_, output_.Temporary())) {
        throw WriteFailure(output_.Target());
    }
    output_.PutInPlace();
}
