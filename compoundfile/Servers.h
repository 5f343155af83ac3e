#pragma once

#include "blockfile/ServerRegistry.h"

#include <TALVOkrstream/CompoundFile.h>
#include <TALVOutl/Strings.h>

#include <boost/thread/mutex.hpp>

#include <iosfwd>
#include <map>
#include <memory>
#include <string>

/// The process-wide list of engines opened from a path, by canonical path without regard to letter
/// case: one file is open at most once in a process. The registry is made on first use and lives
/// until the process exits and the last engine is gone. Only the list is guarded by a lock; the
/// engines' counts are not.
class Servers final : public ServerRegistry, public std::enable_shared_from_this<Servers> {
public:
    static std::shared_ptr<Servers> Get();

    /// The engine that has `path` open, with one more reference, or a new one; null when it cannot
    /// be opened.
    CompoundFileServer* AcquireByPath(const char* path, KrStreamE::OpenMode mode);
    /// A new engine, known to its holder alone; null when it cannot be opened.
    CompoundFileServer* OpenStream(const std::shared_ptr<std::iostream>& stream);
    CompoundFileServer* OpenStream(const std::shared_ptr<std::iostream>& stream,
                                   bool callerKeepsStream);

    CompoundFileServer* Find(const std::string& canonicalPath);
    /// An engine without a path is not entered, nor one whose path is taken.
    void Register(CompoundFileServer& engine);
    void Unregister(const CompoundFileServer& engine) override;

private:
    template <typename... Arguments>
    CompoundFileServer* Create(Arguments&&... arguments);

    boost::mutex mutex_;
    std::map<std::string, CompoundFileServer*, KrStdString::LessNoCase> engines_;
};
