// Renders, writes and maps of a scene; see scene_object.h.
#include "bindings/python/scene_object.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <exception>

#include "bindings/python/arrays.h"
#include "bindings/python/gil.h"
#include "bindings/python/keywords.h"
#include "bindings/python/values.h"
#include "zelk/files/output_place.h"
#include "zelk/files/quiet_libraries.h"
#include "zelk/movies/writer.h"
#include "zelk/pictures/buffer_input.h"
#include "zelk/render/host_errors.h"
#include "zelk/render/setup.h"
#include "zelk/scene/check.h"
#include "zelk/scene/clock.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/file.h"
#include "zelk/scene/invert.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/words.h"
#include "zelk/sequence/pipeline.h"
#include "zelk/sequence/schedule.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"
#include "zelk/tracks/track.h"

namespace py = pybind11;

namespace zelk::python {

namespace {

bool isGreyBuffer(SceneInput const& input) { return input.buffer && input.buffer->channels <= 2; }

/// A number or (x, y) that was typed; words may mean this or that, by the parameter's kind.
py::object typedValue(std::string const& text) {
    if (auto const number = parseNumber(text)) return py::float_(*number);
    auto const comma = text.find(',');
    if (comma == std::string::npos) return strOf(text);
    auto const x = parseNumber(text.substr(0, comma)), y = parseNumber(text.substr(comma + 1));
    return x && y ? py::object(py::make_tuple(*x, *y)) : py::object(strOf(text));
}

void put(py::dict& to, SceneParameter const& parameter) {
    auto const plain = [](SceneValue const& value) -> py::object {
        if (auto const* point = std::get_if<Point>(&value))
            return py::make_tuple(point->x, point->y);
        if (auto const* typed = std::get_if<TypedText>(&value)) return typedValue(typed->text);
        if (auto const* text = std::get_if<std::string>(&value)) return strOf(*text);
        if (auto const* number = std::get_if<double>(&value)) return py::float_(*number);
        return py::bool_(std::get<bool>(value));
    };
    py::str const name(parameter.name);
    if (to.contains(name)) to.attr("pop")(name);
    if (parameter.value && parameter.keys.empty()) to[name] = plain(*parameter.value);
    if (parameter.keys.empty()) return;
    py::dict keys;
    for (SceneKey const& key : parameter.keys) keys[py::float_(key.frame)] = plain(key.value);
    to[name] = keys;
}

/// Signals of the interpreter, such as Ctrl-C, on the thread that takes them.
class Signals {
public:
    bool areQuiet() {
        Locked const lock;
        if (!m_raised && PyErr_CheckSignals() != 0)
            m_raised = std::make_exception_ptr(py::error_already_set());
        return !m_raised;
    }
    void rethrow() const {
        if (m_raised) std::rethrow_exception(m_raised);
    }

private:
    std::exception_ptr m_raised;
};

/// Writers of pictures print also where all is well.
struct QuietWriters {
    QuietWriters() { leaveStandardErrorAlone(false); }
    ~QuietWriters() { leaveStandardErrorAlone(true); }
    QuietWriters(QuietWriters const&) = delete;
    QuietWriters& operator=(QuietWriters const&) = delete;
};

Comp ownComp(Scene const& scene, FrameStages const& stages, std::vector<int> const& frames) {
    auto const [first, last] = std::minmax_element(frames.begin(), frames.end());
    Comp comp = compOf(scene, *first, *last);
    comp.width = stages.frameSize().width;
    comp.height = stages.frameSize().height;
    return comp;
}

}  // namespace

Scene manyFrames(Scene scene, std::optional<std::string> const& frames) {
    if (frames) sceneEdit("frames").apply(scene, "frames", *frames);
    Scene prepared = preparedScene(std::move(scene));
    prepared.output = ScenePath{"#"};  // pictures with numbers
    return prepared;
}

std::vector<int> framesOf(Scene const& scene, FrameStages const& stages) {
    Schedule const schedule = scheduleOf(scene, stages.run(), stages.files());
    if (schedule.frames.empty() && schedule.missingFrame)
        throw stages.files()
            .missingOf(*schedule.missingFrame)
            .missing(*schedule.missingFrame)
            .error();
    return schedule.frames;
}

int firstFrameOf(FrameStages const& stages) {
    Scene const& scene = stages.scene();
    return isSequence(scene) ? framesOf(scene, stages).front() : compOf(scene, 0, 0).startFrame;
}

namespace {

/// A scene without a composition gets one that lasts as long as its frames.
Scene settledOf(Scene const& given) {
    if (given.hasComp) {
        FrameStages stages(given);
        stages.beginEdit(given.comp.startFrame);
        return stages.settledScene();
    }
    Scene scene = given;
    if (!scene.output) scene.output = ScenePath{"#"};
    FrameStages stages(scene);
    std::vector<int> const frames = framesOf(scene, stages);
    stages.begin(frames);
    Scene settled = stages.settledScene();
    settled.output = given.output;
    settled.comp = ownComp(settled, stages, frames);
    settled.hasComp = settled.ownStart = settled.ownDuration = true;
    return settled;
}

}  // namespace

SceneObject::SceneObject(Scene scene, std::string caller, bool isAssociated)
    : m_scene(std::move(scene)),
      m_caller(std::move(caller)),
      m_isAssociated(isAssociated),
      m_hasOwnComp(m_scene.hasComp) {
    m_scene.editJoin = '_';
}

void SceneObject::edit(py::dict const& keywords) {
    applyKeywords(m_scene, keywords, m_caller, m_isAssociated);
    py::object const layer = keywords.attr("get")("layer");
    if (!layer.is_none()) {
        m_keepsAxis = isArray(layer) && py::len(py::getattr(layer, "shape", py::tuple())) == 3;
    }
    m_renderers->clear();
}

void SceneObject::setComp(py::handle size, py::handle start, py::handle duration) {
    Comp comp = m_scene.comp;
    if (auto const checked = sizeOf(size, "size")) {
        comp.width = checked->width;
        comp.height = checked->height;
    }
    if (!start.is_none()) comp.startFrame = wholeOf(start, "start", -INT32_MAX, INT32_MAX);
    if (!duration.is_none())
        comp.durationFrames = wholeOf(duration, "duration", 1, mostFramesOf(comp.timeBase));
    requireOnClock(comp, comp.startFrame, "start");
    m_scene.comp = comp;
    m_scene.hasComp = m_hasOwnComp = true;
    m_scene.ownStart = m_scene.ownDuration = true;
    m_renderers->clear();
}

void SceneObject::setKeys(std::vector<SceneParameter> parameters) {
    for (SceneParameter& parameter : parameters) {
        std::erase_if(m_scene.parameters,
                      [&](SceneParameter const& former) { return former.name == parameter.name; });
        for (int i = 0; i < 4; ++i) {  // the edit has left a pin to its keys
            if (parameter.name == nameOfParameter(kToPins + i))
                m_scene.options.erase(SceneField::kToPins);
            if (parameter.name == nameOfParameter(kFromPins + i))
                m_scene.options.erase(SceneField::kFromPins);
        }
        if (parameter.keys.empty()) continue;
        if (!m_hasOwnComp) reachKeys(parameter.keys);
        m_scene.parameters.push_back(std::move(parameter));
    }
    m_renderers->clear();
}

/// The composition that keys have made lasts as long as all of them.
void SceneObject::reachKeys(std::vector<SceneKey> const& keys) {
    static constexpr double kMost = kLargestFrame;
    auto const whole = [](double frame) {
        return static_cast<int>(std::floor(std::clamp(frame, -kMost, kMost)));
    };
    int first = whole(keys.front().frame), last = whole(keys.back().frame);
    Comp& comp = m_scene.comp;
    if (m_scene.hasComp) {
        last = std::max(last, comp.startFrame + comp.durationFrames - 1);
        first = std::min(first, comp.startFrame);
    }
    comp.startFrame = first;
    comp.durationFrames = last - first + 1;
    m_scene.hasComp = true;
}

py::dict SceneObject::parameters() const {
    py::dict values;
    for (bool const isOfFile : {true, false})  // what edits set wins
        for (SceneParameter const& parameter : m_scene.parameters)
            if (parameter.option.empty() == isOfFile) put(values, parameter);
    return values;
}

StoredForm SceneObject::form() const {
    bool const isGrey = isGreyBuffer(m_scene.layer) || (m_scene.isInverted && m_scene.plate);
    return {m_isAssociated, isGrey && (!m_scene.plate || isGreyBuffer(*m_scene.plate))};
}

std::pair<py::array, Sentences> SceneObject::render(std::optional<int> frame, int threads) {
    Scene const scene = m_scene;
    StoredForm const stored = form();
    std::uint64_t const version = m_renderers->version();
    PictureBuffer picture;
    Sentences warnings;
    {
        Unlocked const unlocked;
        ThreadScope const team(threads);
        withUserErrors([&] {
            auto renderer = m_renderers->take(scene, version);
            int const at = frame ? *frame : firstFrameOf(*renderer);
            renderer->beginAt(at);
            picture = renderer->stored(renderer->render(at, renderer->load(at, 1, false)), stored);
            warnings = renderer->warnings().take();
            m_renderers->giveBack(std::move(renderer), version);
        });
    }
    return {arrayOf(picture, m_keepsAxis), warnings};
}

std::pair<std::vector<int>, Sentences> SceneObject::write(std::optional<std::string> const& frames,
                                                          WriteChoices const& choices) const {
    Scene scene = m_scene;
    if (frames) sceneEdit("frames").apply(scene, "frames", *frames);
    RunOptions run;
    run.noClobber = !choices.mayReplace;
    run.inPlace = choices.mayBeInput;
    run.keepMetadata = choices.keepsMetadata;
    run.pngLevel = choices.pngLevel;
    run.inFlight = choices.inFlight;
    PipelineResult result;
    Sentences warnings;
    Signals signals;
    Unlocked const unlocked;
    ThreadScope const team(choices.threads);
    QuietWriters const quiet;
    withUserErrors([&] {
        checkScene(scene);
        requireOutput(scene);
        scene = invertedScene(std::move(scene));
        FrameStages stages(scene, run);
        stages.roundLast();
        Schedule const schedule = scheduleOf(scene, run, stages.files());
        if (!schedule.frames.empty()) {
            if (isMovieName(scene.outputPath())) {
                checkPlace(scene.outputPath(), run.noClobber);
                requireMovieProgram(scene.outputPath());
            } else {
                checkTarget(stages.files().output.pathOf(schedule.frames.front()), run.noClobber);
            }
            checkOutputsAreNoInputs(scene, run, stages.files(), schedule.frames);
            stages.begin(schedule.frames);
            stages.checkMemory();
            std::atomic<bool> stop = false;
            PipelineOptions options;
            options.inFlight = static_cast<std::size_t>(run.inFlight);
            options.stopAtFirstFailure = true;
            options.stop = &stop;
            result = runFrames(
                schedule.frames, options, [&](int frame) { return stages.load(frame); },
                [&](int frame, LoadedFrame&& loaded) {
                    if (!signals.areQuiet()) stop = true;
                    return stages.render(frame, std::move(loaded));
                },
                [&](int frame, RenderedFrame&& done) { stages.store(frame, std::move(done)); });
            signals.rethrow();
            if (!result.failed.empty())
                throw UserError(result.failed.front().code, result.failed.front().message);
            stages.finishMovie(stop);
        }
        if (schedule.missingFrame)
            throw stages.files()
                .missingOf(*schedule.missingFrame)
                .missing(*schedule.missingFrame)
                .error();
        warnings = stages.warnings().take();
    });
    return {result.done, warnings};
}

/// Of the inputs nothing but the first size is read.
Scene SceneObject::mapScene() const {
    Scene scene = m_scene;
    scene.downsample.reset();
    scene.missing = MissingInput::kHold;
    return scene;
}

std::vector<std::pair<int, QuadMap>> SceneObject::maps(
    std::optional<std::string> const& frames) const {
    Scene const scene = manyFrames(mapScene(), frames);
    Unlocked const unlocked;
    return withUserErrors([&] {
        FrameStages stages(scene);
        std::vector<int> const all = framesOf(scene, stages);
        stages.begin(all);
        std::vector<std::pair<int, QuadMap>> made;
        for (int const frame : all) made.emplace_back(frame, stages.mapAt(frame));
        return made;
    });
}

py::array SceneObject::stMap(std::optional<int> frame) const {
    Scene const scene = preparedScene(mapScene());
    PictureBuffer map;
    {
        Unlocked const unlocked;
        ThreadScope const team(0);
        withUserErrors([&] {
            FrameStages stages(scene);
            int const at = frame ? *frame : firstFrameOf(stages);
            stages.begin({at});
            map = bufferOf(stages.stPictureAt(at));
        });
    }
    map.rowBytes = static_cast<std::ptrdiff_t>(sizeof(float)) * 4 * map.size.width;
    return arrayOf(map, false);
}

void SceneObject::check() const { checkScene(m_scene); }

void SceneObject::save(std::filesystem::path const& file, bool mayReplace) const {
    checkScene(m_scene);
    Scene const scene = m_scene;
    Unlocked const unlocked;
    withUserErrors([&] { writeScene(settledOf(scene), file, mayReplace); });
}

}  // namespace zelk::python
