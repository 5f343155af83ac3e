#pragma once

#include "benchmarks/Measure.h"

#include <cstddef>
#include <string>

/// Operations on every entry of a file with `entries` entries, which is made anew at `path`. What
/// is measured ends with closing the file, so that nothing is put off.
struct EntryWorks {
    const std::string& path;
    std::size_t entries;

    void Make() const;
    Sample Create() const;
    Sample Find() const;
    Sample Replace() const;
    Sample Delete() const;
    Sample List() const;
};
