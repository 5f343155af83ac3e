#include <TALVOkrstream/KrStreamSource.h>

KrStreamSource::KrStreamSource() = default;
KrStreamSource::KrStreamSource(const KrStreamSource&) = default;
KrStreamSource& KrStreamSource::operator=(const KrStreamSource&) = default;
KrStreamSource::~KrStreamSource() = default;
