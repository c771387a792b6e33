// Files to spaces, spaces to conversions and tags; see scene_colors.h.
#include "zelk/render/scene_colors.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "zelk/movies/writer.h"
#include "zelk/scene/color_names.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

/// All that a file's space depends on, but for what is said of it.
std::string keyOf(ColorConfig const& config, std::filesystem::path const& file,
                  PictureTraits const& traits) {
    auto const ruled = config.ofFile(file);
    std::string key = fmt::format("{}\n{}\n{}", traits.format, static_cast<int>(traits.depth),
                                  ruled ? ruled->name : "");
    for (char const* name : {"ICCProfile", "oiio:ColorSpace", "chromaticities"}) {
        auto const found = traits.metadata.find(name);
        key += '\n';
        if (found == traits.metadata.end()) continue;
        if (found->type() == OIIO::TypeString)
            key += found->get_string();
        else
            key.append(static_cast<char const*>(found->data()), found->type().size());
    }
    return key;
}

/// Built-in spaces that screens have, beside sRGB.
constexpr char const* kDisplays[] = {"Display P3", "Rec709", "Rec2020", "AdobeRGB", "Gamma2.2"};

/// Views of the default display by their own names, all others with their display.
UserError unknownView(std::vector<DisplayView> const& views, std::string const& view,
                      std::string const& thing) {
    std::vector<std::string> names;
    for (DisplayView const& each : views)
        names.push_back(each.display == views.front().display ? each.view : each.name());
    std::vector<std::string_view> const texts(names.begin(), names.end());
    return {ExitCode::kUsage, {thing, "unknown view", view, listOf(texts)}};
}

}  // namespace

SceneColors::SceneColors(Scene const& scene)
    : m_scene(scene), m_config(colorConfigOf(scene)), m_isMovie(isMovieName(scene.outputPath())) {
    checkColor(scene);
    m_format = m_isMovie ? "movie" : scene.output ? formatOf(scene.outputPath()) : "";
}

FileColor SceneColors::colorOf(SceneInput const& input, std::optional<std::string> const& said,
                               PictureTraits const& traits, std::vector<std::string>& warnings) {
    if (said) return {*m_config.find(*said), colorKindOf(traits.format, traits.depth), false};
    std::filesystem::path const file = input.name();
    std::string const key = keyOf(m_config, file, traits);
    std::lock_guard const lock(m_mutex);
    auto found = m_files.find(key);
    if (found == m_files.end()) {
        std::vector<std::string> told;
        FileColor const color = fileColorOf(m_config, file, traits, told);
        found = m_files.emplace(key, std::pair(color, told)).first;
    }
    auto const& [color, told] = found->second;
    warnings.insert(warnings.end(), told.begin(), told.end());
    return color;
}

SharedTransform SceneColors::between(ColorSpace const& from, ColorSpace const& to) {
    std::lock_guard const lock(m_mutex);
    for (auto const& [spaces, transform] : m_transforms)
        if (spaces.first == from && spaces.second == to) return transform;
    auto steps = m_config.steps(from, to);
    SharedTransform const made =
        steps.empty() ? nullptr : std::make_shared<ColorTransform const>(std::move(steps));
    m_transforms.push_back({{from, to}, made});
    return made;
}

void SceneColors::settleOutput(FileColor const& source, WriteRequest& file, FrameColors& colors) {
    ColorKind const kind = colorKindOf(m_format, writesFloat(m_format) ? file.depth : Depth::k8);
    colors.output = m_scene.color.output ? *m_config.find(*m_scene.color.output)
                    : m_format.empty()   ? colors.work
                                         : keptBy(m_config, source, kind, m_format);
    if (m_isMovie)
        colors.movie = m_config.builtInTwin(colors.output)
                           .value_or(CurveSpace{TransferCurve::kFilm});  // a curve without a tag
    OIIO::ParamValueList const& metadata = file.traits.metadata;
    bool const hasProfile = metadata.find("ICCProfile") != metadata.end();
    bool const isInherited =
        source.isOwn && source.space == colors.output && file.keepMetadata &&
        (file.traits.format == m_format || (hasProfile && holdsProfile(m_format)));
    if (m_isMovie || isInherited || m_format.empty()) return;
    eraseColorAttributes(file.traits.metadata);
    file.color = colorAttributes(m_config, colors.output, m_format);
}

FrameColors SceneColors::settle(PictureTraits const& layer, PictureTraits const* plate,
                                WriteRequest& file) {
    FrameColors colors;
    if (m_scene.color.isRaw) return colors;
    FileColor source = colorOf(m_scene.layer, m_scene.color.layer, layer, colors.warnings);
    colors.layer = source.space;
    if (plate) {
        source = colorOf(*m_scene.plate, m_scene.color.plate, *plate, colors.warnings);
        colors.plate = source.space;
    }
    colors.work = m_scene.color.work ? *m_config.find(*m_scene.color.work) : source.space;
    settleOutput(source, file, colors);
    bool const isLight = file.depth == Depth::kFloat;
    colors.workToStored =
        between(colors.work,
                m_scene.color.output
                    ? colors.output
                    : keptBy(m_config, source, isLight ? ColorKind::kLight : ColorKind::kDisplay,
                             isLight ? "openexr" : "tiff"));
    colors.layerToWork = between(colors.layer, colors.work);
    if (plate) colors.plateToWork = between(*colors.plate, colors.work);
    colors.workToOutput = between(colors.work, colors.output);
    auto const tell = [&](char const* what, SharedTransform const& way, ColorSpace const& from,
                          ColorSpace const& to) {
        if (way) colors.conversions.push_back(fmt::format("{} {} to {}", what, from.name, to.name));
    };
    tell("layer", colors.layerToWork, colors.layer, colors.work);
    if (plate) tell("plate", colors.plateToWork, *colors.plate, colors.work);
    tell("output", colors.workToOutput, colors.work, colors.output);
    if (colors.conversions.empty()) colors.warnings.clear();  // nothing hangs on them
    return colors;
}

std::vector<std::string> displayNames(ColorConfig const& config) {
    std::vector<std::string> names = {"sRGB"};
    for (DisplayView const& view : config.displayViews()) names.push_back(view.name());
    if (config.isBuiltIn()) names.insert(names.end(), std::begin(kDisplays), std::end(kDisplays));
    return names;
}

SharedTransform SceneColors::toDisplay(ColorSpace const& space,
                                       std::optional<std::string> const& view,
                                       std::string const& thing) {
    if (m_scene.color.isRaw) return nullptr;
    if (!view) return between(space, *builtInSpace("sRGB"));
    bool const isDisplay = std::count(std::begin(kDisplays), std::end(kDisplays), *view) > 0;
    if (m_config.isBuiltIn() && isDisplay) return between(space, *builtInSpace(*view));
    std::vector<DisplayView> const views = m_config.displayViews();
    if (views.empty())
        throw UserError(ExitCode::kUsage,
                        thing + " needs an OpenColorIO configuration with views: give --ocio");
    auto const isMeant = [&](DisplayView const& each) {
        return each.name() == *view ||
               (each.view == *view && each.display == views.front().display);
    };
    auto chosen = std::find_if(views.begin(), views.end(), isMeant);
    if (chosen == views.end() && *view == kDefaultView) chosen = views.begin();
    if (chosen == views.end()) throw unknownView(views, *view, thing);
    auto steps = m_config.displaySteps(space, *chosen);
    return steps.empty() ? nullptr : std::make_shared<ColorTransform const>(std::move(steps));
}

}  // namespace zelk
