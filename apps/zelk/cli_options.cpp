// Options and help; see cli_options.h. CLI11 splits the arguments; cli_checks checks the values, so
// that every error has this program's one form.
#include "apps/zelk/cli_options.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <span>
#include <string_view>

#include "apps/zelk/cli_checks.h"
#include "apps/zelk/cli_option_groups.h"
#include "apps/zelk/drag_command.h"
#include "apps/zelk/overlay_command.h"
#include "apps/zelk/track_command.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace {

constexpr char const* kCommands = "render, params, project, overlay, drag or track";

/// As the parser takes them. `--explain` alone stands for its text form; only the words text and
/// json belong to it. `zelk help COMMAND` is `zelk COMMAND --help`.
std::vector<std::string> wordsOf(int argc, char const* const* argv) {
    std::vector<std::string> words;
    int first = 1;
    if (argc > 1 && std::string_view(argv[1]) == "help") {
        words.emplace_back("--help");
        if (argc > 2) words.insert(words.begin(), argv[2]);
        first = 3;
    }
    bool isOver = false;  // of the options
    for (int i = first; i < argc; ++i) {
        words.emplace_back(argv[i]);
        std::string const& word = words.back();
        isOver = isOver || word == "--";
        if (isOver) continue;
        // The parser would take the next word for the value.
        if (word.starts_with("--") && word.find('=') == word.size() - 1)
            throw UserError(ExitCode::kUsage, {word.substr(0, word.size() - 1), "no value after",
                                               word, "one value (see --help)"});
        if (word == "--motion-blur") {
            std::string const next = i + 1 < argc ? argv[i + 1] : "";
            bool const isCount = !next.empty() && parseNumber(next).has_value();
            words.back() += "=" + (isCount ? next : "on");
            i += isCount;
        }
        if (word != "--explain") continue;
        std::string const next = i + 1 < argc ? lowered(argv[i + 1]) : "";
        bool const isForm = next == "text" || next == "json";
        words.back() += "=" + (isForm ? next : "text");
        i += isForm;
    }
    return words;
}

/// A word as a shell takes it: in double quotes, unless all of it is plain.
std::string quoted(std::string const& word) {
    auto const isPlain = [](unsigned char c) {
        return std::isalnum(c) || c >= 0x80 || std::strchr("@%+=:,./_-", c) != nullptr;
    };
    if (!word.empty() && std::all_of(word.begin(), word.end(), isPlain)) return word;
    std::string text = "\"";
    for (char const c : word) {
        if (std::strchr("\"\\$`", c) != nullptr) text += '\\';
        text += c;
    }
    return text + "\"";
}

/// The command line as one line that can be given to a shell again.
std::string historyOf(int argc, char const* const* argv) {
    std::string line = "zelk";
    for (int i = 1; i < argc; ++i) line += " " + quoted(argv[i]);
    return oneLine(line);
}

/// Usage lines that show what a command cannot do without.
class Formatter : public CLI::Formatter {
public:
    std::string make_usage(CLI::App const* app, std::string) const override {
        std::string const name = app->get_parent() ? " " + app->get_name() : std::string();
        std::string const rest =
            name.empty()         ? " COMMAND ..."
            : name == " render"  ? " LAYER -o OUTPUT [OPTIONS]"
            : name == " project" ? " new|show|check|import-track FILE [OPTIONS]"
            : name == " overlay" ? " LAYER -o OUTPUT [OPTIONS]"
            : name == " track"   ? " FILE [OPTIONS]\n       zelk track convert IN OUT [OPTIONS]"
            : name == " drag"    ? " FILE --from X,Y --to X,Y [OPTIONS]"
                                 : " [OPTIONS]";
        return "Usage: zelk" + name + rest + "\n";
    }
};

/// The program, its commands and their options, bound to a record.
struct Grammar {
    CLI::App app{"Zelk Corner Pin: pins the corners of a picture.", "zelk"};
    CLI::App* render = nullptr;
    CLI::App* params = nullptr;
    CLI::App* project = nullptr;
    CLI::App* overlay = nullptr;
    CLI::App* drag = nullptr;
    CLI::App* track = nullptr;
    TypedOptions typed;
    std::optional<std::string> verb;  ///< of the project command

    Grammar() {
        app.set_version_flag("--version", "zelk " ZELK_VERSION, "Print the version and exit");
        render = app.add_subcommand("render", "Render one picture through the corner pin");
        addRenderOptions(*render, typed);
        params = app.add_subcommand("params", "List the effect's parameters");
        addParamsOptions(*params, typed);
        project =
            app.add_subcommand("project", "Make, show or check a project file, or track its pins");
        addProjectOptions(*project, typed, verb);
        overlay = app.add_subcommand("overlay", "Draw a frame with the effect's overlay on it");
        addOverlayOptions(*overlay, typed);
        drag = app.add_subcommand("drag", "Move a project's pins as the mouse would");
        addDragOptions(*drag, typed);
        track = app.add_subcommand("track", "Tell, draw or convert tracking data");
        addTrackOptions(*track, typed);
        app.footer(std::string("Examples:\n"
                               "  zelk render in.png -o out.png --to \"60,40 540,10 30,390 "
                               "580,350\"\n"
                               "  zelk params --json\n"
                               "\n") +
                   kExitCodesHelp);
        app.require_subcommand(0, 1);
        auto const formatter = std::make_shared<Formatter>();
        formatter->column_width(30);
        for (CLI::App* command : {&app, render, params, project, overlay, drag, track}) {
            command->set_help_flag("-h,--help", "Print this help and exit");
            command->allow_extras();
            command->formatter(formatter);
        }
    }
};

/// "an option of `zelk render`, such as the near "--quality"", or where none is near, its help.
std::string nearestOption(CLI::App const& command, std::string const& word) {
    std::vector<std::string> names;
    for (CLI::Option const* option : command.get_options()) {
        if (!option->get_lnames().empty()) names.push_back("--" + option->get_lnames()[0]);
    }
    std::vector<std::string_view> const views(names.begin(), names.end());
    std::string const full =
        command.get_parent() ? "zelk " + command.get_name() : command.get_name();
    std::string const near(nearestOf(views.data(), views.size(), word));
    if (2 * editDistance(near, lowered(word)) > static_cast<int>(word.size()))
        return "one that `" + full + " --help` lists";
    return "an option of `" + full + "`, such as the near \"" + near + "\"";
}

/// What a word that nothing takes was meant to be.
std::string meantBy(CLI::App const& command, std::string const& word, TypedOptions const& typed) {
    bool const isPoint = word.find(',') != word.npos && parseNumber(word.substr(0, word.find(',')));
    if (isPoint) return "corners in one pair of quotes, \"x,y x,y x,y x,y\"";
    bool const writesPicture = command.get_name() == "render" || command.get_name() == "overlay";
    if (writesPicture && !typed.output) return "-o before the output";
    return "what `zelk " + command.get_name() + " --help` lists";
}

/// Whatever no option took is an error; the first of it is named. The words may have a `--`, after
/// which there are no options.
void refuseExtras(Grammar const& grammar, std::span<char const* const> words) {
    for (std::string const& setting : grammar.typed.settings) requireAssignment(setting);
    CLI::App const* command = &grammar.app;
    std::vector<std::string> extras = grammar.app.remaining();  // also of a command without room
    for (CLI::App const* each : grammar.app.get_subcommands()) {
        command = each;
        auto const own = each->remaining();
        extras.insert(extras.begin(), own.begin(), own.end());
    }
    auto const end = std::find(words.begin(), words.end(), std::string_view("--"));
    if (end != words.end())
        extras.erase(std::remove(extras.begin(), extras.end(), "--"), extras.end());
    if (extras.empty()) return;
    std::string const& word = extras[0];
    bool const isBeforeEnd = std::find(words.begin(), end, word) != end;
    bool const isOption =
        isBeforeEnd && word.size() > 1 && word[0] == '-' && !parseNumber(word).has_value();
    if (isOption) {
        std::string const name = word.substr(0, word.find('='));
        throw UserError(ExitCode::kUsage, {command->get_name(), "unknown option", name,
                                           nearestOption(*command, name)});
    }
    if (command == &grammar.app)
        throw UserError(ExitCode::kUsage, {"COMMAND", "unknown command", word, kCommands});
    throw UserError(ExitCode::kUsage, {command->get_name(), "argument too many:", word,
                                       meantBy(*command, word, grammar.typed)});
}

/// CLI11 finds an option without its value or one given twice; its text starts with the option.
UserError asUserError(CLI::ParseError const& error) {
    std::string const text = error.what();
    auto const colon = text.find(':');
    std::string const thing = colon == std::string::npos ? "arguments" : text.substr(0, colon);
    bool const isMissing = text.find("missing") != std::string::npos;
    bool const isRepeated = text.find("At Most") != std::string::npos;
    std::string const expected = "one value (see --help)";
    if (isMissing) return {ExitCode::kUsage, {thing, "no value after", thing, expected}};
    if (isRepeated) return {ExitCode::kUsage, {thing, "more than one", thing, expected}};
    return {ExitCode::kUsage, {thing, "not understood:", text, expected}};
}

}  // namespace

CommandLine parseCommandLine(int argc, char const* const* argv) {
    Grammar grammar;
    CommandLine line;
    try {
        std::vector<std::string> words = wordsOf(argc, argv);
        std::reverse(words.begin(), words.end());  // as the parser takes them
        grammar.app.parse(words);
    } catch (CLI::CallForHelp const&) {
        if (std::string_view(argv[1]) == "help")
            refuseExtras(grammar, {argv, static_cast<std::size_t>(argc)});  // of what
        line.text = grammar.app.help() + "\n";
        return line;
    } catch (CLI::CallForVersion const&) {
        line.text = grammar.app.version() + "\n";
        return line;
    } catch (CLI::ParseError const& error) {
        throw asUserError(error);
    }
    refuseExtras(grammar, {argv, static_cast<std::size_t>(argc)});
    if (grammar.render->parsed()) {
        line.render = checkedRender(grammar.typed);
        line.render->history = historyOf(argc, argv);
    } else if (grammar.project->parsed()) {
        checkProjectCommand(grammar.typed, grammar.verb, line);
    } else if (grammar.overlay->parsed()) {
        line.overlay = std::make_shared<OverlayRequest const>(
            checkedOverlay(grammar.typed, historyOf(argc, argv)));
    } else if (grammar.drag->parsed()) {
        line.drag = std::make_shared<DragRequest const>(checkedDrag(grammar.typed));
    } else if (grammar.track->parsed()) {
        line.track = std::make_shared<TrackRequest const>(checkedTrack(grammar.typed));
    } else if (grammar.params->parsed()) {
        line.params = ParamsRequest{checkedModule(grammar.typed), grammar.typed.json,
                                    grammar.typed.resource, grammar.typed.module.has_value()};
    } else {
        throw UserError(ExitCode::kUsage, {"COMMAND", "not given,", "",
                                           std::string(kCommands) + " (see zelk --help)"});
    }
    return line;
}

}  // namespace zelk
