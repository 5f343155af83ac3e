#pragma once

#include "ExitStatus.h"
#include "Password.h"

#include <TALVOkrstream/CompoundFile.h>

#include <cstdint>
#include <string>

/// A compound file has a multiple of so many bytes.
constexpr std::uint64_t kBlockSize = 1024;

/// An existing compound file, opened; a Failure that says why when it cannot be.
class OpenFile {
public:
    OpenFile(std::string path, KrStreamE::OpenMode mode);
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    CompoundFile& Handle() { return handle_; }
    const std::string& Path() const { return path_; }
    /// Length in bytes of the file that is at the path now, this one or one put in its place.
    std::uint64_t Size() const;
    /// The password that the file was given; empty for a plain one.
    const std::string& Password() const { return password_; }

    /// Whether the file has a password, also before it has entries to encipher.
    bool HasPassword() { return !handle_.SetPassword(nullptr); }
    /// Gives the file its password if it needs one.
    void Unlock(const PasswordSource& source);

    /// Makes the file usable again after an entry turned out to be damaged, which stops the engine.
    void Recover();

    /// For a file that was changed: sees to it that everything is written, and closes it.
    void CloseWritten();

private:
    void Open();

    const std::string path_;
    const KrStreamE::OpenMode mode_;
    std::string password_;
    CompoundFile handle_;
};

/// Throws Failure when what is at `path` is missing, no file, or not permitted. The library makes a
/// file that is missing and opens only regular files, so this looks first.
void RequireRegularFile(const std::string& path, KrStreamE::OpenMode mode);

/// Flushes and closes a file that was written at `path`. False when something could not be written.
bool CloseWritten(CompoundFile& file, const std::string& path);

/// Says that another program has the file at `path` open.
Failure InUseFailure(const std::string& path, ExitStatus status = ExitStatus::InUse);

/// Says that writing `subject` failed, and what may help.
Failure WriteFailure(const std::string& subject);
