// Words to commands; see cli.h. CLI11 splits the arguments; commands check the values, so that
// every error has this program's one form.
#include "apps/zelk/cli.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <map>
#include <span>
#include <string_view>
#include <tuple>

#include "apps/zelk/command_page.h"
#include "apps/zelk/commands.h"
#include "apps/zelk/environment.h"
#include "apps/zelk/history.h"
#include "apps/zelk/version_text.h"
#include "apps/zelk/written_pages.h"
#include "zelk/files/standard_output.h"
#include "zelk/render/host_errors.h"
#include "zelk/render/scene_colors.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace {

constexpr char const* kExitCodesHelp =
    "Exit codes:\n"
    "  0  done\n"
    "  1  the render failed\n"
    "  2  usage: an option or a value is wrong\n"
    "  3  the layer, plate, project, tracking data or module is missing or unreadable\n"
    "  4  the output is not writable, or the disk is full\n"
    "  5  some frames failed, others are written\n"
    "  130  interrupted; what is written is whole";

/// An option whose value may be left out, and the word that then stands for it.
struct OptionalValue {
    std::string_view option;
    char const* byDefault;
    bool (*isValue)(std::string const& word);
};

constexpr OptionalValue kOptionalValues[] = {
    {"--motion-blur", "on", isMotionBlurText},
    {"--explain", "text", isExplainWord},
    {"--skip-existing", "whole", isSkipWord},
    {"--display-view", kDefaultView, isDisplayView},
};

/// As the parser takes them. `zelk help COMMAND` is `zelk COMMAND --help`.
std::vector<std::string> wordsOf(std::span<char const* const> argv) {
    std::vector<std::string> given(argv.begin() + 1, argv.end()), words;
    if (!given.empty() && given[0] == "help") {
        std::rotate(given.begin(), given.begin() + 1, given.end());
        given.back() = "--help";
    }
    bool isOver = false;  // of the options
    for (std::size_t i = 0; i < given.size(); ++i) {
        words.push_back(given[i]);
        std::string& word = words.back();
        isOver = isOver || word == "--";
        if (isOver) continue;
        // The parser would take the next word for the value.
        if (word.starts_with("--") && word.find('=') == word.size() - 1)
            throw UserError(ExitCode::kUsage, word.substr(0, word.size() - 1) + " has no value");
        for (OptionalValue const& optional : kOptionalValues) {
            if (word != optional.option) continue;
            bool const hasValue = i + 1 < given.size() && optional.isValue(given[i + 1]);
            word += "=" + (hasValue ? given[i + 1] : optional.byDefault);
            i += hasValue;
            break;
        }
    }
    return words;
}

/// "zelk", "zelk project new"
std::string fullName(CLI::App const& command) {
    CLI::App const* const parent = command.get_parent();
    return parent ? fullName(*parent) + " " + command.get_name() : command.get_name();
}

/// "project new"; the program's own name for itself.
std::string nameOf(CLI::App const& command) {
    std::string const full = fullName(command);
    return command.get_parent() ? full.substr(full.find(' ') + 1) : full;
}

/// "new, show, check or import-track"
std::string namesBelow(CLI::App const& command) {
    std::vector<std::string> names;
    for (CLI::App const* each : command.get_subcommands({})) names.push_back(each->get_name());
    std::vector<std::string_view> const views(names.begin(), names.end());
    return listOf(views);
}

/// Usage lines that show what a command can't do without.
class Formatter : public CLI::Formatter {
public:
    explicit Formatter(char const* usage) : m_usage(usage) { column_width(30); }
    std::string make_usage(CLI::App const* app, std::string) const override {
        return "Usage: " + fullName(*app) + " " + m_usage + "\n";
    }
    /// One blank line between groups, not two.
    std::string make_help(CLI::App const* app, std::string name,
                          CLI::AppFormatMode mode) const override {
        std::string text = CLI::Formatter::make_help(app, name, mode);
        for (auto at = text.find("\n\n\n"); at != text.npos; at = text.find("\n\n\n", at))
            text.erase(at, 1);
        return text;
    }
    /// Without the dots of what may come again: each time it takes one value.
    std::string make_option_opts(CLI::Option const* option) const override {
        std::string text = CLI::Formatter::make_option_opts(option);
        if (text.ends_with(" ...")) text.resize(text.size() - 4);
        return text;
    }

private:
    char const* m_usage;
};

/// Commands that do nothing by themselves, with their descriptions.
std::map<std::string, char const*> const kGroups = {
    {"project", "Make, show or check a project file, or track its pins"}};

/// One of each alternative.
template <class Variant>
struct TupleOf;
template <class... Each>
struct TupleOf<std::variant<Each...>> {
    using Type = std::tuple<Each...>;
};

/// The program and its commands, each bound to its words.
class Grammar {
public:
    Grammar() {
        m_app.set_version_flag("--version", "zelk " ZELK_VERSION, "Print the version and exit");
        m_verbose = m_app.add_flag("--verbose");
        m_verbose->description(
            "With --version: build, instruction set, libraries, module and hosts too");
        // Of the build, which makes manual pages and completion of it: in no group, so in no help.
        m_app.add_option("--write-pages", m_pages)->group("");
        m_app.footer(std::string("Examples:\n"
                                 "  zelk render in.png -o out.png --to \"60,40 540,10 30,390 "
                                 "580,350\"\n"
                                 "  zelk params --json\n"
                                 "\n"
                                 "`zelk help COMMAND` describes a command.\n"
                                 "\n") +
                     environmentHelp() + "\n" + kExitCodesHelp);
        dress(m_app, "COMMAND ...");
        std::apply([this](auto&... command) { (add(command), ...); }, m_commands);
    }

    CLI::App& app() { return m_app; }
    bool isVerbose() const { return m_verbose->count() > 0; }
    /// Where manual pages and completion are to be written; empty for nowhere.
    std::string const& pages() const { return m_pages; }
    /// The innermost command that was named; the program itself when none was.
    CLI::App const& named() const {
        CLI::App const* inner = &m_app;
        while (!inner->get_subcommands().empty()) inner = inner->get_subcommands().front();
        return *inner;
    }
    /// The command to be run. Throws a usage error where a group of commands was named, or nothing.
    Command chosen() const {
        CLI::App const* const app = &named();
        std::optional<Command> found;
        auto const take = [&](auto const& command) {
            if (m_apps.at(command.kInfo.path) == app) found.emplace(command);
        };
        std::apply([&](auto const&... command) { (take(command), ...); }, m_commands);
        if (found) return *std::move(found);
        throw missing(app == &m_app ? "the command" : "the command after `" + fullName(*app) + "`",
                      namesBelow(*app) + " (see " + fullName(*app) + " --help)");
    }

private:
    static void dress(CLI::App& app, char const* usage) {
        app.set_help_flag("-h,--help", "Print this help and exit");
        app.require_subcommand(0, 1);
        app.allow_extras();
        app.formatter(std::make_shared<Formatter>(usage));
    }

    template <class C>
    void add(C& command) {
        CommandInfo const& info = C::kInfo;
        std::string const path = info.path;
        auto const blank = path.find(' ');
        CLI::App& parent = blank == path.npos ? m_app : groupOf(path.substr(0, blank));
        CLI::App* const app = parent.add_subcommand(path.substr(blank + 1), info.description);
        m_apps[path] = app;
        command.addOptions(*app);
        app->footer(std::string(info.notes) + "\n" + kExitCodesHelp);
        dress(*app, info.usage);
    }

    /// A command that others are nested in; made where it does nothing by itself.
    CLI::App& groupOf(std::string const& name) {
        if (auto const found = m_apps.find(name); found != m_apps.end()) return *found->second;
        CLI::App* const app = m_app.add_subcommand(name, kGroups.at(name));
        m_apps[name] = app;
        app->footer("`zelk help " + name + " COMMAND` describes one of them.\n\n" + kExitCodesHelp);
        dress(*app, "COMMAND ...");
        return *app;
    }

    std::string m_pages;
    CLI::App m_app{"Zelk Corner Pin: pins the corners of a picture.", "zelk"};
    CLI::Option* m_verbose = nullptr;         ///< its value is bound too late for --version
    std::map<std::string, CLI::App*> m_apps;  ///< by path
    TupleOf<Command>::Type m_commands;
};

/// "an option of `zelk render`, such as the near "--quality"", or where none is near, its help.
std::string nearestOption(CLI::App const& command, std::string const& word) {
    std::vector<std::string> names;
    for (CLI::Option const* option : command.get_options()) {
        if (!option->get_lnames().empty() && !option->get_group().empty())
            names.push_back("--" + option->get_lnames()[0]);
    }
    std::vector<std::string_view> const views(names.begin(), names.end());
    std::string const near(nearestOf(views.data(), views.size(), word));
    if (2 * editDistance(near, lowered(word)) > static_cast<int>(word.size()))
        return "one that `" + fullName(command) + " --help` lists";
    return "an option of `" + fullName(command) + "`, such as \"" + near + "\"";
}

/// What a word that nothing takes was meant to be.
std::string meantBy(CLI::App const& command, std::string const& word,
                    std::span<char const* const> words) {
    std::vector<std::string_view> const typed(words.begin(), words.end());
    bool const isPoint = word.find(',') != word.npos && parseNumber(word.substr(0, word.find(',')));
    if (isPoint) return "corners in one pair of quotes, \"x,y x,y x,y x,y\"";
    CLI::Option const* const output = command.get_option_no_throw("--output");
    bool const isSetting = std::find(typed.begin(), typed.end(), "--set") != typed.end();
    if (isSetting && parseNumber(word)) return "NAME=VALUE in one word after --set";
    bool const writesPicture = output && command.get_option_no_throw("LAYER");
    if (writesPicture && output->count() == 0) return "-o before the output";
    if (!command.get_subcommands({}).empty())
        return "one file, or a command: " + namesBelow(command);
    std::string list;
    for (CLI::Option const* option : command.get_options())
        if (option->get_positional())
            list += (list.empty() ? "only " : " and ") + option->get_name();
    return list.empty() ? "options only" : list + " without an option's name";
}

/// Words of a nested command come after its name.
void refuseMisplaced(CLI::App const& command, std::span<char const* const> words) {
    CLI::App const* const outer = command.get_parent();
    if (!outer || !outer->get_parent()) return;
    auto const first = std::find(words.begin(), words.end(), std::string_view(outer->get_name()));
    if (first == words.end() || first[1] == command.get_name()) return;
    throw UserError(ExitCode::kUsage,
                    fmt::format("{} stands before \"{}\": put it behind, `{} ...`", first[1],
                                command.get_name(), fullName(command)));
}

/// Whatever no option took is an error; the first of it is named. The words may have a `--`, after
/// which there are no options.
void refuseExtras(Grammar& grammar, std::span<char const* const> words) {
    CLI::App const& command = grammar.named();
    refuseMisplaced(command, words);
    std::vector<std::string> extras = grammar.app().remaining(true);
    auto const end = std::find(words.begin(), words.end(), std::string_view("--"));
    if (end != words.end())
        extras.erase(std::remove(extras.begin(), extras.end(), "--"), extras.end());
    if (extras.empty()) return;
    // A command's own words come before those that it leaves to the commands around it.
    auto const own = command.remaining();
    std::string const& word = own.empty() || own[0] == "--" ? extras[0] : own[0];
    bool const isBeforeEnd = std::find(words.begin(), end, word) != end;
    bool const isOption =
        isBeforeEnd && word.size() > 1 && word[0] == '-' && !parseNumber(word).has_value();
    if (isOption) {
        std::string const name = word.substr(0, word.find('='));
        throw UserError(ExitCode::kUsage,
                        fmt::format("{}unknown option \"{}\", expected {}",
                                    command.get_parent() ? nameOf(command) + ": " : "", name,
                                    nearestOption(command, name)));
    }
    bool const isGroup =
        command.get_option_no_throw("FILE") == nullptr && !command.get_subcommands({}).empty();
    if (isGroup)
        throw UserError(ExitCode::kUsage,
                        fmt::format("{}unknown command \"{}\", expected {}",
                                    command.get_parent() ? nameOf(command) + ": " : "", word,
                                    namesBelow(command)));
    throw UserError(ExitCode::kUsage, {nameOf(command), "one argument too many:", word,
                                       meantBy(command, word, words)});
}

/// CLI11 finds an option without its value or one given twice; its text starts with the option.
UserError asUserError(CLI::ParseError const& error) {
    std::string const text = error.what();
    auto const colon = text.find(':');
    std::string const thing = colon == std::string::npos ? "arguments" : text.substr(0, colon);
    bool const isMissing = text.find("missing") != std::string::npos;
    bool const isRepeated = text.find("At Most") != std::string::npos;
    if (isMissing) return {ExitCode::kUsage, thing + " has no value"};
    if (isRepeated) return {ExitCode::kUsage, thing + " is given more than once"};
    return {ExitCode::kUsage, {thing, "not understood:", text, ""}};
}

/// Throws UserError for the first thing that is wrong.
ExitCode runCommandLine(std::span<char const* const> given) {
    Grammar grammar;
    try {
        std::vector<std::string> words = wordsOf(given);
        std::reverse(words.begin(), words.end());  // as the parser takes them
        grammar.app().parse(words);
    } catch (CLI::CallForHelp const&) {
        if (std::string_view(given[1]) == "help") refuseExtras(grammar, given);  // of what
        print(grammar.app().help() + "\n");
        return ExitCode::kDone;
    } catch (CLI::CallForVersion const&) {
        print(grammar.isVerbose() ? versionText() : grammar.app().version() + "\n");
        return ExitCode::kDone;
    } catch (CLI::ParseError const& error) {
        throw asUserError(error);
    }
    refuseExtras(grammar, given);
    if (!grammar.pages().empty()) {
        writePages(pageOf(grammar.app()), grammar.pages());
        return ExitCode::kDone;
    }
    if (grammar.isVerbose() && &grammar.named() == &grammar.app())
        throw UserError(ExitCode::kUsage, "--verbose goes with --version");
    Command command = grammar.chosen();
    auto const run = [&](auto& chosen) {
        return chosen.run({historyOf(given.subspan(1)), {given.begin() + 1, given.end()}});
    };
    return withUserErrors([&] { return std::visit(run, command); });
}

}  // namespace

int runProgram(int argc, char const* const* argv) {
    ExitCode code = ExitCode::kRenderFailed;
    try {
        code = runCommandLine({argv, static_cast<std::size_t>(argc)});
    } catch (UserError const& error) {
        code = error.code();
        std::fprintf(stderr, "zelk: %s\n", error.what());
    } catch (std::exception const& error) {
        std::fprintf(stderr, "zelk: internal error: %s\n", oneLine(error.what()).c_str());
    }
    return static_cast<int>(code);
}

}  // namespace zelk
