#pragma once

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/recursive_mutex.hpp>

/// The one lock of all stream sources of the process. Recursive, because operations of a source
/// call one another. Made by the first source, so that it outlives sources of static duration.
boost::recursive_mutex& StreamSourceMutex();

/// Holds the lock for the rest of an operation.
class StreamSourceLock {
public:
    StreamSourceLock() : lock_(StreamSourceMutex()) {}

private:
    const boost::lock_guard<boost::recursive_mutex> lock_;
};
