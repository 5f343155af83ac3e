#pragma once

#include <CLI/CLI.hpp>

#include <string>

/// The manual page, in the man macros of troff, of all commands that `app` knows.
std::string ManualPage(const CLI::App& app);
