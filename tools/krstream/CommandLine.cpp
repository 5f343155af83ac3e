#include "CommandLine.h"

#include "CommandTexts.h"
#include "Commands.h"
#include "Completion.h"
#include "Help.h"
#include "ManualPage.h"
#include "NearMiss.h"
#include "StandardOutput.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>
#include <memory>
#include <vector>

namespace {

/// Stands before an argument that the parser would not take as it is; Text options remove it again.
constexpr char kGuard = '\x01';

/// A mistake in a script, such as a variable that was never set.
constexpr const char* kEmptyValue = "an empty value names nothing";

/// The arguments in the parser's order, last one first. The parser would split one in brackets into
/// a list, end a command at "++", know "--" only where a value has to follow, and take what comes
/// after "--name=" for the missing value.
std::vector<std::string> GuardedArguments(int argc, const char* const* argv) {
    std::vector<std::string> arguments;
    bool onlyValues = false;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const bool isOption = !onlyValues && argument.compare(0, 2, "--") == 0;
        if (isOption && argument.size() == 2) {
            onlyValues = true;
        } else if (isOption && argument.find('=') == argument.size() - 1) {
            throw CLI::ValidationError(argument, kEmptyValue);
        } else if (onlyValues || argument.find_first_of("[{+\x01") == 0) {
            arguments.push_back(kGuard + argument);
        } else {
            arguments.push_back(argument);
        }
    }
    std::reverse(arguments.begin(), arguments.end());
    return arguments;
}

std::string Unguarded(std::string value) {
    if (!value.empty() && value.front() == kGuard) {
        value.erase(0, 1);
    }
    return value;
}

/// An option or positional whose values are any bytes, at least one.
template <class Target>
CLI::Option* Text(CLI::App& command, const std::string& names, Target& target,
                  const std::string& help) {
    const auto unguard = [](std::string& value) {
        value = Unguarded(value);
        return std::string(value.empty() ? kEmptyValue : "");
    };
    return command.add_option(names, target, help)
        ->transform(CLI::Validator(unguard, ""))
        ->type_name("");
}

bool IsCommand(const std::string& word) {
    const auto isNamed = [&word](const CommandText& text) {
        const auto& aliases = text.aliases;
        return word == text.name ||
               std::find(aliases.begin(), aliases.end(), word) != aliases.end();
    };
    return std::any_of(CommandTexts().begin(), CommandTexts().end(), isNamed);
}

class CommandLine {
public:
    CommandLine();

    ExitStatus Run(int argc, const char* const* argv);

private:
    using Command = ExitStatus (*)(const Options&);

    CLI::App& AddCommand(const std::string& name, Command command);
    void AddPacking();
    void AddReading();
    void AddMap();
    void AddChanging();
    void AddRecovery();

    void AddPaths(CLI::App& command);
    void AddNames(CLI::App& command, bool required);
    void AddPasswordFile(CLI::App& command);
    void AddAll(CLI::App& command);
    void CheckStandardInput() const;

    void RequireKnownCommand(const std::string& argument) const;
    std::string Explain(const CLI::ParseError& error) const;
    std::string ExplainUnexpected(const std::string& argument) const;
    std::string HelpHint() const;
    ExitStatus Generate() const;

    CLI::App app_{"krstream: files that hold many named byte streams, called entries.", "krstream"};
    Options options_;
    std::string generated_;
    Command command_ = nullptr;
};

CommandLine::CommandLine() {
    app_.formatter(std::make_shared<HelpFormatter>());
    app_.set_help_flag("-h,--help", "Show this help");
    app_.require_subcommand(0, 1);
    app_.set_version_flag("--version", "krstream " KRSTREAM_VERSION, "Show the version");
    Text(app_, "--generate", generated_,
         "Print the manual page (man) or a shell's completion (bash, zsh)")
        ->type_name("WHAT");
    AddPacking();
    AddReading();
    AddMap();
    AddChanging();
    AddRecovery();
}

CLI::App& CommandLine::AddCommand(const std::string& name, Command command) {
    const CommandText& text = TextOf(name);
    CLI::App& added = *app_.add_subcommand(name, text.summary);
    for (const char* const alias : text.aliases) {
        added.alias(alias);
    }
    Text(added, "FILE", options_.file, "The compound file")->required();
    added.callback([this, command] { command_ = command; });
    return added;
}

void CommandLine::AddPacking() {
    CLI::App& create = AddCommand("create", Create);
    AddPaths(create);
    create.add_flag("-f,--force", options_.force, "Replace FILE if it is there");

    CLI::App& add = AddCommand("add", Add);
    AddPaths(add);
    Text(add, "--name", options_.standardInputName, "Entry name of standard input, PATH '-'")
        ->type_name("NAME");
    AddPasswordFile(add);
}

void CommandLine::AddReading() {
    CLI::App& list = AddCommand("list", List);
    CLI::Option* const isLong =
        list.add_flag("-l,--long", options_.isLong, "Also size, time of change, blocks and marks");
    CLI::Option* const nullEnds =
        list.add_flag("-0,--null", options_.nullEnds, "End names with a NUL, not a newline");
    list.add_flag("--json", options_.json, "As JSON")->excludes(isLong)->excludes(nullEnds);
    isLong->excludes(nullEnds);
    AddAll(list);

    CLI::App& extract = AddCommand("extract", Extract);
    AddNames(extract, false);
    Text(extract, "-C,--directory", options_.folder, "Folder to write to, made if missing")
        ->type_name("DIR");
    extract.add_flag("-f,--force", options_.force, "Replace files that are there");
    AddAll(extract);
    AddPasswordFile(extract);

    CLI::App& cat = AddCommand("cat", Cat);
    AddNames(cat, true);
    AddPasswordFile(cat);

    AddCommand("info", Info).add_flag("--json", options_.json, "As JSON");
}

void CommandLine::AddMap() {
    CLI::App& map = AddCommand("map", Map);
    CLI::Option* const output =
        Text(map, "-o,--output", options_.target, "Make an SVG picture of this name")
            ->type_name("PICTURE");
    map.add_flag("-f,--force", options_.force, "Replace PICTURE if it is there")->needs(output);
}

void CommandLine::AddChanging() {
    CLI::App& remove = AddCommand("rm", Remove);
    AddNames(remove, true);
    AddPasswordFile(remove);

    AddPasswordFile(AddCommand("compact", Compact));
    AddPasswordFile(AddCommand("encrypt", Encrypt));
    AddPasswordFile(AddCommand("decrypt", Decrypt));

    CLI::App& passwd = AddCommand("passwd", ChangePassword);
    AddPasswordFile(passwd);
    Text(passwd, "--new-password-file", options_.newPasswordFile,
         "File whose first line is the new password, '-' for standard input")
        ->type_name("FILE");
}

void CommandLine::AddRecovery() {
    CLI::App& check = AddCommand("check", Check);
    check.add_flag("--json", options_.json, "As JSON");
    AddPasswordFile(check);

    CLI::App& repair = AddCommand("repair", Repair);
    Text(repair, "OUT", options_.target, "The new file")->required();
    repair.add_flag("-f,--force", options_.force, "Replace OUT if it is there");
    repair.add_flag("--json", options_.json, "As JSON");
    AddPasswordFile(repair);
}

void CommandLine::AddPaths(CLI::App& command) {
    Text(command, "PATH", options_.paths, "Files and folders to store")->required();
    Text(command, "-C,--directory", options_.folder, "Folder that the PATHs are relative to")
        ->type_name("DIR");
}

void CommandLine::AddNames(CLI::App& command, bool required) {
    Text(command, "NAME", options_.names, "Entries")->required(required);
}

void CommandLine::AddPasswordFile(CLI::App& command) {
    Text(command, "--password-file", options_.passwordFile,
         "File whose first line is the password, '-' for standard input")
        ->type_name("FILE");
}

void CommandLine::AddAll(CLI::App& command) {
    command.add_flag("--all", options_.all, "Also the library's record of free blocks");
}

void CommandLine::CheckStandardInput() const {
    if (command_ != Add) {
        return;
    }
    const auto count = std::count(options_.paths.begin(), options_.paths.end(), "-");
    if (count > 1 || (count == 1) == options_.standardInputName.empty()) {
        throw CLI::ValidationError("--name", "goes with one PATH '-', standard input");
    }
    if (count == 1 && options_.passwordFile == "-") {
        throw CLI::ValidationError("--password-file", "standard input is taken by PATH '-'");
    }
}

std::string CommandLine::HelpHint() const {
    const auto chosen = app_.get_subcommands();
    return "see 'krstream " + (chosen.empty() ? "" : chosen.front()->get_name() + ' ') + "--help'";
}

/// What to say of an argument that has no place, and what to do.
std::string CommandLine::ExplainUnexpected(const std::string& argument) const {
    const auto chosen = app_.get_subcommands();
    const bool isOption = argument.size() > 1 && argument.front() == '-';
    std::vector<std::string> words;
    if (isOption) {
        for (const CLI::Option* option : NamedOptions(chosen.empty() ? app_ : *chosen.front())) {
            for (const std::string& name : option->get_lnames()) {
                words.push_back("--" + name);
            }
        }
    } else if (chosen.empty()) {
        for (const CommandText& text : CommandTexts()) {
            words.emplace_back(text.name);
        }
    } else {
        return Printable(argument) + " is one argument too many; " + HelpHint();
    }
    const std::string nearest = NearestWord(argument.substr(0, argument.find('=')), words);
    return Printable(argument) + (isOption ? " is no option here" : " is no command") +
           (nearest.empty() ? "; " : "; did you mean " + nearest + "? If not, ") + HelpHint();
}

/// A mistyped command first of all: what follows it would be misunderstood, a name as a command.
void CommandLine::RequireKnownCommand(const std::string& argument) const {
    const bool isOption = argument.empty() || argument.front() == '-';
    if (!isOption && !IsCommand(argument)) {
        throw Failure(ExplainUnexpected(argument), ExitStatus::Usage);
    }
}

std::string CommandLine::Explain(const CLI::ParseError& error) const {
    const std::vector<std::string> left = app_.remaining(true);
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr && !left.empty()) {
        return ExplainUnexpected(Unguarded(left.front()));
    }
    return Printable(error.what()) + "; " + HelpHint();
}

ExitStatus CommandLine::Generate() const {
    const std::map<std::string, std::string (*)(const CLI::App&)> kinds = {
        {"man", ManualPage}, {"bash", BashCompletion}, {"zsh", ZshCompletion}};
    const auto kind = kinds.find(generated_);
    if (kind == kinds.end()) {
        throw Failure(generated_, "cannot be generated; there are man, bash and zsh",
                      ExitStatus::Usage);
    }
    StandardOutput out;
    out.Write(kind->second(app_));
    out.Flush();
    return ExitStatus::Done;
}

ExitStatus CommandLine::Run(int argc, const char* const* argv) {
    if (argc > 1) {
        RequireKnownCommand(argv[1]);
    }
    try {
        app_.parse(GuardedArguments(argc, argv));
        CheckStandardInput();
    } catch (const CLI::Success& help) {
        StandardOutput out;
        out.Write(dynamic_cast<const CLI::CallForHelp*>(&help) != nullptr
                      ? app_.help()
                      : help.what() + std::string("\n"));
        out.Flush();
        return ExitStatus::Done;
    } catch (const CLI::ParseError& error) {
        throw Failure(Explain(error), ExitStatus::Usage);
    }
    if (!generated_.empty()) {
        return Generate();
    }
    if (command_ == nullptr) {
        throw Failure("no command is given; " + HelpHint(), ExitStatus::Usage);
    }
    return command_(options_);
}

} // namespace

ExitStatus RunCommandLine(int argc, const char* const* argv) {
    return CommandLine().Run(argc, argv);
}
