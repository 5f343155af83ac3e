#include <TALVOkrstream/KStreamBase.h>

#include <istream>
#include <ostream>

KStreamBase::DerivedStreamableData KStreamBase::MyStreamableData(1, "KSB");

KStreamBase::KStreamBase() = default;
KStreamBase::KStreamBase(const KStreamBase& /*other*/) {}
KStreamBase& KStreamBase::operator=(const KStreamBase&) = default;
KStreamBase::~KStreamBase() = default;

bool KStreamBase::KStreamableStartWrite(std::ostream& os) const {
    if (started_) {
        return true;
    }
    started_ = true;
    return MyStreamableData.Write(os);
}

bool KStreamBase::KStreamableStartRead(std::istream& is) {
    if (started_) {
        return true;
    }
    started_ = true;
    return MyStreamableData.Check(is);
}

void KStreamBase::KStreamableReset() const {
    started_ = false;
}

short KStreamBase::GetMyKStreamVersionNumber() const {
    return MyStreamableData.GetMyKStreamVersionNumber();
}

short KStreamBase::GetKStreamVersionNumber() const {
    return MyStreamableData.GetKStreamVersionNumber();
}

bool KStreamBase::KStreamableWrite(std::ostream& /*os*/) const {
    return true;
}

bool KStreamBase::KStreamableRead(std::istream& /*is*/) {
    return true;
}

std::ostream& operator<<(std::ostream& os, const KStreamBase& object) {
    object.KStreamableReset();
    const bool written = object.KStreamableStartWrite(os);
    object.KStreamableReset();
    if (!written) {
        os.setstate(std::ios_base::failbit);
    }
    return os;
}

std::istream& operator>>(std::istream& is, KStreamBase& object) {
    object.KStreamableReset();
    const bool read = object.KStreamableStartRead(is);
    object.KStreamableReset();
    if (!read) {
        is.setstate(std::ios_base::failbit);
    }
    return is;
}
