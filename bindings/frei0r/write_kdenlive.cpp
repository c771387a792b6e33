// Writes Kdenlive's panels of both plug-ins, which count in units that people know: corners in
// pixels, percents, degrees.
//
//     write_kdenlive EFFECT.xml TRANSITION.xml
//
// Kdenlive keeps a parameter's own value and shows it times `factor`; `min` and `max` are of what
// it shows, `default` of what it keeps. Of a parameter with keys it takes "%width" for a number but
// works nothing out, so that corners have a range in pixels that suits frames up to 4K.
#include <cstdio>
#include <fstream>
#include <ostream>
#include <string>

#include "bindings/frei0r/description.h"

namespace {

using zelk::bindings::Frei0rParameter;

/// What the menu of a panel has in an entry's place: "soft-light" is "Soft light".
std::string shown(std::string word) {
    word[0] = static_cast<char>(word[0] - 'a' + 'A');
    for (char& c : word)
        if (c == '-') c = ' ';
    return word;
}

template <class Change>
std::string listOf(Frei0rParameter const& parameter, char separator, Change const& change) {
    std::string list;
    for (std::string const& word : parameter.words) {
        if (word.empty()) continue;
        if (!list.empty()) list += separator;
        list += change(word);
    }
    return list;
}

void writeTypeAndRange(std::ostream& out, Frei0rParameter const& parameter) {
    if (parameter.type == F0R_PARAM_STRING) {
        out << "type=\"list\" default=\"" << parameter.words[std::size_t(parameter.atFirst)]
            << "\" paramlist=\"" << listOf(parameter, ';', [](auto const& word) { return word; })
            << '"';
    } else if (parameter.type == F0R_PARAM_BOOL) {
        out << "type=\"bool\" default=\"" << parameter.atFirst << '"';
    } else if (parameter.isCorner) {
        char const* const size = parameter.isVertical ? "%height" : "%width";
        out << "type=\"animated\" default=\"" << parameter.atFirst
            << "\" min=\"-4000\" max=\"8000\" factor=\"" << size << "\" decimals=\"2\"";
    } else {
        out << "type=\"animated\" default=\"" << parameter.atFirst << "\" min=\""
            << parameter.shownLeast * parameter.unit << "\" max=\""
            << parameter.shownMost * parameter.unit << "\" factor=\"" << parameter.unit
            << "\" decimals=\"2\"";
    }
}

void writePanel(std::ostream& out, bool hasPlate) {
    f0r_plugin_info_t const info = zelk::bindings::frei0rPluginInfo(hasPlate);
    std::string const element = hasPlate ? "transition" : "effect";
    std::string const id = hasPlate ? "frei0r.zelk_corner_pin_over" : "frei0r.zelk_corner_pin";
    out << "<?xml version=\"1.0\"?>\n<!DOCTYPE kpartgui>\n<" << element
        << " LC_NUMERIC=\"C\" tag=\"" << id << "\" id=\"" << id << "\">\n    <name>" << info.name
        << "</name>\n    <description>" << info.explanation << "</description>\n    <author>"
        << info.author << "</author>\n";
    for (Frei0rParameter const& parameter : zelk::bindings::frei0rParameters(hasPlate)) {
        out << "    <parameter name=\"" << parameter.name << "\" ";
        writeTypeAndRange(out, parameter);
        out << ">\n";
        if (!parameter.words.empty())
            out << "        <paramlistdisplay>" << listOf(parameter, ',', shown)
                << "</paramlistdisplay>\n";
        out << "        <name>" << parameter.label << "</name>\n    </parameter>\n";
    }
    out << "</" << element << ">\n";
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: write_kdenlive EFFECT.xml TRANSITION.xml\n", stderr);
        return 2;
    }
    for (bool const hasPlate : {false, true}) {
        char const* const path = argv[hasPlate ? 2 : 1];
        std::ofstream file(path);
        writePanel(file, hasPlate);
        file.close();
        if (!file) {
            std::fprintf(stderr, "%s: cannot be written\n", path);
            return 1;
        }
    }
    return 0;
}
