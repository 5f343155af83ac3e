#include "TALVOutl/FolderIndex.h"

#include "TALVOutl/Strings.h"

#include <boost/filesystem/directory.hpp>

#include <algorithm>
#include <cerrno>
#include <climits>

#include <sys/inotify.h>
#include <unistd.h>

namespace fs = boost::filesystem;

namespace {

/// So many are read sooner than the system ends its notices, which takes it milliseconds.
constexpr std::size_t kFewNames = 64;

constexpr std::uint32_t kAppeared = IN_CREATE | IN_MOVED_TO;
constexpr std::uint32_t kVanished = IN_DELETE | IN_MOVED_FROM;
/// Notices were dropped, there will be no more, or they are about a folder that is elsewhere now.
constexpr std::uint32_t kLost = IN_Q_OVERFLOW | IN_IGNORED | IN_MOVE_SELF;

std::pair<std::string, std::string> Folded(const std::string& name) {
    std::string folded = name;
    std::transform(folded.begin(), folded.end(), folded.begin(), KrStdString::FoldClassic);
    return {folded, name};
}

} // namespace

FolderIndex::FolderIndex(std::string folder) : folder_(std::move(folder)) {}

FolderIndex::~FolderIndex() {
    EndNotices();
}

std::vector<std::string> FolderIndex::SpellingsOf(const std::string& name) {
    if (!ReadNotices()) {
        ReadFolder();
    }
    const std::string folded = Folded(name).first;
    std::vector<std::string> spellings;
    for (auto at = names_.lower_bound({folded, ""}); at != names_.end() && at->first == folded;
         ++at) {
        spellings.push_back(at->second);
    }
    return spellings;
}

bool FolderIndex::ReadNotices() {
    if (notices_ < 0) {
        return false;
    }
    alignas(inotify_event) char buffer[16 * (sizeof(inotify_event) + NAME_MAX + 1)];
    ssize_t got = 0;
    while ((got = read(notices_, buffer, sizeof buffer)) > 0) {
        for (ssize_t at = 0; at < got;) {
            const auto& notice = *reinterpret_cast<const inotify_event*>(buffer + at);
            at += static_cast<ssize_t>(sizeof notice + notice.len);
            if ((notice.mask & kLost) != 0) {
                return false;
            }
            if ((notice.mask & kAppeared) != 0) {
                names_.insert(Folded(notice.name));
            } else if ((notice.mask & kVanished) != 0) {
                names_.erase(Folded(notice.name));
            }
        }
    }
    return got < 0 && errno == EAGAIN;
}

// Notices are asked for before the names are read that they shall keep up to date, so that nothing
// falls between. Without such names they are of no use.
void FolderIndex::ReadFolder() {
    EndNotices();
    names_.clear();
    ReadNames();
    if (names_.size() > kFewNames && AskForNotices() && !ReadNames()) {
        EndNotices();
    }
}

bool FolderIndex::ReadNames() {
    decltype(names_) names;
    boost::system::error_code error;
    for (fs::directory_iterator item(folder_, error), end; !error && item != end;
         item.increment(error)) {
        names.insert(Folded(item->path().filename().string()));
    }
    if (!error) {
        names_ = std::move(names);
    }
    return !error;
}

bool FolderIndex::AskForNotices() {
    notices_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (notices_ >= 0 && inotify_add_watch(notices_, folder_.c_str(),
                                           kAppeared | kVanished | IN_MOVE_SELF | IN_ONLYDIR) < 0) {
        EndNotices();
    }
    return notices_ >= 0;
}

void FolderIndex::EndNotices() {
    if (notices_ >= 0) {
        close(notices_);
        notices_ = -1;
    }
}
