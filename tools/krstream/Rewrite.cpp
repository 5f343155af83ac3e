#include "Commands.h"
#include "Compaction.h"
#include "EntryCopy.h"
#include "EntryList.h"
#include "FreshFile.h"
#include "OpenFile.h"
#include "StandardOutput.h"

#include <cstdint>
#include <vector>

namespace {

/// Writes all entries to a fresh file with this password, or none, and puts that in the place of
/// `file`, which stays locked meanwhile. The new file has its password before the first entry, so
/// no plain byte of one reaches the disk.
void Rewrite(OpenFile& file, const std::string& password) {
    Report report;
    EntryCopy copy(report, file.Path());
    FreshFile fresh(file.Path(), FreshFile::Existing::Replace);
    if (!password.empty() && fresh.Handle().Encrypt(password.c_str()) != KrStreamE::Ok) {
        throw WriteFailure(file.Path());
    }
    int count = 0;
    const std::vector<Entry> entries = UserEntries(file.Handle());
    report.Begin("rewriting", TotalSize(entries));
    for (const Entry& entry : entries) {
        copy.Transfer(file, entry, fresh.Handle());
        ++count;
    }
    if (fresh.Handle().GetNumDirEntrys() != count) {
        throw Failure(file.Path(),
                      "two entries have the same name, so nothing was changed; 'krstream repair' "
                      "makes a new file in which they have two");
    }
    fresh.PutInPlace();
}

/// Throws Failure when an entry is damaged.
void CheckEntries(OpenFile& file) {
    Report report;
    EntryCopy copy(report, file.Path());
    const std::vector<Entry> entries = UserEntries(file.Handle());
    report.Begin("reading", TotalSize(entries));
    for (const Entry& entry : entries) {
        copy.ReadWhole(file, entry, [](std::string_view) {});
    }
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

ExitStatus Compact(const Options& options) {
    OpenFile file(options.file, KrStreamE::ReadWrite);
    file.Unlock(PasswordSource(options.passwordFile));
    const std::uint64_t before = file.Size();
    if (ReclaimableBytes(file, UserEntries(file.Handle())) > 0) {
        Rewrite(file, file.Password());
    } else {
        CheckEntries(file);
    }
    // Reading may have given a chain of another writer the empty block that belongs at its end;
    // only a closed file has its final size.
    file.Handle().Close();
    StandardOutput out;
    out.Write("bytes before: " + std::to_string(before) +
              "\nbytes after:  " + std::to_string(file.Size()) + '\n');
    out.Flush();
    return ExitStatus::Done;
}
