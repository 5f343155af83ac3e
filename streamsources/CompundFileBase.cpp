#include "compoundfile/Servers.h"
#include "streamsources/StreamSourceMutex.h"

#include <TALVOkrstream/KrStreamSource.h>

// What a source needs until its end is made before the source, and so outlives one of static
// duration.
CompundFileBase::CompundFileBase() {
    StreamSourceMutex();
    Servers::Get();
}

CompundFileBase::CompundFileBase(const CompundFileBase& other) : KrStreamSource(other) {
    const StreamSourceLock lock;
    compoundFile_ = other.compoundFile_;
}

CompundFileBase& CompundFileBase::operator=(const CompundFileBase& other) {
    const StreamSourceLock lock;
    compoundFile_ = other.compoundFile_;
    return *this;
}

CompundFileBase::~CompundFileBase() {
    const StreamSourceLock lock;
    compoundFile_.Close();
}

std::string CompundFileBase::GetFilePath() const {
    const StreamSourceLock lock;
    return compoundFile_.GetCompoundFileName();
}

std::string CompundFileBase::GetCompoundFileName() const {
    const StreamSourceLock lock;
    return compoundFile_.GetCompoundFileName();
}
