#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// The system calls by which this program changes files, its libraries included: counted, and made
/// to fail. A test program gets this by being built with SystemCalls.cpp.
namespace SystemCalls {

enum class Fault {
    None,
    /// The process dies as by kill -9, a write done in part.
    Kill,
    /// Calls that need room on the disk fail from now on; a write still does its first half.
    DiskFull,
    /// One call fails, as on a disk with a bad sector; reads of files count as well.
    ErrorOnce,
    /// As above, and all that follow.
    ErrorFromNowOn,
    /// One read or write does half of what was asked.
    ShortOnce
};

/// The faults that a program survives.
constexpr Fault kFailures[] = {Fault::DiskFull, Fault::ErrorOnce, Fault::ErrorFromNowOn,
                               Fault::ShortOnce};

/// A change of a file that the system took over.
struct Operation {
    enum class Kind { Write, Truncate, BeginSync, Sync, Rename, Remove };

    Kind kind;
    std::string path;
    /// Where a write begins; the length that is left by a truncation.
    std::uint64_t offset = 0;
    /// What was written; the new name.
    std::string bytes = {};
};

/// Counts anew; after `calls` more calls the fault happens.
void Expect(Fault fault, int calls);
/// Calls of this name on a path that ends so are not permitted.
void Refuse(const std::string& call, const std::string& pathEnd);
/// Everything works again.
void Reset();

/// Appends what is done from now on to files below `folder`; null ends it.
void Record(std::vector<Operation>* operations, const std::string& folder = {});

int Count();
std::uint64_t BytesWritten();

} // namespace SystemCalls
