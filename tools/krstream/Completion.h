#pragma once

#include <CLI/CLI.hpp>

#include <string>

// Scripts that let a shell complete the commands and options that `app` knows, files, and the names
// of entries, for which they run the tool.
std::string BashCompletion(const CLI::App& app);
std::string ZshCompletion(const CLI::App& app);
