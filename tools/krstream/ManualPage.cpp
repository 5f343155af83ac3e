#include "ManualPage.h"

#include "CommandTexts.h"
#include "Help.h"

namespace {

/// Day of the last change that users of the page would notice.
constexpr const char* kDate = "2026-11-21";

/// Text that troff takes as it is.
std::string Roff(const std::string& text) {
    std::string roff;
    for (const char c : text) {
        const bool lineStart = roff.empty() || roff.back() == '\n';
        if (lineStart && (c == '.' || c == '\'')) {
            roff += "\\&";
        }
        switch (c) {
        case '\\':
            roff += "\\e";
            break;
        case '-':
            roff += "\\-";
            break;
        case '\'':
            roff += "\\(aq";
            break;
        default:
            roff += c;
        }
    }
    return roff;
}

std::string Bold(const std::string& text) {
    return "\\fB" + Roff(text) + "\\fR";
}

std::string Italic(const std::string& text) {
    return "\\fI" + Roff(text) + "\\fR";
}

std::string Tagged(const std::string& tag, const std::string& text) {
    return ".TP\n" + tag + '\n' + text + '\n';
}

std::string OptionParagraph(const CLI::Option& option) {
    std::string forms;
    for (const std::string& name : OptionNames(option)) {
        forms += (forms.empty() ? "" : ", ") + Bold(name);
    }
    if (!option.get_type_name().empty()) {
        forms += ' ' + Italic(option.get_type_name());
    }
    return Tagged(forms, Roff(option.get_description()) + '.');
}

std::string Examples(const std::vector<Example>& examples) {
    std::string text;
    for (const Example& example : examples) {
        text +=
            ".PP\n" + Roff(example.purpose) + ":\n.PP\n.EX\n    " + Roff(example.line) + "\n.EE\n";
    }
    return text;
}

std::string Section(const CLI::App& app, const CommandText& text) {
    const CLI::App& command = *app.get_subcommand(text.name);
    std::string section =
        ".SS " + Roff(text.name) + ' ' + Roff("[OPTIONS] " + ArgumentForms(command)) + '\n';
    section += Roff(text.summary) + ".\n" + Roff(text.details) + '\n';
    if (!text.aliases.empty()) {
        section += "Short:";
        for (const char* const alias : text.aliases) {
            section += (alias == text.aliases.front() ? " " : ", ") + Bold(alias);
        }
        section += ".\n";
    }
    for (const CLI::Option* option : NamedOptions(command)) {
        if (option != command.get_help_ptr()) {
            section += OptionParagraph(*option);
        }
    }
    return section + Examples(text.examples);
}

std::string CommandSections(const CLI::App& app) {
    std::string sections = ".SH COMMANDS\n";
    for (const CommandText& text : CommandTexts()) {
        sections += Section(app, text);
    }
    return sections;
}

std::string GeneralOptions(const CLI::App& app) {
    std::string options = ".SH OPTIONS\n";
    for (const CLI::Option* option : NamedOptions(app)) {
        options += OptionParagraph(*option);
    }
    return options;
}

std::string ExitStatuses() {
    std::string statuses = ".SH EXIT STATUS\n";
    for (const ExitStatusText& status : ExitStatusTexts()) {
        statuses += Tagged(std::to_string(status.status), Roff(status.meaning));
    }
    return statuses;
}

constexpr const char* kDescriptionSection = R"(.SH DESCRIPTION
.B krstream
shows and changes files that hold many named byte streams, called entries.
Space that one entry frees is used by the next.
Entries are read, replaced, added and deleted one by one.
.PP
Options may stand before or after the names; what follows
.B \-\-
is names alone.
Data goes to standard output, and every problem is one line on standard error.
.PP
Entries are found without regard to the case of the letters A to Z.
In messages, and in what goes to a terminal, control characters, backslashes
and bytes that are not UTF\-8 show as escapes.
)";

constexpr const char* kPasswordSection = R"(.SH PASSWORDS
A password is never an argument, where other users could see it.
It is the first line of the file that
.B \-\-password\-file
names, standard input for
.BR \- ,
or asked for at the terminal.
An empty one is refused.
)";

constexpr const char* kLastSections = R"(.SH ENVIRONMENT
.TP
.B NO_COLOR
When set and not empty, the drawing of
.B map
has no colours.
.SH FILES
.TP
.I .krstream\-XXXXXX
A file that is being written, beside the place where it is going to be.
It goes away when the program ends, also by an interrupt, but not when it is
killed.
.TP
.I /dev/tty
Where passwords are asked for.
)";

} // namespace

std::string ManualPage(const CLI::App& app) {
    return std::string(".TH KRSTREAM 1 \"") + kDate +
           "\" \"krstream " KRSTREAM_VERSION "\" \"User Commands\"\n" +
           ".SH NAME\nkrstream \\- files that hold many named byte streams\n" +
           ".SH SYNOPSIS\n.B krstream\n.I COMMAND FILE\n\\&...\n.br\n.B krstream\n.I "
           "COMMAND\n.B \\-\\-help\n" +
           kDescriptionSection + CommandSections(app) + GeneralOptions(app) + kPasswordSection +
           ExitStatuses() + kLastSections + ".SH SEE ALSO\n.BR tar (1)\n";
}
