// See edit_titles.h.
#include "zelk/scene/edit_titles.h"

#include <algorithm>
#include <cctype>
#include <iterator>

namespace zelk {
namespace {

struct Title {
    std::string_view edit, title;
};
/// Those that the words of the edit don't say.
constexpr Title kTitles[] = {{"over", "Plate"},
                             {"to", "To Pins"},
                             {"from", "From Pins"},
                             {"mode", "Over Mode"},
                             {"quality", "Render Quality"},
                             {"motion-blur", "Comp Motion Blur"},
                             {"shutter", "Comp Shutter"},
                             {"st-map", "Lens Map"},
                             {"missing", "Missing Frames"},
                             {"color", "Conversion"},
                             {"work-color", "Working Space"},
                             {"layer-color", "Layer Space"},
                             {"plate-color", "Plate Space"},
                             {"output-color", "Output Space"},
                             {"ocio", "Configuration"}};

}  // namespace

std::string titleOf(std::string_view words) {
    std::string title(words);
    bool isFirst = true;
    for (char& c : title) {
        if (c == '-') c = ' ';
        if (isFirst) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        isFirst = c == ' ';
    }
    return title;
}

std::string editTitle(std::string_view edit) {
    auto const* const own = std::find_if(std::begin(kTitles), std::end(kTitles),
                                         [&](Title const& known) { return known.edit == edit; });
    return own == std::end(kTitles) ? titleOf(edit) : std::string(own->title);
}

}  // namespace zelk
