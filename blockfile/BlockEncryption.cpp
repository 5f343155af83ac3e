#include "blockfile/CompoundFileServer.h"
#include "blockfile/EngineGuard.h"

#include <TALVOutl/MD5.h>

#include <cstring>

using namespace BlockFormat;

namespace {

bool IsEmpty(const char* password) {
    return password == nullptr || *password == '\0';
}

std::shared_ptr<const BlowFish::Context> MakeCipher(const char* password) {
    return std::make_shared<const BlowFish::Context>(password, std::strlen(password));
}

} // namespace

bool CompoundFileServer::IsEncrypted() const {
    return status_ == KrStreamE::Ok && IsFlaggedEncrypted() && directory_.EntryCount() > 0;
}

bool CompoundFileServer::SetPassword(const char* password) {
    if (status_ != KrStreamE::Ok && status_ != KrStreamE::PasswordRequired) {
        return false;
    }
    if (!IsFlaggedEncrypted()) {
        return true;
    }
    try {
        if (IsEmpty(password) ||
            MD5(password).GetRawDigest() != directory_.Block(0).passwordDigest) {
            return false;
        }
        cipher_ = MakeCipher(password);
    } catch (...) {
        return false;
    }
    status_ = KrStreamE::Ok;
    return true;
}

KrStreamE::Status CompoundFileServer::Encrypt(const char* password) {
    if (status_ != KrStreamE::Ok) {
        return status_;
    }
    if (IsEmpty(password)) {
        return KrStreamE::Failed;
    }
    try {
        return EncryptUnder(MakeCipher(password), MD5(password).GetRawDigest());
    } catch (...) {
        return Fail(KrStreamE::Failed);
    }
}

KrStreamE::Status CompoundFileServer::EncryptLike(const CompoundFileServer& other) {
    if (status_ != KrStreamE::Ok || &other == this) {
        return status_;
    }
    if (!other.IsFlaggedEncrypted()) {
        return Decrypt();
    }
    return other.NeedsPassword()
               ? KrStreamE::PasswordRequired
               : EncryptUnder(other.cipher_, other.directory_.Block(0).passwordDigest);
}

KrStreamE::Status
CompoundFileServer::EncryptUnder(const std::shared_ptr<const BlowFish::Context>& cipher,
                                 const MD5::RawDigest& digest) {
    if (IsEncrypted()) {
        Decrypt();
    }
    Guard([&] {
        if (readOnly_) {
            throw CompoundFileServerError{KrStreamE::Failed};
        }
        directoryDirty_ = true;
        cipher_ = cipher;
        if (directory_.IsEmpty()) {
            AppendDirBlock();
        }
    });
    // The flag is not set yet, so blocks are read and written as they are.
    ChangePayloads([this](DataBlock& block) {
        cipher_->Encipher(block.Payload(), EncipheredLength(block.Used()), block.Number());
    });
    return Guard([&] { SetPasswordRecord(true, digest); });
}

KrStreamE::Status CompoundFileServer::Decrypt() {
    if (!IsEncrypted()) {
        return status_;
    }
    Guard([this] {
        if (readOnly_) {
            throw CompoundFileServerError{KrStreamE::Failed};
        }
        RequirePassword();
        directoryDirty_ = true;
    });
    // Reading deciphers a block and writing enciphers it, as long as the flag stands. Deciphering
    // once more in between lands the plain bytes on disk.
    ChangePayloads([this](DataBlock& block) {
        cipher_->Decipher(block.Payload(), EncipheredLength(block.Used()), block.Number());
    });
    return Guard([this] {
        cipher_.reset();
        SetPasswordRecord(false, {});
    });
}

bool CompoundFileServer::IsFlaggedEncrypted() const {
    return !directory_.IsEmpty() && (directory_.Block(0).flags & kEncryptedFlag) != 0;
}

bool CompoundFileServer::NeedsPassword() const {
    return IsFlaggedEncrypted() && cipher_ == nullptr;
}

void CompoundFileServer::RequirePassword() const {
    if (NeedsPassword()) {
        throw CompoundFileServerError{KrStreamE::PasswordRequired};
    }
}

// Reads, changes and writes every block of every entry. Chains that run into each other are refused
// beforehand, for a shared block would be changed twice.
template <typename Change>
KrStreamE::Status CompoundFileServer::ChangePayloads(Change change) {
    if (status_ != KrStreamE::Ok) {
        return status_;
    }
    if (!audit_.contested.empty()) {
        return Fail(KrStreamE::Failed);
    }
    Guard([&] {
        for (Directory::Slot slot = directory_.NextInUse(0); slot < directory_.SlotCount();
             slot = directory_.NextInUse(slot + 1)) {
            const Chain chain = CollectChain(directory_.Entry(slot).firstBlock);
            for (std::size_t i = 0; i < chain.Size(); ++i) {
                const BlockNumber number = chain[i];
                if (IsUnwritten(number)) {
                    continue;
                }
                DataBlock block;
                FetchDataBlock(number, block);
                change(block);
                StoreDataBlock(block);
            }
        }
    });
    if (status_ != KrStreamE::Ok) {
        DataBlock raw;
        directory_.Block(0).Pack(raw.Image());
        file_.Overwrite(kFirstBlock, 0, raw.Image(), kBlockSize);
        return Fail(KrStreamE::Failed);
    }
    return status_;
}

void CompoundFileServer::SetPasswordRecord(bool encrypted, const MD5::RawDigest& digest) {
    DirBlock& first = directory_.Block(0);
    first.flags = static_cast<std::uint16_t>(encrypted ? first.flags | kEncryptedFlag
                                                       : first.flags & ~kEncryptedFlag);
    first.passwordDigest = digest;
    directory_.MarkBlockChanged(0);
    WriteChange({0, kHeaderPart, kRestPart});
    SendToFile();
}
