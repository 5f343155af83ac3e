#pragma once

#include "recovery/ChainPlan.h"
#include "recovery/PayloadReader.h"

#include <string>

/// Whether a file is enciphered and by which password, also where its first block, which says so,
/// is damaged. The record of free blocks then gives evidence: under a wrong password it makes no
/// sense.
class Protection {
public:
    Protection(const DirectoryScan& directory, const ChainPlan& plan, PayloadReader& reader);

    bool IsEncrypted() const { return isEncrypted_; }
    /// Empty until the right one has been given.
    const std::string& Password() const { return password_; }
    bool IsReadable() const { return !isEncrypted_ || !password_.empty(); }

    /// Takes the password of an encrypted file over, and has the reader decipher; false when it is
    /// wrong.
    bool SetPassword(const char* password);

private:
    bool FitsDigest(const std::string& password) const;
    bool IsEvidenceReadable();

    const DirectoryScan& directory_;
    PayloadReader& reader_;
    /// The chain of the record of free blocks; none when there is none.
    const ChainPart* evidence_ = nullptr;
    bool isEncrypted_ = false;
    std::string password_;
};
