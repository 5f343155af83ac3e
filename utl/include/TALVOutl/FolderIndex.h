#pragma once

#include <TALVOutl/Export.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

/// Finds names in a folder without regard to the case of the letters A to Z, on a file system that
/// tells the cases apart. The names of a large folder are read once and then kept up to date by the
/// system's own notices of what was made, renamed and removed, by whomever; with up to 64 names,
/// and where notices cannot be had, every question reads the folder anew. One thread at a time.
class TALVOUTL_EXPORT FolderIndex {
public:
    /// Nothing is read until the first question.
    explicit FolderIndex(std::string folder);
    ~FolderIndex();
    FolderIndex(const FolderIndex&) = delete;
    FolderIndex& operator=(const FolderIndex&) = delete;

    /// Every spelling of `name` that the folder holds, itself included, of files and folders alike;
    /// none when the folder cannot be read. In a large folder, costs one system call and the
    /// notices since the last question.
    std::vector<std::string> SpellingsOf(const std::string& name);

private:
    /// Whether the names are up to date with what the notices told.
    bool ReadNotices();
    void ReadFolder();
    /// The names stay what they were when the folder cannot be read.
    bool ReadNames();
    bool AskForNotices();
    void EndNotices();

    const std::string folder_;
    /// Notices come through this descriptor; -1 without them.
    int notices_ = -1;
    /// Names, each behind its folded form.
    std::set<std::pair<std::string, std::string>> names_;
};
