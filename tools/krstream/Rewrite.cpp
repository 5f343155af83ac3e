#include "Commands.h"
#include "EntryCopy.h"
#include "EntryList.h"
#include "FreshFile.h"
#include "OpenFile.h"

namespace {

/// Writes all entries to a fresh file with another password, or none, and puts that in the place of
/// `file`, which stays locked meanwhile. The new file has its password before the first entry, so
/// no plain byte of one reaches the disk.
void Rewrite(OpenFile& file, const std::string& newPassword) {
    Report report;
    EntryCopy copy(report, file.Path());
    FreshFile fresh(file.Path(), FreshFile::Existing::Replace);
    if (!newPassword.empty() && fresh.Handle().Encrypt(newPassword.c_str()) != KrStreamE::Ok) {
        throw WriteFailure(file.Path());
    }
    int count = 0;
    for (const Entry& entry : UserEntries(file.Handle())) {
        copy.Transfer(file, entry, fresh.Handle());
        ++count;
    }
    if (fresh.Handle().GetNumDirEntrys() != count) {
        throw Failure(file.Path(),
                      "two entries have the same name, so nothing was changed; extract "
                      "what you need and create a new file");
    }
    fresh.PutInPlace();
}

void RequireEncrypted(OpenFile& file) {
    if (!file.Handle().IsEncrypted()) {
        throw Failure(
            file.Path(),
            "is not encrypted, so nothing was changed; 'krstream encrypt' sets a password");
    }
}

} // namespace

ExitStatus Encrypt(const Options& options) {
    OpenFile file(options.file, KrStreamE::ReadWrite);
    if (file.Handle().IsEncrypted()) {
        throw Failure(file.Path(), "is encrypted already; 'krstream passwd' changes the password");
    }
    Rewrite(file, PasswordSource(options.passwordFile).New(file.Path()));
    return ExitStatus::Done;
}

ExitStatus Decrypt(const Options& options) {
    OpenFile file(options.file, KrStreamE::ReadWrite);
    RequireEncrypted(file);
    file.Unlock(PasswordSource(options.passwordFile));
    Rewrite(file, "");
    return ExitStatus::Done;
}

ExitStatus ChangePassword(const Options& options) {
    OpenFile file(options.file, KrStreamE::ReadWrite);
    RequireEncrypted(file);
    file.Unlock(PasswordSource(options.passwordFile));
    Rewrite(file, PasswordSource(options.newPasswordFile).New(file.Path()));
    return ExitStatus::Done;
}
