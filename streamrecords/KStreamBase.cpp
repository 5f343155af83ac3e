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

namespace {

/// A pass of its own for an object, ended even by an exception.
class Pass {
public:
    explicit Pass(const KStreamBase& object) : object_(object) { object_.KStreamableReset(); }
    ~Pass() { object_.KStreamableReset(); }
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;

private:
    const KStreamBase& object_;
};

} // namespace

std::ostream& operator<<(std::ostream& os, const KStreamBase& object) {
    const Pass pass(object);
    if (!object.KStreamableStartWrite(os)) {
        os.setstate(std::ios_base::failbit);
    }
    return os;
}

std::istream& operator>>(std::istream& is, KStreamBase& object) {
    const Pass pass(object);
    if (!object.KStreamableStartRead(is)) {
        is.setstate(std::ios_base::failbit);
    }
    return is;
}
