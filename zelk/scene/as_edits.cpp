// See as_edits.h.
#include "zelk/scene/as_edits.h"

#include <fmt/format.h>

#include <algorithm>

#include "zelk/files/absolute_path.h"
#include "zelk/movies/frames.h"
#include "zelk/scene/clock.h"
#include "zelk/scene/invert.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/words.h"
#include "zelk/tracks/track.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

/// As an edit of the parameter reads it.
std::string typedText(SceneValue const& value) {
    if (auto const* point = std::get_if<Point>(&value))
        return fmt::format("{},{}", point->x, point->y);
    if (auto const* number = std::get_if<double>(&value)) return fmt::format("{}", *number);
    if (auto const* text = std::get_if<std::string>(&value)) return *text;
    if (auto const* typed = std::get_if<TypedText>(&value)) return typed->text;
    return std::get<bool>(value) ? "on" : "off";
}

std::string sizeText(PixelSize size) { return fmt::format("{}x{}", size.width, size.height); }

std::string nameOf(ScenePath const& path) { return absolutePath(path.path()).string(); }

bool isTracked(Scene const& scene, int parameter) {
    return std::any_of(scene.tracks.begin(), scene.tracks.end(), [parameter](TrackUse const& use) {
        int const first = use.pins == TrackedPins::kTo ? kToPins : kFromPins;
        return parameter >= first && parameter < first + 4;
    });
}

/// The value of one parameter; null for none.
SceneValue const* valueOf(Scene const& scene, int parameter) {
    for (SceneParameter const& entry : scene.parameters)
        if (entry.name == nameOfParameter(parameter) && entry.value) return &*entry.value;
    return nullptr;
}

/// A run over a part of the composition alone does not know that it has some of the track's frames.
bool isOfComp(TrackUse const& use, Comp const& comp) {
    auto const reach = use.track ? reachOf(*use.track) : std::nullopt;
    return reach && reach->last >= comp.startFrame &&
           reach->first < double(comp.startFrame) + comp.durationFrames;
}

class Maker {
public:
    Maker(Scene const& scene, PixelSize frame) : m_scene(usedOfInverted(scene)), m_frame(frame) {
        if (m_scene.isInverted && m_scene.size) m_frame = *m_scene.size;
    }

    SceneAsEdits make() {
        findObstacle();
        if (!m_made.obstacle.empty()) return std::move(m_made);
        addFiles();
        addTracks();
        addPins("to", kToPins);
        addPins("from", kFromPins);
        addParameters();
        addComp();
        addRender();
        addColor();
        for (MadeEdit const& edit : editsBesidesFile(m_scene)) add(edit.name, edit.text);
        return std::move(m_made);
    }

private:
    void add(char const* name, std::string text) { m_made.edits.push_back({name, text}); }
    void add(std::string name, std::string text) {
        m_made.edits.push_back({std::move(name), std::move(text)});
    }
    template <class T>
    void addIf(char const* name, std::optional<T> const& value) {
        if (value) add(name, fmt::format("{}", *value));
    }

    void findObstacle() {
        Comp const& comp = m_scene.comp;
        auto const obstacle = [this](bool isThere, char const* what) {
            if (isThere && m_made.obstacle.empty()) m_made.obstacle = what;
        };
        bool const hasKeys =
            std::any_of(m_scene.parameters.begin(), m_scene.parameters.end(),
                        [](SceneParameter const& entry) { return !entry.keys.empty(); });
        obstacle(hasKeys, "keyframes");
        obstacle(m_scene.hasComp && PixelSize{comp.width, comp.height} != m_frame,
                 "a composition of another size than its frame");
        obstacle(comp.pixelAspect != 1, "a pixel aspect");
        bool const isFewer = comp.motionBlur && m_scene.hostApp() != HostApp::kAfterEffects;
        obstacle(isFewer, "a composition's shutter for another host");
        bool const areTwo =
            m_scene.tracks.size() > 1 && !(m_scene.tracks[0].reading == m_scene.tracks[1].reading);
        obstacle(areTwo, "two tracks that are read differently");
        for (SceneInput const* input : inputs())
            obstacle(input->buffer != nullptr, "a picture in memory");
    }

    std::vector<SceneInput const*> inputs() const {
        std::vector<SceneInput const*> all = {&m_scene.layer};
        if (m_scene.plate) all.push_back(&*m_scene.plate);
        if (m_scene.matte) all.push_back(&m_scene.matte->file);
        if (m_scene.holdout) all.push_back(&m_scene.holdout->file);
        if (m_scene.stMap) all.push_back(&*m_scene.stMap);
        return all;
    }

    void addFiles() {
        if (m_scene.layer.isGiven()) add("layer", nameOf(m_scene.layer.file));
        if (m_scene.isInverted) add("invert", "on");
        if (m_scene.plate) add("over", nameOf(m_scene.plate->file));
        if (m_scene.size) add("size", sizeText(*m_scene.size));
        if (m_scene.stMap) add("st-map", nameOf(m_scene.stMap->file));
        auto const addMatte = [this](char const* name, std::optional<SceneMatte> const& matte) {
            if (!matte) return;
            std::string const channel = matte->channel.empty() ? "" : ":" + matte->channel;
            add(name, nameOf(matte->file.file) + channel);
        };
        addMatte("matte", m_scene.matte);
        addMatte("holdout", m_scene.holdout);
        if (m_scene.keepsOrientation) add("orientation", "raw");
        if (m_scene.dropsOverscan) add("overscan", "drop");
        addIf("channels", m_scene.channels);
    }

    void addTracks() {
        if (m_scene.tracks.empty()) return;
        TrackReading const& reading = m_scene.tracks.front().reading;
        addIf("track-format", reading.format);
        if (reading.size) add("track-size", sizeText(*reading.size));
        addIf("corners", reading.order);
        if (reading.flipsY) add("flip-y", "on");
        addIf("track-first-frame", reading.firstFrame);
        addIf("shift-frames", reading.shiftFrames);
        bool const isNumbered = reading.firstFrame || reading.shiftFrames;
        bool const areShown =
            std::all_of(m_scene.tracks.begin(), m_scene.tracks.end(),
                        [this](TrackUse const& use) { return isOfComp(use, m_scene.comp); });
        if (m_scene.hasComp && areShown && !isNumbered) add("shift-frames", "0");
        for (TrackUse const& use : m_scene.tracks)
            add(use.pins == TrackedPins::kTo ? "track" : "track-from", nameOf(use.file));
    }

    /// A quad whose four pins are all set, in one edit.
    void addPins(char const* name, int first) {
        std::string corners;
        for (int pin = first; pin < first + 4; ++pin) {
            SceneValue const* const value = valueOf(m_scene, pin);
            if (!value || isTracked(m_scene, pin)) return;
            corners += (corners.empty() ? "" : " ") + typedText(*value);
        }
        add(name, corners);
        m_together.push_back(first);
    }

    bool isTogether(int parameter) const {
        return std::any_of(m_together.begin(), m_together.end(), [parameter](int first) {
            return parameter >= first && parameter < first + 4;
        });
    }

    void addParameters() {
        if (m_scene.isBest) add("quality", "best");
        for (SceneParameter const& entry : m_scene.parameters) {
            int const index = requiredParameter("", entry.name);
            if (!entry.value || isTracked(m_scene, index) || isTogether(index)) continue;
            add("set", entry.name + "=" + typedText(*entry.value));
        }
    }

    void addComp() {
        Comp const usual, &comp = m_scene.comp;
        if (comp.motionBlur) add("motion-blur", "on");
        bool const isUsual = comp.shutterAngleDeg == usual.shutterAngleDeg &&
                             comp.shutterPhaseDeg == usual.shutterPhaseDeg;
        if (!isUsual)
            add("shutter", fmt::format("{},{}", comp.shutterAngleDeg, comp.shutterPhaseDeg));
        auto const all = inputs();
        bool const isMovie = std::any_of(all.begin(), all.end(), [](SceneInput const* input) {
            return isMovieInput(input->file.path());
        });
        std::string const rate = rateText(comp.timeBase);
        if (isMovie || rate != rateText(usual.timeBase)) add("rate", rate);
        addIf("first-frame", m_scene.movieStart);
    }

    void addRender() {
        if (m_scene.overMode) add("mode", std::string(wordOf(kOverModes, *m_scene.overMode)));
        if (m_scene.depth) add("depth", std::string(wordOf(kDepthWords, *m_scene.depth)));
        addIf("downsample", m_scene.downsample);
        addIf("filter", m_scene.filter);
        addIf("taps", m_scene.taps);
        if (m_scene.edges) add("edges", std::string(wordOf(kEdgeWords, *m_scene.edges)));
        if (m_scene.featherPx > 0) add("feather", fmt::format("{}", m_scene.featherPx));
        if (m_scene.chokePx > 0) add("choke", fmt::format("{}", m_scene.chokePx));
    }

    void addColor() {
        SceneColor const& color = m_scene.color;
        addIf("layer-color", color.layer);
        addIf("plate-color", color.plate);
        addIf("output-color", color.output);
        addIf("work-color", color.work);
        if (color.config) add("ocio", nameOf(*color.config));
        if (color.isRaw) add("color", "raw");
    }

    Scene const m_scene;
    PixelSize m_frame;
    SceneAsEdits m_made;
    std::vector<int> m_together;  ///< first pins of quads in one edit
};

}  // namespace

std::vector<MadeEdit> editsBesidesFile(Scene const& scene) {
    std::vector<MadeEdit> edits;
    if (scene.road) edits.push_back({"road", std::string(wordOf(kRoadWords, *scene.road))});
    if (scene.isPlain) edits.push_back({"plain", "on"});
    if (scene.host) edits.push_back({"host", std::string(wordOf(kHostWords, *scene.host))});
    if (!scene.module.empty()) edits.push_back({"module", absolutePath(scene.module).string()});
    if (scene.missing != MissingInput::kStop)
        edits.push_back({"missing", std::string(wordOf(kMissingWords, scene.missing))});
    if (scene.sound) edits.push_back({"sound", absolutePath(scene.sound->file.path()).string()});
    return edits;
}

SceneAsEdits editsOf(Scene const& scene, PixelSize frame) { return Maker(scene, frame).make(); }

}  // namespace zelk
