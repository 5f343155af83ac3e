#pragma once

#include "Descriptor.h"

#include <stdexcept>
#include <string>
#include <vector>

/// An entry that cannot become a file; the text says why.
class NotExtracted : public std::runtime_error {
public:
    enum class Reason { Refused, Error };

    NotExtracted(const std::string& what, Reason reason)
        : std::runtime_error(what), reason_(reason) {}

    bool WasRefused() const { return reason_ == Reason::Refused; }

private:
    Reason reason_;
};

/// A file that is being written in a folder; removed unless it is kept. One that replaces another
/// is written beside it, so that the other stays until this is whole.
class TargetFile {
public:
    /// `folder` must outlive the file. Throws NotExtracted.
    TargetFile(int folder, std::string name, bool mayReplace);
    TargetFile(const TargetFile&) = delete;
    TargetFile& operator=(const TargetFile&) = delete;
    ~TargetFile();

    int Descriptor() const { return fd_.Get(); }
    /// Throws NotExtracted when the file cannot take the place of the other.
    void Keep();

private:
    void OpenBeside();

    const int folder_;
    const std::string name_;
    std::string writtenAs_;
    UniqueFd fd_;
};

/// A folder that entries are extracted to. Nothing is ever reached outside it: each element of a
/// name is opened from the one before, and none may be a link.
class TargetFolder {
public:
    /// Makes the folder when it is missing; throws Failure when it cannot be used. Empty is the
    /// current one.
    explicit TargetFolder(const std::string& folder);

    /// The folder that holds the last of `elements`, made when it is missing. The descriptor is
    /// good until the next call. Throws NotExtracted.
    int Parent(const std::vector<std::string>& elements);

private:
    /// A folder on the way to the last file, below the one before it in the list.
    struct Step {
        std::string name;
        UniqueFd fd;
    };

    UniqueFd base_;
    std::vector<Step> steps_;
};
