#pragma once

#include "tests/crash/Work.h"

/// How a file that a crash has left is gone on with.
enum class GoOn { Replacing, Deleting };

/// What the file at a path shows against the promises, a line each; none is as it should be.
std::string Survey(const std::string& path, KrStreamE::OpenMode mode, const Promises& promises,
                   const std::vector<std::string>& passwords);

/// As above, after the file was surveyed for writing, changed and closed: the changes last, what
/// was promised whole still is, and no block is damaged.
std::string SurveyAndGoOn(const std::string& path, GoOn way, const Promises& promises,
                          const std::vector<std::string>& passwords);
