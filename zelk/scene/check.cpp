// The rules between a scene's fields; see check.h.
#include "zelk/scene/check.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "platform/effect_api/effect_types.h"
#include "zelk/movies/codecs.h"
#include "zelk/movies/frames.h"
#include "zelk/scene/color_names.h"
#include "zelk/scene/edit_titles.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/refusal.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace {

/// The edit that sets a field, and its place in a project file; null where it has none there.
struct FieldNames {
    SceneField field;
    char const *edit, *place;
};
constexpr FieldNames kNames[] = {
    {SceneField::kLayer, "layer", "layer"},
    {SceneField::kPlate, "over", "plate"},
    {SceneField::kSize, "size", "render.size"},
    {SceneField::kOutput, "output", "output"},
    {SceneField::kFrames, "frames", "frames"},
    {SceneField::kToPins, "to", nullptr},
    {SceneField::kFromPins, "from", nullptr},
    {SceneField::kTrackTo, "track", nullptr},
    {SceneField::kTrackFrom, "track-from", nullptr},
    {SceneField::kMode, "mode", "render.mode"},
    {SceneField::kDownsample, "downsample", "render.downsample"},
    {SceneField::kRoad, "road", nullptr},
    {SceneField::kPlain, "plain", nullptr},
    {SceneField::kHost, "host", nullptr},
    {SceneField::kBest, "quality", "render.quality"},
    {SceneField::kFilter, "filter", "render.filter"},
    {SceneField::kTaps, "taps", "render.taps"},
    {SceneField::kEdges, "edges", "render.edges"},
    {SceneField::kFeather, "feather", "render.feather"},
    {SceneField::kChoke, "choke", "render.choke"},
    {SceneField::kStMap, "st-map", "stMap"},
    {SceneField::kInvert, "invert", "render.invert"},
    {SceneField::kMovieStart, "first-frame", "movieStart"},
    {SceneField::kRate, "rate", "comp.rate"},
    {SceneField::kCodec, "codec", "render.codec"},
    {SceneField::kCodecQuality, "quality-level", "render.codecQuality"},
    {SceneField::kSound, "sound", nullptr},
    {SceneField::kColor, "color", "color.mode"},
    {SceneField::kLayerColor, "layer-color", "color.layer"},
    {SceneField::kPlateColor, "plate-color", "color.plate"},
    {SceneField::kOutputColor, "output-color", "color.output"},
    {SceneField::kWorkColor, "work-color", "color.work"},
    {SceneField::kColorConfig, "ocio", "color.config"},
    {SceneField::kMatte, "matte", "matte"},
    {SceneField::kHoldout, "holdout", "holdout"},
    {SceneField::kOrientation, "orientation", "render.orientation"},
    {SceneField::kOverscan, "overscan", "render.overscan"},
    {SceneField::kChannels, "channels", "render.channels"},
};

FieldNames const& namesOf(SceneField field) {
    return *std::find_if(std::begin(kNames), std::end(kNames),
                         [field](FieldNames const& names) { return names.field == field; });
}

/// A window's labels have blanks.
bool speaksOfLabels(Scene const& scene) { return scene.editJoin == ' '; }

bool isOfFile(Scene const& scene, SceneField field) {
    return !scene.isSetBy(field) && !scene.file.empty() && namesOf(field).place;
}

/// What gives the frame a size of its own, or is not the layer's own frame.
SceneField frameField(Scene const& scene) {
    return scene.isInverted ? SceneField::kInvert
           : scene.plate    ? SceneField::kPlate
                            : SceneField::kSize;
}

/// What takes the scene to the memory road, where nobody named that road.
SceneField memoryField(Scene const& scene) {
    if (scene.hasFrame() || scene.isInverted) return frameField(scene);
    if (scene.stMap) return SceneField::kStMap;
    if (scene.isBest) return SceneField::kBest;
    if (scene.filter) return SceneField::kFilter;
    if (scene.taps) return SceneField::kTaps;
    if (scene.edges == FrameEdges::kExact) return SceneField::kEdges;
    return scene.featherPx > 0 ? SceneField::kFeather : SceneField::kChoke;
}

/// What the predicates below say of it: "--quality best", whose other values are the effect's too.
std::string memoryCause(Scene const& scene, bool ofFile) {
    SceneField const field = memoryField(scene);
    std::string const name = besides(scene, field, ofFile);
    if (isOfFile(scene, field)) return name;
    return field == SceneField::kBest    ? name + " " + spelledWord(scene, "best")
           : field == SceneField::kEdges ? name + " " + spelledWord(scene, "exact")
                                         : name;
}

/// What set a parameter last; null for nothing.
SceneParameter const* lastOf(Scene const& scene, int parameter) {
    auto const& all = scene.parameters;
    auto const found = std::find_if(all.rbegin(), all.rend(), [parameter](auto const& entry) {
        return entry.name == nameOfParameter(parameter);
    });
    return found == all.rend() ? nullptr : &*found;
}

/// "--size", or "sign.zelk.json: render.size"
std::string subjectOf(Scene const& scene, SceneField field) {
    if (isOfFile(scene, field)) return scene.file.string() + ": " + namesOf(field).place;
    return nameOf(scene, field);
}

ExitCode codeOf(Scene const& scene, SceneField field) {
    return isOfFile(scene, field) ? ExitCode::kInput : ExitCode::kUsage;
}

class Checker {
public:
    explicit Checker(Scene const& scene) : m_scene(scene) {}

    /// All but colours.
    void check() const {
        if (m_scene.isInverted) checkInverted();
        if (!m_scene.layer.isGiven() && !(m_scene.isInverted && m_scene.plate))
            throw missing(subjectOf(m_scene, SceneField::kLayer), "a picture file");
        checkPins(SceneField::kToPins, SceneField::kTrackTo);
        checkPins(SceneField::kFromPins, SceneField::kTrackFrom);
        checkFrame();
        checkResampling();
        if (m_scene.stMap && !m_scene.isInverted) checkStMap();
        checkMovie();
        if (m_scene.channels && containerOf(m_scene.outputPath()))
            refuse(SceneField::kChannels, "does not go with a movie, whose codec has its channels");
        if (m_scene.roadTaken() == Road::kMemory) checkMemoryRoad();
    }

private:
    bool isSet(SceneField field) const { return m_scene.isSetBy(field); }
    void refuse(SceneField field, std::string const& predicate) const {
        throw refusalOf(m_scene, field, predicate);
    }

    void checkPins(SceneField pins, SceneField track) const {
        if (isSet(pins) && isSet(track))
            refuse(track, fmt::format("and {} set the same pins: give one of them",
                                      m_scene.options.at(pins)));
    }

    /// A field that the refused one meets.
    std::string other(SceneField field, SceneField refused) const {
        return besides(m_scene, field, isOfFile(m_scene, refused));
    }

    /// What has no place where the picture is taken out of what it was laid over.
    void checkInverted() const {
        using enum SceneField;
        for (SceneField const field :
             {kFromPins, kTrackFrom, kMode, kStMap, kMatte, kHoldout, kFeather, kChoke})
            if (isSet(field)) refuse(field, "does not go with " + other(kInvert, field));
    }

    void checkStMap() const {
        if (!m_scene.stMap->buffer && isMovieInput(m_scene.stMap->file.path()))
            throw refusalOf(m_scene, SceneField::kStMap,
                            "a movie can't say where pixels look:", m_scene.stMap->name(),
                            "pictures, such as OpenEXR");
    }

    void checkFrame() const {
        using enum SceneField;
        if (m_scene.overMode.value_or(PF_Xfer_IN_FRONT) != PF_Xfer_IN_FRONT && !m_scene.plate)
            refuse(kMode, "needs a plate: give " + nameOf(m_scene, kPlate));
        if (m_scene.plate && m_scene.size && isSet(kSize) && !m_scene.isInverted)
            refuse(kSize, fmt::format("does not go with {}, which gives the frame's size",
                                      other(kPlate, kSize)));
        if (m_scene.road != Road::kModule) return;
        if (m_scene.hasFrame() || m_scene.isInverted)
            refuse(kRoad, fmt::format("module renders a layer in its own frame: leave {} out",
                                      other(frameField(m_scene), kRoad)));
        if (m_scene.needsMemory())
            refuse(kRoad, fmt::format("module resamples as the effect does: leave {} out",
                                      memoryCause(m_scene, isOfFile(m_scene, kRoad))));
    }

    void checkResampling() const {
        using enum SceneField;
        auto const fits = [this](SceneField field, bool isGiven, SceneField needed,
                                 char const* why) {
            if (isGiven) refuse(field, fmt::format(fmt::runtime(why), other(needed, field)));
        };
        // Of an inverted scene what the file says of the sign plays no part.
        bool const hasMap = m_scene.stMap && !m_scene.isInverted;
        bool const isGrid = m_scene.edges == FrameEdges::kGrid && !m_scene.isInverted;
        fits(kFeather, isGrid && m_scene.featherPx > 0, kEdges, "needs {} exact");
        fits(kChoke, isGrid && m_scene.chokePx > 0, kEdges, "needs {} exact");
        constexpr char const* kMapHasOwn = "does not go with {}, which covers pixels by itself";
        fits(kFeather, hasMap && m_scene.featherPx > 0, kStMap, kMapHasOwn);
        fits(kChoke, hasMap && m_scene.chokePx > 0, kStMap, kMapHasOwn);
        fits(kEdges, hasMap && isGrid, kStMap, kMapHasOwn);
        fits(kTaps, m_scene.taps && !m_scene.filter, kFilter, "needs a kernel: give {}");
        fits(kTaps, m_scene.taps && (m_scene.filter == "box" || m_scene.filter == "bilinear"),
             kFilter, "does not go with {} box or bilinear, which have no table of weights");
        if (m_scene.filter && m_scene.isBest)
            refuse(kFilter,
                   "does not go with the quality best, which takes the mean of what each "
                   "pixel covers");
    }

    /// Codec and quality say what their container holds. In a file they may wait for a movie.
    void checkMovie() const {
        using enum SceneField;
        MovieContainer const* const container = containerOf(m_scene.outputPath());
        for (SceneField const field : {kCodec, kCodecQuality, kSound})
            if (!container && isSet(field) && m_scene.output)
                refuse(field, "is of movies: give an output such as out.mov");
        if (!container) return;
        auto const& held = container->codecs;
        bool const isHeld =
            !m_scene.codec || std::find(held.begin(), held.end(), *m_scene.codec) != held.end();
        if (!isHeld)
            throw refusalOf(m_scene, kCodec,
                            fmt::format("does not fit into {}:", container->extension),
                            *m_scene.codec, listOf(held));
        MovieCodec const& codec = codecOf(m_scene.outputPath(), m_scene.codec);
        if (m_scene.codecQuality && !codec.takes(*m_scene.codecQuality))
            throw refusalOf(m_scene, kCodecQuality, fmt::format("does not go with {}:", codec.name),
                            fmt::format("{}", *m_scene.codecQuality), codec.qualityExpected());
    }

    /// What the effect does only in a host.
    void checkMemoryRoad() const {
        using enum SceneField;
        auto const refuseOf = [this](SceneField field) {
            refuse(field, noMemoryRoad(m_scene, isOfFile(m_scene, field)));
        };
        if (m_scene.isPlain) refuseOf(kPlain);
        if (m_scene.hostApp() != HostApp::kAfterEffects) refuseOf(kHost);
    }

    Scene const& m_scene;
};

}  // namespace

std::string spelled(Scene const& scene, std::string_view name) {
    if (speaksOfLabels(scene)) return editTitle(name);
    std::string words(name);
    std::replace(words.begin(), words.end(), '-', scene.editJoin);
    return scene.editPrefix + words;
}

std::string spelledWord(Scene const& scene, std::string_view word) {
    return speaksOfLabels(scene) ? titleOf(word) : std::string(word);
}

std::string toGive(Scene const& scene, std::string_view edit, std::string_view word) {
    std::string const name = spelled(scene, edit), value = spelledWord(scene, word);
    return speaksOfLabels(scene) ? fmt::format("set {} to {}", name, value)
                                 : fmt::format("give {} {}", name, value);
}

std::string nameOf(Scene const& scene, SceneField field) {
    return scene.isSetBy(field) ? scene.options.at(field) : spelled(scene, namesOf(field).edit);
}

std::string besides(Scene const& scene, SceneField field, bool ofFile) {
    if (!isOfFile(scene, field)) return nameOf(scene, field);
    std::string const place = namesOf(field).place;
    return ofFile ? place : place + " of " + scene.file.string();
}

std::string noMemoryRoad(Scene const& scene, bool ofFile) {
    if (!scene.needsMemory())
        return fmt::format("does not go with {} memory", nameOf(scene, SceneField::kRoad));
    return "does not go with " + memoryCause(scene, ofFile);
}

std::string ownFrameOnly(Scene const& scene, bool ofFile) {
    return fmt::format("lays the layer over itself in its own frame: use {} with {}",
                       ofFile ? namesOf(SceneField::kMode).place : nameOf(scene, SceneField::kMode),
                       scene.plate ? besides(scene, SceneField::kPlate, ofFile)
                                   : (ofFile ? "plate" : nameOf(scene, SceneField::kPlate)));
}

bool isOfFile(Scene const& scene, int parameter) {
    SceneParameter const* const last = lastOf(scene, parameter);
    return last && last->option.empty();
}

UserError refusalOf(Scene const& scene, SceneField field, std::string const& predicate) {
    return {codeOf(scene, field), subjectOf(scene, field) + " " + predicate};
}

UserError refusalOf(Scene const& scene, SceneField field, std::string const& wrong,
                    std::string const& value, std::string const& expected) {
    return {codeOf(scene, field), {subjectOf(scene, field), wrong, value, expected}};
}

UserError refusalOf(Scene const& scene, int parameter, std::string const& predicate) {
    std::string const name(nameOfParameter(parameter));
    SceneParameter const* const last = lastOf(scene, parameter);
    if (speaksOfLabels(scene)) return {ExitCode::kUsage, titleOf(name) + " " + predicate};
    if (!last) return {ExitCode::kUsage, name + " " + predicate};
    if (!last->option.empty()) return {ExitCode::kUsage, last->option + " " + predicate};
    return {ExitCode::kInput,
            fmt::format("{}: parameters.{} {}", scene.file.string(), name, predicate)};
}

void checkScene(Scene const& scene) {
    Checker(scene).check();
    checkColor(scene);
}

void checkSceneToEdit(Scene const& scene) {
    Checker(scene).check();
    try {
        checkColor(scene);
    } catch (UserError const&) {
        if (colorConfigFault(scene).empty()) throw;
    }
}

void requireOutput(Scene const& scene) {
    if (!scene.output) throw missing(nameOf(scene, SceneField::kOutput), "a picture file to write");
}

}  // namespace zelk
