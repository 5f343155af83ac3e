#pragma once

#include "EntryList.h"
#include "OpenFile.h"
#include "Report.h"

#include <TALVOkrstream/CompoundFile.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// Copies bytes into and out of entries through one buffer.
class EntryCopy {
public:
    /// `path` is the compound file that messages name.
    EntryCopy(Report& report, std::string path);

    /// Takes a part of an entry's bytes; throws to stop.
    using Sink = std::function<void(std::string_view)>;

    /// Passes an entry's bytes to `sink`. False when it is damaged and the bytes so far are not
    /// all; `file` is then ready for the next entry.
    bool Read(OpenFile& file, const Entry& entry, const Sink& sink);

    /// As above for a command that changes nothing unless every entry is whole: throws Failure when
    /// this one is damaged.
    void ReadWhole(OpenFile& file, const Entry& entry, const Sink& sink);

    /// Writes what can be read from `fd` as the entry `name`, new or replaced. When reading fails,
    /// the errno of that, and no such entry is left; when writing fails, throws Failure.
    int Write(CompoundFile& file, const std::string& name, int fd);

    /// Writes an entry of `from` to `to`; throws Failure when it is damaged or cannot be written.
    void Transfer(OpenFile& from, const Entry& entry, CompoundFile& to);

private:
    Report& report_;
    const std::string path_;
    std::vector<char> buffer_;
};
