// The scripts; see completion.h.
#include "apps/zelk/completion.h"

#include <fmt/format.h>

#include <algorithm>

#include "zelk/render/load_module.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/parameter_values.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace {

/// In single quotes, as bash and zsh read them.
std::string quoted(std::string const& text) { return "'" + replaced(text, "'", "'\\''") + "'"; }

std::string joined(std::vector<std::string> const& words) {
    return fmt::format("{}", fmt::join(words, " "));
}

/// "'zelk render' | 'zelk params'": all commands but the program itself.
std::string commandPatterns(CommandPage const& program, char const* between) {
    std::string text;
    for (CommandPage const* page : allPages(program))
        if (page != &program) text += (text.empty() ? "" : between) + quoted(page->name());
    return text;
}

/// "quality= rotate="
std::string settingNames(Parameters const& parameters) {
    std::vector<std::string> names;
    for (SettableParameter const& each : parameters) names.push_back(each.name + "=");
    return joined(names);
}

/// "quality=low quality=medium"
std::string settingValues(Parameters const& parameters) {
    std::vector<std::string> values;
    for (SettableParameter const& each : parameters)
        for (std::string const& entry : each.entries) values.push_back(each.name + "=" + entry);
    return joined(values);
}

std::string replacedAll(std::string text, std::vector<std::pair<char const*, std::string>> marks) {
    for (auto const& [mark, with] : marks) text = replaced(std::move(text), mark, with);
    return text;
}

// ---- bash

constexpr char const* kBash =
    R"(# Completion of zelk for bash; made by the program from the table of its help.
_zelk() {
    # Readline sets "=" and ":" apart: such words are joined again.
    local words=() i word
    for ((i = 0; i <= COMP_CWORD; ++i)); do
        word=${COMP_WORDS[i]}
        if ((i > 1)) && [[ $word == [=:] || ${COMP_WORDS[i - 1]} == [=:] ]]; then
            words[${#words[@]} - 1]+=$word
        else
            words+=("$word")
        fi
    done
    local last=$((${#words[@]} - 1)) command=zelk
    for ((i = 1; i < last; ++i)); do
        ((i == 1)) && [[ ${words[1]} == help ]] && continue
        case "$command ${words[i]}" in
            @COMMANDS@) command+=" ${words[i]}" ;;
            *) break ;;
        esac
    done
    local cur=${words[last]} option=${words[last - 1]} kept=
    if [[ $cur == --*=* ]]; then
        option=${cur%%=*}
        kept=$option=
        cur=${cur#*=}
    fi
    local options= below= rest= kind= list= mayStandAlone=
    case $command in
@TABLE@
    esac
    ((i < last)) && below=
    [[ ${words[1]} == help ]] && ((last > 1)) && options= rest= kind=
    if [[ -z $kind || (-n $mayStandAlone && -z $kept && $cur == -*) ]]; then
        kind=words list="$below $rest"
        if [[ $cur == -* ]]; then
            list=$options
        elif [[ $rest == @files ]]; then
            kind=files list=$below
        fi
    fi
    COMPREPLY=()
    case $kind in
        settings)
            list='@NAMES@'
            [[ $cur == *=* ]] && list='@VALUES@'
            ;;
        files)
            mapfile -t COMPREPLY < <(compgen -f -- "$cur")
            compopt -o filenames 2>/dev/null
            # What is typed in quotes is the shell's own to read.
            ((${#COMPREPLY[@]})) || compopt -o default 2>/dev/null
            ;;
    esac
    local found
    mapfile -t found < <(compgen -W "$list" -- "$cur")
    COMPREPLY+=("${found[@]}")
    if [[ ${#found[@]} -gt 0 && ${found[0]} == *= ]]; then compopt -o nospace 2>/dev/null; fi
    # Readline keeps what stands before its own last break.
    local breaks=${COMP_WORDBREAKS//[^=:]/}
    if [[ -n $breaks && $cur == *[$breaks]* ]]; then
        COMPREPLY=("${COMPREPLY[@]#"${cur%"${cur##*[$breaks]}"}"}")
    elif [[ -n $kept && $COMP_WORDBREAKS != *=* ]]; then
        COMPREPLY=("${COMPREPLY[@]/#/$kept}")
    fi
}
complete -F _zelk zelk
)";

std::string bashValue(OptionPage const& option) {
    std::string text;
    if (option.takesSetting())
        text = "kind=settings";
    else if (option.takesFile())
        text = "kind=files";
    else
        text = "kind=words list=" + quoted(joined(option.words));
    return text + (option.mayLeaveValueOut() ? " mayStandAlone=yes" : "");
}

std::string bashCommand(CommandPage const& page) {
    std::string text = "        " + quoted(page.name()) + ")\n", arms;
    std::vector<std::string> names, below;
    for (CommandPage const& each : page.below) below.push_back(each.path.back());
    if (page.path.size() == 1) below.push_back("help");
    for (OptionPage const& option : page.options()) {
        if (option.isPositional) {
            text += "            rest=" +
                    (option.words.empty() ? "@files" : quoted(joined(option.words))) + "\n";
            continue;
        }
        names.insert(names.end(), option.names.begin(), option.names.end());
        if (option.takesValue())
            arms += fmt::format("                {}) {} ;;\n", fmt::join(option.names, " | "),
                                bashValue(option));
    }
    text += "            options=" + quoted(joined(names)) + "\n";
    if (!below.empty()) text += "            below=" + quoted(joined(below)) + "\n";
    if (!arms.empty()) text += "            case $option in\n" + arms + "            esac\n";
    return text + "            ;;\n";
}

// ---- zsh

constexpr char const* kZsh = R"(#compdef zelk
# Completion of zelk for zsh; made by the program from the table of its help.

_zelk_settings() {
  local -A entries
  entries=(@ENTRIES@)
  if compset -P 1 '*='; then
    local name=${${IPREFIX%=}##*=}
    compadd -- ${=entries[$name]}
  else
    compadd -S = -- @NAMES@
  fi
}
)";

/// Within an option of _arguments.
std::string zshText(std::string text) {
    for (char const* special : {"\\", "[", "]", ":"})
        text = replaced(std::move(text), special, std::string("\\") + special);
    return text;
}

std::string zshAction(OptionPage const& option) {
    if (option.takesSetting()) return "_zelk_settings";
    if (option.takesFile()) return "_files";
    return option.words.empty() ? " " : "(" + joined(option.words) + ")";
}

std::string zshOption(OptionPage const& option, std::size_t place) {
    std::string const action = zshAction(option);
    if (option.isPositional)
        return quoted(fmt::format("{}:{}:{}", option.isRepeated ? "*" : std::to_string(place),
                                  option.names[0], action));
    std::vector<std::string> names = option.names;
    // A value that may be left out comes after "=" alone, any other as the next word too.
    for (std::string& name : names)
        if (option.takesValue() && name.starts_with("--"))
            name += option.mayLeaveValueOut() ? "=-" : "=";
    std::string text = quoted("[" + zshText(option.help) + "]");
    if (option.takesValue())
        text +=
            quoted((option.mayLeaveValueOut() ? "::" : ":") + zshText(option.value) + ":" + action);
    if (option.isRepeated) return "'*'" + names[0] + text;
    std::string const excluded = "'(" + joined(option.names) + ")'";
    if (names.size() == 1) return excluded + names[0] + text;
    return excluded + fmt::format("{{{}}}", fmt::join(names, ",")) + text;
}

std::string zshFunction(CommandPage const& page) {
    return "_" + replaced(page.name("_"), "-", "_");
}

std::string zshCommand(CommandPage const& page) {
    bool const isProgram = page.path.size() == 1;
    std::string text = "\n" + zshFunction(page) + "() {\n", below, arms;
    for (CommandPage const& each : page.below) {
        below += "    " + quoted(each.path.back() + ":" + zshText(each.description)) + "\n";
        arms += fmt::format("      {}) shift words; (( CURRENT-- )); {}; return ;;\n",
                            each.path.back(), zshFunction(each));
    }
    if (isProgram) {
        below += "    'help:Describe a command'\n";
        arms += "      help) shift words; (( CURRENT-- )); _zelk; return ;;\n";
    }
    if (!below.empty())
        text += "  local -a below\n  below=(\n" + below +
                "  )\n  if (( CURRENT > 2 )); then\n    case $words[2] in\n" + arms +
                "    esac\n  elif [[ $words[2] != -* ]]; then\n    _describe -t commands command "
                "below\n" +
                (page.positionals.empty() ? "" : "    _files\n") + "    return\n  fi\n";
    text += "  _arguments -S";
    std::size_t place = 0;
    for (OptionPage const& option : page.options())
        text += " \\\n    " + zshOption(option, option.isPositional ? ++place : 0);
    return text + "\n}\n";
}

// ---- fish

constexpr char const* kFish =
    R"(# Completion of zelk for fish; made by the program from the table of its help.
function __zelk_is
    set -l words (commandline -opc)
    set -e words[1]
    test "$words[1]" = help; and set -e words[1]
    set -l command zelk
    for word in $words
        switch "$command $word"
            case @COMMANDS@
                set command "$command $word"
            case '*'
                break
        end
    end
    test "$command" = "$argv[1]"
end
function __zelk_has_value
    string match -q -- '--*=*' (commandline -ct)
end
complete -c zelk -f
complete -c zelk -n '__zelk_is zelk' -a help -d 'Describe a command'
)";

/// In single quotes, as fish reads them.
std::string fishQuoted(std::string const& text) {
    return "'" + replaced(replaced(text, "\\", "\\\\"), "'", "\\'") + "'";
}

std::string fishLine(CommandPage const& page, std::string const& rest,
                     std::string const& condition = "") {
    return "complete -c zelk -n " + fishQuoted("__zelk_is " + fishQuoted(page.name()) + condition) +
           rest + "\n";
}

std::string fishOption(CommandPage const& page, OptionPage const& option,
                       Parameters const& parameters) {
    std::string rest;
    for (std::string const& name : option.names) {
        if (option.isPositional) continue;
        bool const isLong = name.starts_with("--");
        rest += (isLong ? " -l " : " -s ") + name.substr(isLong ? 2 : 1);
    }
    std::string words = joined(option.words);
    if (option.takesSetting()) words = settingNames(parameters) + " " + settingValues(parameters);
    std::string const help = option.isPositional ? "" : " -d " + fishQuoted(option.help);
    std::string const offered = (words.empty() ? "" : " -a " + fishQuoted(words)) + help;
    if (option.isPositional) return fishLine(page, rest + (words.empty() ? " -F" : "") + offered);
    if (!option.takesValue()) return fishLine(page, rest + help);
    if (option.takesFile()) return fishLine(page, rest + " -r -F" + offered);
    if (!option.mayLeaveValueOut()) return fishLine(page, rest + " -x" + offered);
    // A value that may be left out is no reason to offer nothing else, unless "=" has begun it.
    return fishLine(page, rest + " -f" + help, "; and not __zelk_has_value") +
           fishLine(page, rest + " -x" + offered, "; and __zelk_has_value");
}

}  // namespace

Parameters settableParameters() {
    auto const host = loadModule(Scene());
    Parameters all;
    for (Parameter const& parameter : host->parameters()) {
        if (!parameter.hasValue()) continue;
        SettableParameter settable{std::string(nameOfParameter(parameter.index)), {}};
        if (parameter.type() == PF_Param_CHECKBOX) settable.entries = {"on", "off"};
        for (std::string const& choice : parameter.choices)
            if (!isSeparator(choice))
                settable.entries.push_back(replaced(lowered(choice), " ", "-"));
        all.push_back(std::move(settable));
    }
    return all;
}

std::string bashCompletion(CommandPage const& program, Parameters const& parameters) {
    std::string table;
    for (CommandPage const* page : allPages(program)) table += bashCommand(*page);
    table.pop_back();
    return replacedAll(kBash, {{"@COMMANDS@", commandPatterns(program, " | ")},
                               {"@TABLE@", table},
                               {"@NAMES@", settingNames(parameters)},
                               {"@VALUES@", settingValues(parameters)}});
}

std::string zshCompletion(CommandPage const& program, Parameters const& parameters) {
    std::string entries;
    std::vector<std::string> names;
    for (SettableParameter const& each : parameters) {
        names.push_back(each.name);
        if (!each.entries.empty())
            entries += fmt::format("\n    {} {}", each.name, quoted(joined(each.entries)));
    }
    std::string text = replacedAll(kZsh, {{"@ENTRIES@", entries}, {"@NAMES@", joined(names)}});
    for (CommandPage const* page : allPages(program)) text += zshCommand(*page);
    return text + "\n_zelk \"$@\"\n";
}

std::string fishCompletion(CommandPage const& program, Parameters const& parameters) {
    std::string text = replacedAll(kFish, {{"@COMMANDS@", commandPatterns(program, " ")}});
    for (CommandPage const* page : allPages(program)) {
        for (CommandPage const& each : page->below)
            text +=
                fishLine(*page, " -a " + each.path.back() + " -d " + fishQuoted(each.description));
        for (OptionPage const& option : page->options())
            text += fishOption(*page, option, parameters);
    }
    return text;
}

}  // namespace zelk
