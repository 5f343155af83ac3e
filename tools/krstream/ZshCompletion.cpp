#include "CommandTexts.h"
#include "Completion.h"
#include "Help.h"

#include <boost/algorithm/string/replace.hpp>

#include <string>

namespace {

constexpr const char* kZshScript = R"zsh(#compdef krstream
# Completion of krstream in zsh.

_krstream_entries() {
    local -a entries
    entries=("${(@0)$(krstream list --null -- ${(Q)line[1]/#\~\//$HOME/} 2>/dev/null)}")
    # Names with control characters are left out: nobody could see what stands in the line.
    entries=(${entries:#*[[:cntrl:]]*})
    compadd -a entries
}

_krstream() {
    local context state state_descr line
    local -a commands
    typeset -A opt_args
    commands=(
@commands@    )
    _arguments -C @general@ '1:command:->command' '*::argument:->argument'
    case $state in
    command) _describe command commands ;;
    argument)
        case $words[1] in
@cases@        esac
        ;;
    esac
}

_krstream "$@"
)zsh";

/// `text` between single quotes, and safe between brackets and before a colon.
std::string Quoted(std::string text) {
    for (const char* const special : {"\\", "[", "]", ":"}) {
        boost::replace_all(text, special, std::string("\\") + special);
    }
    boost::replace_all(text, "'", "'\\''");
    return text;
}

/// What completes a value or an argument.
std::string ActionOf(const std::string& placeholder, bool isArgument) {
    if (placeholder == "DIR") {
        return "_files -/";
    }
    if (placeholder == "WHAT") {
        return "(man bash zsh)";
    }
    if (placeholder == "NAME") {
        return isArgument ? "_krstream_entries" : " ";
    }
    return "_files";
}

/// An option as _arguments wants it, each of its names by itself.
std::string OptionSpecs(const CLI::Option& option) {
    const std::string& placeholder = option.get_type_name();
    const std::string value =
        placeholder.empty() ? "" : ':' + placeholder + ':' + ActionOf(placeholder, false);
    const std::string rest = '[' + Quoted(option.get_description()) + ']' + value + '\'';
    const auto spec = [&](const std::string& name, const char* joint) {
        return " '" + name + (value.empty() ? "" : joint) + rest;
    };
    std::string specs;
    for (const std::string& name : option.get_snames()) {
        specs += spec('-' + name, "+");
    }
    for (const std::string& name : option.get_lnames()) {
        specs += spec("--" + name, "=");
    }
    return specs;
}

std::string AllOptionSpecs(const CLI::App& command) {
    std::string specs;
    for (const CLI::Option* option : NamedOptions(command)) {
        specs += OptionSpecs(*option);
    }
    return specs;
}

std::string ArgumentSpecs(const CLI::App& command) {
    std::string specs;
    for (const CLI::Option* option : Arguments(command)) {
        const std::string name = option->get_name(true);
        const bool many = option->get_expected_max() > 1;
        const char* const place = name == "FILE" ? "1" : (many ? "*" : "2");
        specs += std::string(" '") + place + ':' + name + ':' + ActionOf(name, true) + '\'';
    }
    return specs;
}

} // namespace

std::string ZshCompletion(const CLI::App& app) {
    std::string commands;
    std::string cases;
    for (const CommandText& text : CommandTexts()) {
        commands += std::string("        '") + text.name + ':' + Quoted(text.summary) + "'\n";
        const CLI::App& command = *app.get_subcommand(text.name);
        cases += "        " + text.Names(" | ") + ") _arguments -s" + AllOptionSpecs(command) +
                 ArgumentSpecs(command) + " ;;\n";
    }
    std::string script = kZshScript;
    boost::replace_all(script, "@commands@", commands);
    boost::replace_all(script, "@general@", AllOptionSpecs(app));
    boost::replace_all(script, "@cases@", cases);
    return script;
}
