#include "streamsources/StreamSourceMutex.h"

#include <TALVOkrstream/KrStreamSource.h>

CompundFileBase::CompundFileBase() {
    StreamSourceMutex();
}

CompundFileBase::CompundFileBase(const CompundFileBase&) = default;
CompundFileBase& CompundFileBase::operator=(const CompundFileBase&) = default;
CompundFileBase::~CompundFileBase() = default;

std::string CompundFileBase::GetFilePath() const {
    const StreamSourceLock lock;
    return compoundFile_.GetCompoundFileName();
}

std::string CompundFileBase::GetCompoundFileName() const {
    const StreamSourceLock lock;
    return compoundFile_.GetCompoundFileName();
}
