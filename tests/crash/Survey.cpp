#include "tests/crash/Survey.h"

#include <TALVOkrstream/Recovery.h>

#include <algorithm>
#include <set>
#include <sstream>

namespace {

using Passwords = std::vector<std::string>;

/// A file that is opened anew for each question, because a damaged entry fails its engine.
class Found {
public:
    Found(std::string path, KrStreamE::OpenMode mode, const Passwords& passwords)
        : path_(std::move(path)), mode_(mode), passwords_(passwords) {}

    /// Whether it opens, and shows its payloads.
    bool Open() {
        return file_.Open(path_.c_str(), mode_) == KrStreamE::Ok &&
               (!file_.NeedsPassword() ||
                std::any_of(passwords_.begin(), passwords_.end(), [this](const auto& password) {
                    return file_.SetPassword(password.c_str());
                }));
    }
    CompoundFile& File() {
        if (file_.GetStatus() != KrStreamE::Ok) {
            Open();
        }
        return file_;
    }
    std::vector<std::string> Names() {
        std::vector<std::string> names;
        unsigned long index = 0;
        for (const char* name = File().GetFirstDirName(&index); name != nullptr;
             name = file_.GetNextDirName(&index)) {
            if (std::string(name) != CompoundFile::kFreeListEntryName) {
                names.emplace_back(name);
            }
        }
        return names;
    }
    /// The bytes up to the end or the first that cannot be had.
    std::string Read(const std::string& name) {
        const auto stream = File().GetIOStream(name.c_str(), "rb");
        std::ostringstream bytes;
        if (stream != nullptr && stream->good()) {
            char piece[1500];
            while (stream->read(piece, sizeof piece).gcount() > 0) {
                bytes.write(piece, stream->gcount());
            }
        }
        return bytes.str();
    }

private:
    const std::string path_;
    const KrStreamE::OpenMode mode_;
    const Passwords& passwords_;
    CompoundFile file_;
};

bool IsBeginning(const std::string& bytes, const Promise& promise) {
    const bool hasOld = promise.isGoing || promise.versions.size() > 1;
    return (hasOld && bytes == promise.versions.front()) ||
           (!promise.isGoing && promise.versions.back().compare(0, bytes.size(), bytes) == 0);
}

bool IsByteOf(const Promise& promise, std::size_t at, char byte) {
    return std::any_of(
        promise.versions.begin(), promise.versions.end(),
        [&](const std::string& version) { return at < version.size() && version[at] == byte; });
}

/// What is wrong with the bytes of an entry.
std::string Compare(const Promise& promise, const std::string& bytes) {
    if (promise.isOpaque) {
        return "";
    }
    if (promise.mayMiss) {
        return IsBeginning(bytes, promise) ? "" : "has foreign bytes or is cut";
    }
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        if (!IsByteOf(promise, at, bytes[at])) {
            return "has a foreign byte at " + std::to_string(at);
        }
    }
    return bytes.size() >= promise.versions.front().size()
               ? ""
               : "ends at " + std::to_string(bytes.size());
}

std::string SurveyEntries(Found& found, const Promises& promises) {
    std::string broken;
    const std::vector<std::string> names = found.Names();
    for (const std::string& name : names) {
        const auto promise = promises.find(name);
        if (promise == promises.end()) {
            broken += name + " has no reason to be there\n";
            continue;
        }
        const std::string complaint = Compare(promise->second, found.Read(name));
        if (!complaint.empty()) {
            broken.append(name).append(" ").append(complaint).append("\n");
        }
    }
    for (const auto& [name, promise] : promises) {
        const bool isThere = std::find(names.begin(), names.end(), name) != names.end();
        broken += isThere || promise.mayMiss ? "" : name + " is missing\n";
    }
    return broken;
}

/// The names in directory blocks that were never linked, wasted by the crash.
std::set<std::string> UnlinkedNames(const Recovery::File& file,
                                    const std::vector<Recovery::Finding>& findings) {
    std::set<std::string> names;
    for (const Recovery::Finding& finding : findings) {
        for (const Recovery::Entry& entry : file.Entries()) {
            if (finding.kind == Recovery::Kind::DirectoryUnlinked &&
                entry.directoryBlock - finding.block < finding.blockCount) {
                names.insert(entry.name);
            }
        }
    }
    return names;
}

/// The rules that a closed file breaks after a crash, beside that blocks are wasted.
std::string BrokenRules(const std::string& path) {
    Recovery::File file;
    if (file.Open(path.c_str()) != Recovery::Status::Ok) {
        return "is not to be checked\n";
    }
    const std::vector<Recovery::Finding> findings = file.Check();
    const std::set<std::string> wasted = UnlinkedNames(file, findings);
    std::string broken;
    for (const Recovery::Finding& finding : findings) {
        if (finding.kind != Recovery::Kind::OrphanBlock &&
            finding.kind != Recovery::Kind::DirectoryUnlinked && wasted.count(finding.entry) == 0) {
            broken += "block " + std::to_string(finding.block) + ' ' + finding.entry + ": " +
                      finding.text + '\n';
        }
    }
    return broken;
}

/// Ends what the crash interrupted; returns what is then promised.
Promises Change(Found& found, GoOn way, const Promises& before, std::string& broken) {
    const std::vector<std::string> names = found.Names();
    Promises after;
    const auto put = [&](const std::string& name, const std::string& bytes) {
        after[name] = {{bytes}};
        broken += ::Put(found.File(), name, bytes) ? "" : name + " cannot be written\n";
    };
    put("later", Pattern(5000, 77));
    for (const auto& [name, promise] : before) {
        const bool isThere = std::find(names.begin(), names.end(), name) != names.end();
        if (promise.IsWhole()) {
            after[name] = {{promise.versions[0] + Pattern(1100, 76)}};
            broken += WriteTo(found.File().GetIOStream(name.c_str(), "r+b"), Pattern(1100, 76),
                              std::ios::end)
                          ? ""
                          : name + " cannot be extended\n";
        } else if (way == GoOn::Replacing) {
            put(name, Pattern(1700, 78));
        } else if (isThere && !found.File().DeleteCFFile(name.c_str())) {
            broken += name + " cannot be deleted\n";
        }
    }
    put("last", Pattern(1003, 79));
    return after;
}

} // namespace

std::string Survey(const std::string& path, KrStreamE::OpenMode mode, const Promises& promises,
                   const Passwords& passwords) {
    Found found(path, mode, passwords);
    return found.Open() ? SurveyEntries(found, promises) : "does not open\n";
}

std::string SurveyAndGoOn(const std::string& path, GoOn way, const Promises& promises,
                          const Passwords& passwords) {
    std::string broken = Survey(path, KrStreamE::ReadWrite, promises, passwords);
    Promises after;
    {
        Found found(path, KrStreamE::ReadWrite, passwords);
        if (!found.Open()) {
            return broken;
        }
        after = Change(found, way, promises, broken);
    }
    broken += BrokenRules(path);
    const std::string later = Survey(path, KrStreamE::ReadOnly, after, passwords);
    return later.empty() ? broken : broken + "after going on:\n" + later;
}
