#include <TALVOkrstream/KStreamBase.h>

KrStreamError::KrStreamError() = default;
KrStreamError::KrStreamError(const ExceptionMessage& message) : Exception(message) {}
KrStreamError::KrStreamError(const KrStreamError&) = default;
KrStreamError& KrStreamError::operator=(const KrStreamError&) = default;
KrStreamError::~KrStreamError() = default;

std::unique_ptr<KrStreamError> KrStreamError::Clone() const {
    return std::make_unique<KrStreamError>(*this);
}
