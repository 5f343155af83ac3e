#include "tests/support/Matches.h"

#include <stdexcept>

#include <regex.h>

namespace {

class Expression {
public:
    explicit Expression(const std::string& pattern) {
        if (regcomp(&compiled_, pattern.c_str(), REG_EXTENDED | REG_NEWLINE) != 0) {
            throw std::invalid_argument(pattern);
        }
    }
    ~Expression() { regfree(&compiled_); }
    Expression(const Expression&) = delete;
    Expression& operator=(const Expression&) = delete;

    /// Where the first match at or behind `from` and its groups lie; none when there is no further.
    std::vector<regmatch_t> FindIn(const std::string& text, std::size_t from) const {
        std::vector<regmatch_t> places(compiled_.re_nsub + 1);
        places[0].rm_so = static_cast<regoff_t>(from);
        places[0].rm_eo = static_cast<regoff_t>(text.size());
        const int atLineStart = from == 0 || text[from - 1] == '\n' ? 0 : REG_NOTBOL;
        const bool found = regexec(&compiled_, text.c_str(), places.size(), places.data(),
                                   REG_STARTEND | atLineStart) == 0;
        return found ? places : std::vector<regmatch_t>();
    }

private:
    regex_t compiled_;
};

Match Groups(const std::string& text, const std::vector<regmatch_t>& places) {
    Match match;
    for (const regmatch_t& place : places) {
        match.push_back(place.rm_so < 0
                            ? ""
                            : text.substr(static_cast<std::size_t>(place.rm_so),
                                          static_cast<std::size_t>(place.rm_eo - place.rm_so)));
    }
    return match;
}

} // namespace

std::vector<Match> AllMatches(const std::string& text, const std::string& pattern) {
    const Expression expression(pattern);
    std::vector<Match> matches;
    for (std::size_t at = 0; at <= text.size();) {
        const std::vector<regmatch_t> places = expression.FindIn(text, at);
        if (places.empty()) {
            break;
        }
        matches.push_back(Groups(text, places));
        at = static_cast<std::size_t>(places[0].rm_eo) + (matches.back()[0].empty() ? 1 : 0);
    }
    return matches;
}
