#pragma once

#include <cstdint>
#include <string>

/// The system calls by which this program changes files, its libraries included: counted, and made
/// to fail. A test program gets this by being built with SystemCalls.cpp.
namespace SystemCalls {

enum class Fault {
    None,
    /// The process dies as by kill -9, a write done in part.
    Kill,
    /// Calls that need room on the disk fail from now on; a write still does its first half.
    DiskFull
};

/// Counts anew; after `calls` more calls the fault happens.
void Expect(Fault fault, int calls);
/// Calls of this name on a path that ends so are not permitted.
void Refuse(const std::string& call, const std::string& pathEnd);
/// Everything works again.
void Reset();

int Count();
std::uint64_t BytesWritten();

} // namespace SystemCalls
