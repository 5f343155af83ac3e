#include "Commands.h"
#include "EntryCopy.h"
#include "FreshFile.h"
#include "Inputs.h"
#include "OpenFile.h"

#include <cerrno>
#include <cstdint>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

/// Bytes in all inputs; 0 when one of them does not tell.
std::uint64_t TotalSize(const std::vector<Input>& inputs) {
    std::uint64_t total = 0;
    for (const Input& input : inputs) {
        struct stat status {};
        if (input.isStandardInput || stat(input.path.c_str(), &status) != 0) {
            return 0;
        }
        total += static_cast<std::uint64_t>(status.st_size);
    }
    return total;
}

/// Stores inputs one by one, but never the compound file in itself.
class Packer {
public:
    Packer(CompoundFile& target, const std::string& path, Report& report)
        : target_(target), report_(report), copy_(report, path) {
        hasOwn_ = stat(path.c_str(), &own_) == 0;
    }

    void StoreAll(const std::vector<Input>& inputs) {
        report_.Begin("storing", report_.ShowsProgress() ? TotalSize(inputs) : 0);
        for (const Input& input : inputs) {
            Store(input);
        }
    }

private:
    void Store(const Input& input) {
        if (input.isStandardInput) {
            StoreFrom(STDIN_FILENO, input);
            return;
        }
        const UniqueFd fd(open(input.path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
        if (!fd) {
            report_.Fail(input.path, "not stored, cannot be opened: " + ErrorText(errno) +
                                         "; check its permissions");
            return;
        }
        StoreFrom(fd.Get(), input);
    }

    void StoreFrom(int fd, const Input& input) {
        struct stat status {};
        if (fstat(fd, &status) == 0 && IsOwn(status)) {
            report_.Note(input.path, "left out, it is the file being written");
            return;
        }
        const int error = copy_.Write(target_, input.name, fd);
        if (error != 0) {
            report_.Fail(input.path, "not stored, reading failed: " + ErrorText(error) +
                                         "; there is no entry of its name now");
            return;
        }
        report_.CountDone();
    }

    bool IsOwn(const struct stat& status) const {
        return hasOwn_ && status.st_dev == own_.st_dev && status.st_ino == own_.st_ino;
    }

    CompoundFile& target_;
    Report& report_;
    EntryCopy copy_;
    struct stat own_ {};
    bool hasOwn_;
};

/// The inputs of an `add`, where "-" stands for standard input.
std::vector<Input> InputsWithStandardInput(const Options& options, Report& report) {
    std::vector<std::string> paths;
    std::vector<Input> inputs;
    for (const std::string& path : options.paths) {
        if (path == "-") {
            const std::string name = EntryName(options.standardInputName).value_or("");
            inputs.push_back({path, name, true});
        } else {
            paths.push_back(path);
        }
    }
    const std::vector<Input> files = CollectInputs(options.folder, paths, report);
    inputs.insert(inputs.end(), files.begin(), files.end());
    return inputs;
}

} // namespace

ExitStatus Create(const Options& options) {
    Report report;
    const UniqueFd replaced = HoldReplaced(options.file, options.force);
    const std::vector<Input> inputs = CollectInputs(options.folder, options.paths, report);
    CheckNames(inputs);
    FreshFile fresh(options.file,
                    replaced ? FreshFile::Existing::Replace : FreshFile::Existing::Refuse);
    Packer(fresh.Handle(), options.file, report).StoreAll(inputs);
    if (report.Status() != ExitStatus::Failed) {
        fresh.PutInPlace();
    }
    return report.Status();
}

ExitStatus Add(const Options& options) {
    Report report;
    OpenFile file(options.file, KrStreamE::ReadWrite);
    const std::vector<Input> inputs = InputsWithStandardInput(options, report);
    CheckNames(inputs);
    file.Unlock(PasswordSource(options.passwordFile));
    Packer(file.Handle(), options.file, report).StoreAll(inputs);
    file.CloseWritten();
    return report.Status();
}
