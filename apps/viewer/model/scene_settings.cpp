// See scene_settings.h.
#include "apps/viewer/model/scene_settings.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <utility>

#include "apps/viewer/model/shown_shutter.h"
#include "params/ParamIndex.h"
#include "zelk/scene/edit_titles.h"
#include "zelk/scene/words.h"

namespace zelk {
namespace {

std::string pathOf(SceneInput const& input) { return input.buffer ? "" : input.file.written; }

std::string matteOf(std::optional<SceneMatte> const& matte) {
    if (!matte) return {};
    return pathOf(matte->file) + (matte->channel.empty() ? "" : ":" + matte->channel);
}

std::string onOff(bool isOn) { return isOn ? "on" : "off"; }
std::string textOf(std::string_view word) { return std::string(word); }
std::string needsPlate(Scene const& scene) { return scene.plate ? "" : "Only with a plate."; }
std::string noRaw(Scene const& scene) {
    return scene.color.isRaw ? "Colour is raw: nothing is converted." : "";
}
std::string ofPlate(Scene const& scene) {
    return scene.color.isRaw ? noRaw(scene) : needsPlate(scene);
}

/// A field of the scene that holds nothing until it is set.
template <auto Field>
void forget(Scene& scene) {
    (scene.*Field).reset();
}
template <auto Field>
std::string colorRead(Scene const& scene) {
    return (scene.color.*Field).value_or("");
}
template <auto Field>
void colorForget(Scene& scene) {
    (scene.color.*Field).reset();
}

using S = Scene const&;
constexpr char const* kColour = "Colour";

constexpr SceneSetting kSettings[] = {
    {"quality", "Render Quality", "", [](S s) { return std::string(s.isBest ? "best" : ""); },
     [](Scene& s) { s.isBest = false; }, nullptr, kParamQuality},
    {"mode", "Over Mode", "",
     [](S s) { return s.overMode ? textOf(wordOf(kOverModes, *s.overMode)) : ""; },
     forget<&Scene::overMode>, needsPlate},
    {"depth", "Depth", "", [](S s) { return s.depth ? textOf(wordOf(kDepthWords, *s.depth)) : ""; },
     forget<&Scene::depth>},
    {"filter", "Filter", "", [](S s) { return s.filter.value_or(""); }, forget<&Scene::filter>},
    {"taps", "Taps", "", [](S s) { return s.taps ? textOf(wordOf(kTapWords, *s.taps)) : ""; },
     forget<&Scene::taps>, [](S s) { return std::string(s.filter ? "" : "Only with a Filter."); }},
    {"edges", "Edges", "", [](S s) { return s.edges ? textOf(wordOf(kEdgeWords, *s.edges)) : ""; },
     forget<&Scene::edges>},
    {"feather", "Feather", "", [](S s) { return fmt::format("{}", s.featherPx); },
     [](Scene& s) { s.featherPx = 0; }},
    {"choke", "Choke", "", [](S s) { return fmt::format("{}", s.chokePx); },
     [](Scene& s) { s.chokePx = 0; }},
    {"invert", "Invert", "", [](S s) { return onOff(s.isInverted); },
     [](Scene& s) { s.isInverted = false; }},
    {"motion-blur", "Comp Motion Blur", "", [](S s) { return onOff(s.comp.motionBlur); },
     [](Scene& s) { s.comp.motionBlur = false; }, nullptr, 0, whyNoCompShutter},
    {"shutter", "Comp Shutter", "",
     [](S s) { return fmt::format("{},{}", s.comp.shutterAngleDeg, s.comp.shutterPhaseDeg); },
     [](Scene& s) {
         s.comp.shutterAngleDeg = Comp{}.shutterAngleDeg;
         s.comp.shutterPhaseDeg = Comp{}.shutterPhaseDeg;
     },
     [](S s) { return std::string(s.comp.motionBlur ? "" : "Only with Comp Motion Blur."); }, 0,
     whyNoCompShutter},

    {"matte", "Matte", kPicturesGroup, [](S s) { return matteOf(s.matte); }, forget<&Scene::matte>,
     nullptr, 0, nullptr, [](Scene& s) { return s.matte ? &s.matte->file.file : nullptr; }},
    {"holdout", "Holdout", kPicturesGroup, [](S s) { return matteOf(s.holdout); },
     forget<&Scene::holdout>, nullptr, 0, nullptr,
     [](Scene& s) { return s.holdout ? &s.holdout->file.file : nullptr; }},
    {"st-map", "Lens Map", kPicturesGroup, [](S s) { return s.stMap ? pathOf(*s.stMap) : ""; },
     forget<&Scene::stMap>, nullptr, 0, nullptr,
     [](Scene& s) { return s.stMap ? &s.stMap->file : nullptr; }},

    {"color", "Conversion", kColour, [](S s) { return textOf(wordOf(kColorWords, s.color.isRaw)); },
     [](Scene& s) { s.color.isRaw = false; }},
    {"work-color", "Working Space", kColour, colorRead<&SceneColor::work>,
     colorForget<&SceneColor::work>, noRaw},
    {"layer-color", "Layer Space", kColour, colorRead<&SceneColor::layer>,
     colorForget<&SceneColor::layer>, noRaw},
    {"plate-color", "Plate Space", kColour, colorRead<&SceneColor::plate>,
     colorForget<&SceneColor::plate>, ofPlate},
    {"output-color", "Output Space", kColour, colorRead<&SceneColor::output>,
     colorForget<&SceneColor::output>, noRaw},
    {"ocio", "Configuration", kColour,
     [](S s) { return s.color.config ? s.color.config->written : ""; },
     colorForget<&SceneColor::config>, nullptr, 0, nullptr,
     [](Scene& s) { return s.color.config ? &*s.color.config : nullptr; }},
};

constexpr SceneSetting kMissingFrames = {
    "missing", "Missing Frames", "", [](S s) { return textOf(wordOf(kMissingWords, s.missing)); },
    [](Scene& s) { s.missing = MissingInput::kStop; }};

/// What helps name by the command line's option.
constexpr std::pair<std::string_view, std::string_view> kOptionWords[] = {
    {"--over", "a plate"},
    {"--size", "a frame size"},
    {"--st-map", "a lens map"},
    {"A kernel of `zelk filters`", "A kernel"}};

bool isLetter(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '-'; }

}  // namespace

std::span<SceneSetting const> sceneSettings() { return kSettings; }
SceneSetting const& missingFramesSetting() { return kMissingFrames; }

std::string defaultInHelp(std::string_view help) {
    auto const open = help.rfind('(');
    if (open == std::string_view::npos || !help.ends_with(')')) return {};
    return std::string(help.substr(open + 1, help.size() - open - 2));
}

std::string plainHelp(std::string_view help, std::vector<std::string> const& words) {
    std::string text;
    for (std::size_t at = 0; at < help.size();) {
        auto end = at;
        while (end < help.size() && isLetter(help[end])) ++end;
        std::string const word(help.substr(at, std::max(end, at + 1) - at));
        bool const isChoice = std::find(words.begin(), words.end(), word) != words.end();
        text += isChoice ? titleOf(word) : word;
        at += word.size();
    }
    for (auto const& [option, plain] : kOptionWords) {
        auto const at = text.find(option);
        if (at != std::string::npos) text.replace(at, option.size(), plain);
    }
    return text;
}

}  // namespace zelk
