#include "Inputs.h"

#include "Interrupt.h"
#include "Names.h"

#include <TALVOkrstream/CompoundFile.h>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <unordered_map>

namespace fs = std::filesystem;

namespace {

class Collector {
public:
    explicit Collector(Report& report) : report_(report) {}

    void AddArgument(const fs::path& folder, const std::string& argument) {
        const fs::path path = folder / argument;
        std::error_code error;
        const fs::file_type type = fs::status(path, error).type();
        if (type == fs::file_type::not_found || type == fs::file_type::none) {
            throw Failure(path.native(), "cannot be read: " + error.message() +
                                             "; check the name, nothing was written");
        }
        const std::optional<std::string> name = EntryName(argument);
        if (!name) {
            throw Failure(argument, "leads above its folder, so it gives no entry name; use -C");
        }
        if (argument.front() == '/') {
            NoteLeadingSlash(argument);
        }
        Add(path, type, *name);
    }

    std::vector<Input> Take() { return std::move(inputs_); }

private:
    void NoteLeadingSlash(const std::string& argument) {
        if (!notedSlash_) {
            report_.Note(argument, "the leading '/' is left out of entry names");
            notedSlash_ = true;
        }
    }

    void Add(const fs::path& path, fs::file_type type, const std::string& name) {
        switch (type) {
        case fs::file_type::regular:
            inputs_.push_back({path.native(), name});
            break;
        case fs::file_type::directory:
            AddFolder(path, name);
            break;
        case fs::file_type::not_found:
            report_.Skip(path.native(), "skipped, a link that leads nowhere");
            break;
        case fs::file_type::none:
            report_.Fail(path.native(), "skipped, it cannot be reached; check permissions");
            break;
        default:
            report_.Skip(path.native(), "skipped, neither a file nor a folder");
        }
    }

    void AddFolder(const fs::path& folder, const std::string& name) {
        StopIfInterrupted();
        std::error_code error;
        std::vector<fs::directory_entry> children;
        for (fs::directory_iterator at(folder, error); !error && at != fs::directory_iterator();
             at.increment(error)) {
            children.push_back(*at);
        }
        if (error) {
            report_.Fail(folder.native(),
                         "cannot be listed: " + error.message() +
                             "; what is in it may be missing, check its permissions");
        }
        std::sort(children.begin(), children.end(), [](const auto& a, const auto& b) {
            return a.path().native() < b.path().native();
        });
        for (const fs::directory_entry& child : children) {
            AddChild(child, name);
        }
    }

    void AddChild(const fs::directory_entry& child, const std::string& folderName) {
        const fs::path& path = child.path();
        std::error_code error;
        const bool isLink = child.is_symlink(error);
        const fs::file_type type = isLink ? fs::status(path, error).type() : KnownType(child);
        if (isLink && type == fs::file_type::directory) {
            report_.Skip(path.native(),
                         "skipped, a link to a folder; name it as a PATH to store what is in it");
            return;
        }
        const std::string leaf = path.filename().native();
        Add(path, type, folderName.empty() ? leaf : folderName + '/' + leaf);
    }

    /// The type of what is no link, from the folder's listing where that has it.
    static fs::file_type KnownType(const fs::directory_entry& child) {
        std::error_code error;
        if (child.is_regular_file(error)) {
            return fs::file_type::regular;
        }
        return child.is_directory(error) ? fs::file_type::directory : child.status(error).type();
    }

    Report& report_;
    std::vector<Input> inputs_;
    bool notedSlash_ = false;
};

} // namespace

std::vector<Input> CollectInputs(const std::string& folder, const std::vector<std::string>& paths,
                                 Report& report) {
    Collector collector(report);
    for (const std::string& path : paths) {
        collector.AddArgument(folder, path);
    }
    return collector.Take();
}

void CheckNames(const std::vector<Input>& inputs) {
    std::unordered_map<std::string, const Input*> seen;
    for (const Input& input : inputs) {
        if (input.name.empty()) {
            throw Failure(input.path,
                          "gives an empty entry name; take another name, nothing was written");
        }
        if (input.name.size() > DirEntry::kMaxNameLength) {
            throw Failure(input.name,
                          "an entry name of " + std::to_string(input.name.size()) +
                              " bytes, which is over 256; shorten it, nothing was written");
        }
        if (IsFreeListName(input.name)) {
            throw Failure(input.name,
                          "this name is the library's own; rename the file, nothing was written");
        }
        const auto [at, isNew] = seen.emplace(FoldCase(input.name), &input);
        if (!isNew) {
            throw Failure(input.path, "would be the same entry as " + Printable(at->second->path) +
                                          "; leave one out or rename it, nothing was written");
        }
    }
}
