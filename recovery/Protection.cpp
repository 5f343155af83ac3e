#include "recovery/Protection.h"

#include "recovery/FreeListRecord.h"

#include <TALVOutl/MD5.h>

using namespace BlockFormat;

Protection::Protection(const DirectoryScan& directory, const ChainPlan& plan, PayloadReader& reader)
    : directory_(directory), reader_(reader) {
    for (std::size_t i = 0; i < directory.Entries().size() && evidence_ == nullptr; ++i) {
        const bool isFreeList = directory.Entries()[i].isFreeList && plan.PartOf(i).bytes > 0;
        evidence_ = isFreeList ? &plan.PartOf(i) : nullptr;
    }
    isEncrypted_ = directory.HasFirst() ? (directory.Blocks().front().flags & kEncryptedFlag) != 0
                                        : evidence_ != nullptr && !IsEvidenceReadable();
}

bool Protection::SetPassword(const char* password) {
    const std::string given = password == nullptr ? "" : password;
    const bool isPlain =
        !isEncrypted_ && (directory_.HasFirst() ? !FitsDigest(given) : evidence_ != nullptr);
    if (given.empty() || isPlain) {
        return !isEncrypted_;
    }
    reader_.SetCipher(std::make_shared<const BlowFish::Context>(given.data(), given.size()));
    const bool isUnknown = !directory_.HasFirst() && evidence_ == nullptr;
    if (!FitsDigest(given) && !isUnknown && !IsEvidenceReadable()) {
        reader_.SetCipher(nullptr);
        password_.clear();
        return false;
    }
    isEncrypted_ = true;
    password_ = given;
    return true;
}

bool Protection::FitsDigest(const std::string& password) const {
    return directory_.HasFirst() &&
           MD5(password.c_str()).GetRawDigest() == directory_.Blocks().front().passwordDigest;
}

bool Protection::IsEvidenceReadable() {
    bool makesSense = false;
    if (evidence_ != nullptr) {
        reader_.ReadChain(*evidence_, [&](std::string_view bytes) {
            makesSense =
                BeginsFreeList(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
            return false;
        });
    }
    return makesSense;
}
