#include "manual.h"

#include "commandLine.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace Stratum::tools {

namespace {

using Apps = std::vector<const CLI::App*>;
using Options = std::vector<const CLI::Option*>;

// Subcommands have names, option groups have none.
Apps subcommandsOf(const CLI::App& app, bool named) {
    return app.get_subcommands(
        [named](const CLI::App* sub) { return sub->get_name().empty() != named; });
}

// All options that --help shows, those of option groups too.
Options optionsOf(const CLI::App& app) {
    Options options =
        app.get_options([](const CLI::Option* option) { return !option->get_group().empty(); });
    for (const CLI::App* group : subcommandsOf(app, false)) {
        const Options more = optionsOf(*group);
        options.insert(options.end(), more.begin(), more.end());
    }
    // A group gives its own --help again.
    Options unique;
    for (const CLI::Option* option : options)
        if (std::ranges::none_of(unique, [&](const CLI::Option* other) {
                return other->get_name(true, true) == option->get_name(true, true);
            }))
            unique.push_back(option);
    return unique;
}

std::string joined(const std::vector<std::string>& words, const char* separator) {
    std::string text;
    for (const auto& word : words)
        (text += text.empty() ? "" : separator) += word;
    return text;
}

// The values between the braces of a type such as "TEXT:{linear,cubic-c0}".
std::string enumerated(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    const auto open = type.find('{'), close = type.rfind('}');
    if (open == std::string::npos || close == std::string::npos || close < open)
        return {};
    std::string values = type.substr(open + 1, close - open - 1);
    std::ranges::replace(values, ',', ' ');
    return values;
}

std::vector<std::string> namesOf(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const auto& name : option.get_snames())
        names.push_back("-" + name);
    for (const auto& name : option.get_lnames())
        names.push_back("--" + name);
    return names;
}

// Text as roff shows it: nothing in it is a request, and a hyphen can be copied as an option's.
std::string roff(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (c == '\\')
            result += "\\e";
        else if (c == '-')
            result += "\\-";
        else if ((c == '.' || c == '\'') && (result.empty() || result.back() == '\n'))
            (result += "\\&") += c;
        else
            result += c;
    }
    return result;
}

std::string sentence(std::string text) {
    if (!text.empty() && text.back() != '.')
        text += '.';
    return text;
}

std::string describe(const CLI::Option& option) {
    const bool takesValue = option.get_items_expected_max() > 0;
    std::string text = ".TP\n";
    if (option.get_positional())
        text += "\\fI" + roff(option.get_name(true)) + "\\fR\n";
    else
        text += "\\fB" + roff(joined(namesOf(option), ", ")) + "\\fR" +
                (takesValue ? " \\fI" + roff(option.get_type_name()) + "\\fR" : std::string()) +
                "\n";
    text += roff(sentence(option.get_description())) + "\n";
    if (!option.get_default_str().empty())
        text += "Default: " + roff(sentence(option.get_default_str())) + "\n";
    return text;
}

std::string allNames(const CLI::App& app) {
    std::vector<std::string> words;
    for (const CLI::Option* option : optionsOf(app))
        for (const auto& name : namesOf(*option))
            words.push_back(name);
    return joined(words, " ");
}

// The arms of a case over the word before: what may follow it.
std::string valueCases(const CLI::App& command) {
    std::string text;
    for (const CLI::Option* option : optionsOf(command)) {
        const std::string values = enumerated(*option);
        if (values.empty())
            continue;
        std::vector<std::string> patterns;
        for (const auto& name : namesOf(*option))
            patterns.push_back("'" + command.get_name() + " " + name + "'");
        text += "    " + joined(patterns, "|") + ") values='" + values + "' ;;\n";
    }
    return text;
}

} // namespace

std::string manualPage(const CLI::App& app) {
    std::string text = std::string(".TH STRATUM 1 \"\" \"stratum ") + kVersion +
                       "\" \"User Commands\"\n.SH NAME\nstratum \\- " +
                       roff(app.get_description()) +
                       "\n.SH SYNOPSIS\n.B stratum\n\\fICOMMAND\\fR [\\fIOPTION\\fR]...\n"
                       ".SH OPTIONS\n";
    for (const CLI::Option* option : optionsOf(app))
        text += describe(*option);
    text += ".SH COMMANDS\n";
    for (const CLI::App* command : subcommandsOf(app, true)) {
        text += ".SS stratum " + roff(command->get_name()) + "\n" +
                roff(sentence(command->get_description())) + "\n";
        for (const CLI::Option* option : optionsOf(*command))
            text += describe(*option);
        text += ".PP\n" + roff(command->get_footer()) + "\n";
    }
    return text + ".SH EXIT STATUS\n0 when all is done, 1 when that failed, 2 for a wrong call, "
                  "130 when interrupted.\n.SH ENVIRONMENT\n.TP\n.B NO_COLOR\nNo colours on the "
                  "terminal when set.\n";
}

std::string bashCompletion(const CLI::App& app) {
    std::vector<std::string> commands;
    std::string options, values;
    for (const CLI::App* command : subcommandsOf(app, true)) {
        commands.push_back(command->get_name());
        options += "    " + command->get_name() + ") words='" + allNames(*command) + "' ;;\n";
        values += valueCases(*command);
    }
    return "# Completion of stratum for bash.\n"
           "_stratum() {\n"
           "    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}\n"
           "    local command='' words='' values='' word\n"
           "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
           "        case $word in " +
           joined(commands, "|") +
           ") command=$word; break ;; esac\n"
           "    done\n"
           "    case \"$command $prev\" in\n" +
           values +
           "    esac\n"
           "    case $command in\n"
           "    '') words='" +
           joined(commands, " ") + " " + allNames(app) + "' ;;\n" + options +
           "    esac\n"
           "    if [[ -n $values ]]; then\n"
           "        mapfile -t COMPREPLY < <(compgen -W \"$values\" -- \"$cur\")\n"
           "    elif [[ -z $command || $cur == -* ]]; then\n"
           "        mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$cur\")\n"
           "    else\n"
           "        mapfile -t COMPREPLY < <(compgen -f -- \"$cur\")\n"
           "        compopt -o filenames 2>/dev/null\n"
           "    fi\n"
           "}\n"
           "complete -F _stratum stratum\n";
}

} // namespace Stratum::tools
