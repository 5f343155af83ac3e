#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

/// The names of an option as they are typed, the short ones first.
std::vector<std::string> OptionNames(const CLI::Option& option);

/// The names of an option, and what its value is: "-C, --directory DIR".
std::string OptionForms(const CLI::Option& option);

/// The arguments of a command: "FILE [NAME...]".
std::string ArgumentForms(const CLI::App& command);

std::vector<const CLI::Option*> Arguments(const CLI::App& command);

/// The options that have names, in the order of their definition, --help last.
std::vector<const CLI::Option*> NamedOptions(const CLI::App& command);

/// Help in the words of CommandTexts.
class HelpFormatter : public CLI::Formatter {
public:
    std::string make_help(const CLI::App* app, std::string name,
                          CLI::AppFormatMode mode) const override;
};
