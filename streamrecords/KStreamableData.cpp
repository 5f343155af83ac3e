#include <TALVOkrstream/KStreamBase.h>
#include <TALVOutl/ByteIO.h>

#include <istream>
#include <ostream>

KStreamableData::KStreamableData(short version, const char* magic)
    : myVersion_(version), magic_(magic) {}

KStreamableData::KStreamableData(const KStreamableData&) = default;
KStreamableData::KStreamableData(KStreamableData&&) noexcept = default;
KStreamableData& KStreamableData::operator=(const KStreamableData&) = default;
KStreamableData& KStreamableData::operator=(KStreamableData&&) noexcept = default;
KStreamableData::~KStreamableData() = default;

bool KStreamableData::Write(std::ostream& os) const {
    const auto version = static_cast<std::uint16_t>(myVersion_);
    return WriteASCIIBinaryString(magic_, os) && WriteTwoBytes(&version, 1, os);
}

bool KStreamableData::Check(std::istream& is) {
    std::string magic;
    std::uint16_t version = 0;
    if (!ReadASCIIBinaryString(magic, is) || magic != magic_ || !ReadTwoBytes(&version, 1, is)) {
        return false;
    }
    version_ = static_cast<short>(version);
    return true;
}

const char* KStreamableData::GetMagicString() const {
    return magic_.c_str();
}

short KStreamableData::GetKStreamVersionNumber() const {
    return version_;
}

short KStreamableData::GetMyKStreamVersionNumber() const {
    return myVersion_;
}
