#include "CommandTexts.h"
#include "Completion.h"
#include "Help.h"

#include <boost/algorithm/string/replace.hpp>

#include <set>
#include <string>
#include <vector>

namespace {

/// The tables stand where the words in @ are.
constexpr const char* kBashScript = R"bash(# Completion of krstream in bash.

# Prints the options of the command $1.
_krstream_options() {
    case $1 in
@options@    esac
}

# Prints what the value of the option $1 is; nothing for an option without one.
_krstream_value() {
    case $1 in
@values@    esac
}

# Prints what argument number $2 of the command $1 is.
_krstream_argument() {
    case $1:$2 in
    :*) echo command ;;
    *:1) echo file ;;
@arguments@    *) echo none ;;
    esac
}

# Prints the word $1 without its quotes. Nothing in it is expanded.
_krstream_unquoted() {
    local word=$1 plain='' quote='' c i
    for ((i = 0; i < ${#word}; i++)); do
        c=${word:i:1}
        case $quote$c in
        \' | \") quote=$c ;;
        \'\' | \"\") quote='' ;;
        \\ | \"\\)
            i=$((i + 1))
            plain+=${word:i:1}
            ;;
        *) plain+=$c ;;
        esac
    done
    printf '%s' "$plain"
}

# Gives each reply the form that it has in the line behind the quote $1, if there is one, so that
# nothing in it is expanded. What the shell itself would quote leaves out backquotes, dollar signs
# and tildes.
_krstream_quote() {
    local quoted c i k
    for k in "${!COMPREPLY[@]}"; do
        printf -v quoted %q "${COMPREPLY[k]}"
        if [[ $1 ]]; then
            quoted=''
            for ((i = 0; i < ${#COMPREPLY[k]}; i++)); do
                c=${COMPREPLY[k]:i:1}
                case $1$c in
                \'\') c="'\\''" ;;
                \"!) c='"\!"' ;;
                \"[\\\"\$\`]) c=\\$c ;;
                esac
                quoted+=$c
            done
        fi
        COMPREPLY[k]=$quoted
    done
}

# Completes the word $3 to names of entries of the file $2, by the program $1. Names with control
# characters are left out: nobody could see what stands in the line.
_krstream_entries() {
    local name
    while IFS= read -r -d '' name; do
        if [[ $name == "$3"* && $name != *[[:cntrl:]]* ]]; then
            COMPREPLY+=("$name")
        fi
    done < <("$1" list --null -- "$2" 2>/dev/null)
}

_krstream() {
    local words=() word last='' command='' values=() only_values='' i kind
    # Where the shell divides words at signs that names have, they are put together again, but not
    # an option and its value.
    for word in "${COMP_WORDS[@]:0:COMP_CWORD+1}"; do
        if ((${#words[@]} > 1)) && [[ $word == [:=@]* || $last == *[:=@] ]] &&
            [[ ${words[-1]} != -* && ${words[-1]} != = ]]; then
            words[-1]+=$word
        else
            words+=("$word")
        fi
        last=$word
    done
    local current=${words[-1]} before=${words[-2]}
    if [[ $current == = ]]; then
        current=''
    elif [[ $before == = ]]; then
        before=${words[-3]}
    fi
    # What stands in the line before the part that is replaced.
    local replaced=${COMP_WORDS[COMP_CWORD]} kept
    if [[ $replaced == [:=@]* ]]; then
        replaced=''
    fi
    kept=$(_krstream_unquoted "${current%"$replaced"}")
    for ((i = 1; i < ${#words[@]} - 1; i++)); do
        word=${words[i]}
        if [[ $only_values || $word != -?* ]]; then
            if [[ $command ]]; then
                values+=("$word")
            else
                command=$word
            fi
        elif [[ $word == -- ]]; then
            only_values=1
        elif [[ $(_krstream_value "$word") ]]; then
            i=$((i + 1))
            if [[ ${words[i]} == = ]]; then
                i=$((i + 1))
            fi
        fi
    done

    COMPREPLY=()
    current=$(_krstream_unquoted "$current")
    kind=''
    if [[ ! $only_values && $before == -* ]]; then
        kind=$(_krstream_value "$before")
    fi
    if [[ ! $kind && ! $only_values && $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(_krstream_options "$command")" -- "$current")
        return
    fi
    kind=${kind:-$(_krstream_argument "$command" $((${#values[@]} + 1)))}
    case $kind in
    file) return ;; # as for every other program
    command) mapfile -t COMPREPLY < <(compgen -W '@commands@' -- "$current") ;;
    folder)
        mapfile -t COMPREPLY < <(compgen -d -- "$current")
        compopt -o filenames 2>/dev/null
        ;;
    entry)
        local file
        file=$(_krstream_unquoted "${values[0]}")
        _krstream_entries "${COMP_WORDS[0]}" "${file/#\~\//$HOME/}" "$current"
        ;;
    generated) mapfile -t COMPREPLY < <(compgen -W 'man bash zsh' -- "$current") ;;
    esac
    compopt +o default +o bashdefault 2>/dev/null
    COMPREPLY=("${COMPREPLY[@]#"$kept"}")
    if [[ $kind == entry ]]; then
        local quote=${replaced:0:1}
        if [[ $quote != [\'\"] || ${replaced:1} == *$quote* ]]; then
            quote=''
        fi
        _krstream_quote "$quote"
    fi
}

complete -o default -o bashdefault -F _krstream krstream
)bash";

/// A line of a table: what is asked for, and the answer.
std::string Case(const std::string& pattern, const std::string& answer) {
    return "    " + pattern + ") echo '" + answer + "' ;;\n";
}

std::string Joined(const std::vector<std::string>& words, const std::string& between) {
    return CLI::detail::join(words, between);
}

std::string AllNames(const CLI::App& command) {
    std::vector<std::string> all;
    for (const CLI::Option* option : NamedOptions(command)) {
        for (const std::string& name : OptionNames(*option)) {
            all.push_back(name);
        }
    }
    return Joined(all, " ");
}

/// What kind of value the placeholder of an option stands for.
std::string KindOf(const std::string& placeholder) {
    if (placeholder == "DIR") {
        return "folder";
    }
    if (placeholder == "WHAT") {
        return "generated";
    }
    return placeholder == "NAME" ? "none" : "file";
}

std::string OptionTable(const CLI::App& app) {
    std::string table = Case("''", AllNames(app));
    for (const CommandText& text : CommandTexts()) {
        table += Case(text.Names(" | "), AllNames(*app.get_subcommand(text.name)));
    }
    return table;
}

std::string ValueTable(const CLI::App& app) {
    std::set<std::string> table;
    const auto add = [&table](const CLI::App& command) {
        for (const CLI::Option* option : NamedOptions(command)) {
            if (!option->get_type_name().empty()) {
                table.insert(
                    Case(Joined(OptionNames(*option), " | "), KindOf(option->get_type_name())));
            }
        }
    };
    add(app);
    for (const CommandText& text : CommandTexts()) {
        add(*app.get_subcommand(text.name));
    }
    return Joined({table.begin(), table.end()}, "");
}

std::string ArgumentTable(const CLI::App& app) {
    std::string table;
    for (const CommandText& text : CommandTexts()) {
        const std::string forms = ArgumentForms(*app.get_subcommand(text.name));
        if (forms != "FILE") {
            table += Case(text.Names(":* | ") + ":*",
                          forms.find("NAME") == std::string::npos ? "file" : "entry");
        }
    }
    return table;
}

std::string Commands() {
    std::vector<std::string> names;
    for (const CommandText& text : CommandTexts()) {
        names.emplace_back(text.name);
    }
    return Joined(names, " ");
}

} // namespace

std::string BashCompletion(const CLI::App& app) {
    std::string script = kBashScript;
    boost::replace_all(script, "@options@", OptionTable(app));
    boost::replace_all(script, "@values@", ValueTable(app));
    boost::replace_all(script, "@arguments@", ArgumentTable(app));
    boost::replace_all(script, "@commands@", Commands());
    return script;
}
