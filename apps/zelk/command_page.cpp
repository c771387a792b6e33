// The parser's tree, read; see command_page.h.
#include "apps/zelk/command_page.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>
#include <string_view>

#include "apps/zelk/option_adder.h"

namespace zelk {

namespace {

/// What values that are files are called in help.
constexpr std::string_view kFileValues[] = {"FILE",    "FILE[:CHANNEL]", "PATH",
                                            "PICTURE", "PLATE",          "OUTPUT"};

/// "zelk project new FILE [OPTIONS]" of "Usage: ...".
std::string usageOf(CLI::App const& command) {
    auto const& formatter = dynamic_cast<CLI::Formatter const&>(*command.get_formatter());
    std::string const line = formatter.make_usage(&command, "");
    auto const start = line.find(' ') + 1;
    return line.substr(start, line.find('\n') - start);
}

OptionPage optionPageOf(CLI::Option& option) {
    OptionPage page;
    page.isPositional = option.get_positional();
    if (page.isPositional) page.names = {option.get_name()};
    for (std::string const& name : option.get_snames()) page.names.push_back("-" + name);
    for (std::string const& name : option.get_lnames()) page.names.push_back("--" + name);
    bool const isFlag = option.get_items_expected_max() == 0;
    if (!isFlag) page.value = option.get_type_name();
    page.isRepeated = option.get_expected_max() > 1;
    page.help = replaced(option.get_description(), "\n", " ");
    if (!isFlag) page.words = offeredWords(option);
    return page;
}

}  // namespace

bool OptionPage::takesFile() const {
    if (isPositional) return words.empty();
    return std::find(std::begin(kFileValues), std::end(kFileValues), value) !=
           std::end(kFileValues);
}

std::string CommandPage::name(char const* between) const {
    return fmt::format("{}", fmt::join(path, between));
}

std::vector<OptionPage> CommandPage::options() const {
    std::vector<OptionPage> all = positionals;
    for (OptionGroup const& group : groups)
        all.insert(all.end(), group.options.begin(), group.options.end());
    return all;
}

CommandPage pageOf(CLI::App& command) {
    CommandPage page;
    for (CLI::App* each = &command; each; each = each->get_parent())
        page.path.insert(page.path.begin(), each->get_name());
    page.description = command.get_description();
    if (page.description.ends_with('.')) page.description.pop_back();
    page.usage = usageOf(command);
    page.notes = command.get_footer();
    for (std::string const& title : command.get_groups()) {
        OptionGroup group{title, {}};
        for (CLI::Option* option : command.get_options()) {
            if (title.empty() || option->get_group() != title) continue;
            bool const isPositional = option->get_positional();
            (isPositional ? page.positionals : group.options).push_back(optionPageOf(*option));
        }
        if (!group.options.empty()) page.groups.push_back(std::move(group));
    }
    for (CLI::App* each : command.get_subcommands([](CLI::App*) { return true; }))
        page.below.push_back(pageOf(*each));
    return page;
}

std::vector<CommandPage const*> allPages(CommandPage const& page) {
    std::vector<CommandPage const*> pages = {&page};
    for (CommandPage const& each : page.below)
        for (CommandPage const* inner : allPages(each)) pages.push_back(inner);
    return pages;
}

std::string replaced(std::string text, std::string_view from, std::string_view to) {
    for (auto at = text.find(from); at != text.npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

}  // namespace zelk
