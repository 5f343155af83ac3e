#include "RecoveryFile.h"

#include "OpenFile.h"

#include <cstdint>
#include <filesystem>
#include <system_error>

void OpenForRecovery(Recovery::File& file, const std::string& path, Report& report,
                     ExitStatus inUse) {
    RequireRegularFile(path, KrStreamE::ReadOnly);
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    report.Begin("reading", error ? 0 : size);
    switch (file.Open(path.c_str(), [&report](std::uint64_t bytes) { report.Advance(bytes); })) {
    case Recovery::Status::Ok:
        return;
    case Recovery::Status::InUse:
        throw InUseFailure(path, inUse);
    case Recovery::Status::NotBlockFile:
        throw Failure(path, "is not a compound file; check the name");
    default:
        throw Failure(path, "cannot be opened; try again");
    }
}

void Unlock(Recovery::File& file, const std::string& path, const PasswordSource& source) {
    if (!file.SetPassword(source.Current(path).c_str())) {
        throw Failure(path, "the password is wrong; nothing was done, try again",
                      ExitStatus::Password);
    }
}
