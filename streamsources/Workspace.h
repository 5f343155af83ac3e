#pragma once

#include <TALVOutl/FolderIndex.h>

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <utility>

/// The folder in which streams are files. Names here are names of files in it; only regular files
/// are seen, and no link is followed.
class Workspace {
public:
    explicit Workspace(std::string folder) : folder_(std::move(folder)) {}

    /// The folder's name as it was given, or as Canonicalize made it.
    const std::string& Folder() const { return folder_; }
    void SetFolder(const std::string& folder);
    enum class Opened { Done, Missing, Failed };
    /// Makes the folder if it is missing.
    Opened Make() const;
    /// Sees to it that the folder is one of the user's own, closed to everybody else.
    Opened Open() const;
    /// Makes the name canonical, with a separator at its end. A link at its end stays one.
    void Canonicalize();

    /// Whether a path leads into the folder.
    bool Contains(const std::string& path) const;
    /// Whether a name is one of a file in a folder, and not of a path.
    static bool CanHold(const std::string& name);

    std::string PathOf(const std::string& name) const;
    /// The file of that name: in this spelling, or else in another letter case.
    std::optional<std::string> Find(const std::string& name);
    /// All files, or all items of every kind. Throw boost::filesystem::filesystem_error when the
    /// folder cannot be listed.
    std::set<std::string> Files() const;
    std::set<std::string> Items() const;
    /// Bytes in a file; 0 when it cannot be measured.
    std::uint64_t SizeOf(const std::string& name) const;

    bool Remove(const std::string& name) const;
    /// Puts an empty file there, in the place of any that has the name.
    bool PutEmptyFile(const std::string& name) const;
    /// Removes the folder and everything in it; false when some of it is left, or what is there is
    /// no folder of the user's own.
    bool RemoveAll();
    /// Whether the folder's own folder lets it go.
    bool IsRemovable() const;

    /// A file that is written beside the streams, where nobody takes it for one of them, and
    /// becomes the file of its name when it is whole. What does not get there is removed.
    class FreshFile {
    public:
        explicit FreshFile(const Workspace& workspace);
        ~FreshFile();
        FreshFile(const FreshFile&) = delete;
        FreshFile& operator=(const FreshFile&) = delete;

        /// Where it is to be made; empty when it cannot be made.
        std::string Path() const;
        bool PutInPlace(const std::string& name) const;

    private:
        const Workspace& workspace_;
        /// A folder in the workspace, for folders are no streams; empty when it cannot be had.
        std::string folder_;
    };

private:
    bool IsOwnFolder() const;
    bool IsFile(const std::string& name) const;

    std::string folder_;
    /// Made with the first question that the file system cannot answer; none after the folder
    /// changed.
    std::optional<FolderIndex> index_;
};
