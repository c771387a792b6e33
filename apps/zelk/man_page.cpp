// A page's sections, from the records of its help; see man_page.h.
#include "apps/zelk/man_page.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <sstream>

#include "zelk/text/numbers.h"

namespace zelk {

namespace {

/// One line as the formatter prints it: a hyphen that can be copied, no macro, no escape.
std::string plain(std::string const& line) {
    std::string text = replaced(replaced(line, "\\", "\\e"), "-", "\\-");
    return text.starts_with('.') || text.starts_with('\'') ? "\\&" + text : text;
}

std::string bold(std::string const& word) { return "\\fB" + plain(word) + "\\fR"; }

std::vector<std::string> linesOf(std::string const& text) {
    std::istringstream in(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

/// Blocks of the notes that have a section of their own, by the words that they start with.
struct NotesSection {
    std::string_view start;
    char const* title;
};
constexpr NotesSection kNotesSections[] = {
    {"Examples:", "EXAMPLES"}, {"Exit codes:", "EXIT STATUS"}, {"Environment", "ENVIRONMENT"}};

NotesSection const* sectionOf(std::string const& block) {
    auto const found =
        std::find_if(std::begin(kNotesSections), std::end(kNotesSections),
                     [&](NotesSection const& each) { return block.starts_with(each.start); });
    return found == std::end(kNotesSections) ? nullptr : found;
}

/// What stands between blank lines.
std::vector<std::string> blocksOf(std::string const& notes) {
    std::vector<std::string> blocks = {""};
    for (std::string const& line : linesOf(notes)) {
        bool const startsBlock = line.empty() || sectionOf(line) != nullptr;
        if (startsBlock && !blocks.back().empty()) blocks.emplace_back();
        if (!line.empty()) blocks.back() += line + "\n";
    }
    if (blocks.back().empty()) blocks.pop_back();
    return blocks;
}

/// Lines as they are, without the first and without their indentation of two.
std::string literal(std::string const& block) {
    std::string text = ".EX\n";
    std::vector<std::string> const lines = linesOf(block);
    for (auto line = lines.begin() + 1; line != lines.end(); ++line)
        text += plain(line->starts_with("  ") ? line->substr(2) : *line) + "\n";
    return text + ".EE\n";
}

std::string flowing(std::string const& block) {
    std::string text;
    for (std::string const& line : linesOf(block)) text += plain(std::string(trimmed(line))) + "\n";
    return text;
}

std::string term(std::string const& head, std::string const& body) {
    return ".TP\n" + head + "\n" + plain(body) + "\n";
}

std::string optionTerm(OptionPage const& option) {
    std::string head;
    for (std::string const& name : option.names)
        head += (head.empty() ? "" : ", ") +
                (option.isPositional ? "\\fI" + plain(name) + "\\fR" : bold(name));
    if (!option.value.empty()) head += " \\fI" + plain(option.value) + "\\fR";
    return term(head, option.help);
}

std::string describedIn(CommandPage const& page) {
    std::string text = ".SH DESCRIPTION\n" + plain(page.description) + ".\n";
    for (std::string const& block : blocksOf(page.notes))
        if (!sectionOf(block)) text += ".PP\n" + flowing(block);
    return text;
}

std::string commandsIn(CommandPage const& page) {
    if (page.below.empty()) return "";
    std::string text = ".SH COMMANDS\n";
    for (CommandPage const& each : page.below)
        text += term(bold(each.path.back()), each.description + ".");
    return text;
}

std::string optionsIn(CommandPage const& page) {
    std::string text = ".SH OPTIONS\n";
    for (OptionPage const& each : page.positionals) text += optionTerm(each);
    for (OptionGroup const& group : page.groups) {
        text += ".SS " + group.title + "\n";
        for (OptionPage const& each : group.options) text += optionTerm(each);
    }
    return text;
}

/// The pages around this one, in the order of the program's help.
std::string seeAlso(CommandPage const& page, CommandPage const& program) {
    std::string text = ".SH SEE ALSO\n";
    std::vector<std::string> names;
    for (CommandPage const* each : allPages(program))
        if (each->path != page.path) names.push_back(plain(each->name("-")));
    std::sort(names.begin(), names.end());
    for (std::string const& name : names)
        text += ".BR " + name + " (1)" + (name == names.back() ? "\n" : ",\n");
    return text;
}

}  // namespace

std::string manPage(CommandPage const& page, CommandPage const& program) {
    std::string title = page.name("-");
    std::transform(title.begin(), title.end(), title.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    std::string text = fmt::format(".TH {} 1 {} \"zelk {}\" \"Zelk Corner Pin\"\n", plain(title),
                                   ZELK_RELEASE_DATE, ZELK_VERSION);
    text += ".SH NAME\n" + plain(page.name("-")) + " \\- " + plain(page.description) + "\n";
    text +=
        ".SH SYNOPSIS\n" + bold(page.name()) + plain(page.usage.substr(page.name().size())) + "\n";
    text += describedIn(page) + commandsIn(page) + optionsIn(page);
    for (NotesSection const& section : kNotesSections) {
        std::string blocks;
        for (std::string const& block : blocksOf(page.notes))
            if (sectionOf(block) == &section) blocks += literal(block);
        if (!blocks.empty()) text += fmt::format(".SH {}\n", section.title) + blocks;
    }
    return text + seeAlso(page, program);
}

}  // namespace zelk
