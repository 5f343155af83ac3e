#include "Help.h"

#include "CommandTexts.h"

#include <algorithm>
#include <sstream>

namespace {

constexpr std::size_t kColumn = 28;
constexpr std::size_t kLineLength = 80;

void AppendLine(std::ostringstream& out, const std::string& left, const std::string& right) {
    CLI::detail::format_help(out, left, right, kColumn);
}

std::string OptionLines(const CLI::App& command) {
    std::ostringstream out;
    for (const CLI::Option* option : NamedOptions(command)) {
        AppendLine(out, OptionForms(*option), option->get_description());
    }
    return out.str();
}

std::string ArgumentLines(const CLI::App& command) {
    std::ostringstream out;
    for (const CLI::Option* option : Arguments(command)) {
        AppendLine(out, option->get_name(true), option->get_description());
    }
    return out.str();
}

std::string ExampleLines(const std::vector<Example>& examples) {
    std::string text;
    for (const Example& example : examples) {
        text += std::string("  # ") + example.purpose + "\n  " + example.line + '\n';
    }
    return text;
}

std::string CommandLines() {
    std::ostringstream out;
    std::string group;
    for (const CommandText& text : CommandTexts()) {
        if (group != text.group) {
            group = text.group;
            out << '\n' << group << ":\n";
        }
        AppendLine(out, text.Names(", "), text.summary);
    }
    return out.str();
}

std::string ExitStatusLines() {
    std::string text;
    std::string line = "Exit status:";
    for (const ExitStatusText& status : ExitStatusTexts()) {
        const std::string meaning = status.meaning;
        const std::string item =
            ' ' + std::to_string(status.status) + ' ' + meaning.substr(0, meaning.find(':')) + ',';
        if (line.size() + item.size() > kLineLength) {
            text += line + '\n';
            line = " ";
        }
        line += item;
    }
    line.back() = '.';
    return text + line + '\n';
}

std::string TopHelp(const CLI::App& app) {
    return app.get_description() +
           "\n\nUsage: krstream COMMAND FILE ...\n"
           "       krstream COMMAND --help\n" +
           CommandLines() + "\nOptions:\n" + OptionLines(app) +
           "\nExamples:\n"
           "  krstream create new.kr drawings notes.txt\n"
           "  krstream list -l new.kr\n"
           "  krstream extract new.kr -C restored\n\n" +
           ExitStatusLines();
}

std::string CommandHelp(const CLI::App& command, const std::string& name) {
    const CommandText& text = TextOf(command.get_name());
    return std::string(text.summary) + ".\n\n" + text.details + "\n\nUsage: " + name +
           " [OPTIONS] " + ArgumentForms(command) + "\n\nArguments:\n" + ArgumentLines(command) +
           "\nOptions:\n" + OptionLines(command) + "\nExamples:\n" + ExampleLines(text.examples) +
           '\n' + ExitStatusLines();
}

} // namespace

std::vector<std::string> OptionNames(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames()) {
        names.push_back('-' + name);
    }
    for (const std::string& name : option.get_lnames()) {
        names.push_back("--" + name);
    }
    return names;
}

std::string OptionForms(const CLI::Option& option) {
    const std::string forms =
        (option.get_snames().empty() ? "    " : "") + CLI::detail::join(OptionNames(option), ", ");
    return option.get_type_name().empty() ? forms : forms + ' ' + option.get_type_name();
}

std::string ArgumentForms(const CLI::App& command) {
    std::string forms;
    for (const CLI::Option* option : Arguments(command)) {
        const bool many = option->get_expected_max() > 1;
        const std::string form = option->get_name(true) + (many ? "..." : "");
        forms += (forms.empty() ? "" : " ") + (option->get_required() ? form : '[' + form + ']');
    }
    return forms;
}

std::vector<const CLI::Option*> Arguments(const CLI::App& command) {
    return command.get_options([](const CLI::Option* option) { return option->get_positional(); });
}

std::vector<const CLI::Option*> NamedOptions(const CLI::App& command) {
    std::vector<const CLI::Option*> options =
        command.get_options([](const CLI::Option* option) { return option->nonpositional(); });
    std::rotate(options.begin(), options.begin() + 1, options.end());
    return options;
}

std::string HelpFormatter::make_help(const CLI::App* app, std::string name,
                                     CLI::AppFormatMode /*mode*/) const {
    return app->get_parent() == nullptr ? TopHelp(*app) : CommandHelp(*app, name);
}
