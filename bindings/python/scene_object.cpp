// Renders, writes and maps of a scene; see scene_object.h.
#include "bindings/python/scene_object.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <exception>

#include "bindings/python/arrays.h"
#include "bindings/python/keywords.h"
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
#include "zelk/tracks/track.h"

namespace py = pybind11;

namespace zelk::python {

namespace {

bool isGreyBuffer(SceneInput const& input) { return input.buffer && input.buffer->channels <= 2; }

void put(py::dict& to, SceneParameter const& parameter) {
    auto const plain = [](SceneValue const& value) -> py::object {
        if (auto const* point = std::get_if<Point>(&value))
            return py::make_tuple(point->x, point->y);
        if (auto const* typed = std::get_if<TypedText>(&value)) return py::str(typed->text);
        if (auto const* text = std::get_if<std::string>(&value)) return py::str(*text);
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
        py::gil_scoped_acquire const lock;
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

SceneObject::SceneObject(Scene scene, std::string caller, bool isAssociated)
    : m_scene(std::move(scene)),
      m_caller(std::move(caller)),
      m_isAssociated(isAssociated),
      m_hasOwnComp(m_scene.hasComp) {
    m_scene.editJoin = '_';
}

void SceneObject::edit(py::dict const& keywords) {
    applyKeywords(m_scene, keywords, m_caller, m_isAssociated);
    if (keywords.contains("layer")) {
        py::object const layer = keywords["layer"];
        m_keepsAxis = isArray(layer) && py::len(layer.attr("shape")) == 3;
    }
    m_renderers->clear();
}

void SceneObject::setComp(std::optional<std::pair<int, int>> size, std::optional<int> start,
                          std::optional<int> duration) {
    Comp comp = m_scene.comp;
    if (size) {
        PixelSize const checked =
            parseSize("size", fmt::format("{}x{}", size->first, size->second));
        comp.width = checked.width;
        comp.height = checked.height;
    }
    comp.startFrame = start.value_or(comp.startFrame);
    comp.durationFrames = duration.value_or(comp.durationFrames);
    if (comp.durationFrames < 1 || comp.durationFrames > mostFramesOf(comp.timeBase))
        throw UserError(ExitCode::kUsage,
                        {"duration", "out of range:", std::to_string(comp.durationFrames),
                         fmt::format("1 to {} frames", mostFramesOf(comp.timeBase))});
    requireOnClock(comp, comp.startFrame, "start");
    m_scene.comp = comp;
    m_scene.hasComp = m_hasOwnComp = true;
    m_scene.ownStart = m_scene.ownDuration = true;
    m_renderers->clear();
}

void SceneObject::setKeys(std::string const& name, std::vector<KeyTuple> const& keys) {
    std::string const own(nameOfParameter(requiredParameter("keys", name)));
    SceneParameter parameter{own, {}, {}, {}, ""};
    for (auto const& [frame, value, interpolation, in, out] : keys) {
        SceneKey key;
        key.frame = frame;
        key.value = sceneValueOf(value, own);
        if (interpolation) key.toNext = pick(kInterpolationWords, "interpolation", *interpolation);
        if (in) key.incoming = {in->first, in->second};
        if (out) key.outgoing = {out->first, out->second};
        parameter.keys.push_back(std::move(key));
    }
    std::stable_sort(parameter.keys.begin(), parameter.keys.end(),
                     [](SceneKey const& a, SceneKey const& b) { return a.frame < b.frame; });
    std::erase_if(m_scene.parameters,
                  [&](SceneParameter const& former) { return former.name == own; });
    for (int i = 0; i < 4; ++i) {  // the edit has left a pin to its keys
        if (own == nameOfParameter(kToPins + i)) m_scene.options.erase(SceneField::kToPins);
        if (own == nameOfParameter(kFromPins + i)) m_scene.options.erase(SceneField::kFromPins);
    }
    if (!m_hasOwnComp && !keys.empty()) {
        static constexpr double kMost = kLargestFrame;
        auto const whole = [](double frame) {
            return static_cast<int>(std::floor(std::clamp(frame, -kMost, kMost)));
        };
        int first = whole(parameter.keys.front().frame), last = whole(parameter.keys.back().frame);
        Comp& comp = m_scene.comp;
        if (m_scene.hasComp) {
            last = std::max(last, comp.startFrame + comp.durationFrames - 1);
            first = std::min(first, comp.startFrame);
        }
        comp.startFrame = first;
        comp.durationFrames = last - first + 1;
        m_scene.hasComp = true;
    }
    if (!keys.empty()) m_scene.parameters.push_back(std::move(parameter));
    m_renderers->clear();
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
    requireThreads(threads);
    Scene const scene = m_scene;
    StoredForm const stored = form();
    std::uint64_t const version = m_renderers->version();
    PictureBuffer picture;
    Sentences warnings;
    {
        py::gil_scoped_release const unlocked;
        ThreadScope const team(threads);
        withUserErrors([&] {
            auto renderer = m_renderers->take(scene, version);
            int const at = frame ? *frame
                           : isSequence(renderer->scene())
                               ? framesOf(renderer->scene(), *renderer).front()
                               : compOf(scene, 0, 0).startFrame;
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
    requireThreads(choices.threads);
    Scene scene = m_scene;
    if (frames) sceneEdit("frames").apply(scene, "frames", *frames);
    RunOptions run;
    run.noClobber = !choices.mayReplace;
    run.inPlace = choices.mayBeInput;
    run.keepMetadata = choices.keepsMetadata;
    run.pngLevel = wholeInRange("png_level", std::to_string(choices.pngLevel), 0, kMostPngLevel);
    run.inFlight = wholeInRange("in_flight", std::to_string(choices.inFlight), 1, 1000);
    PipelineResult result;
    Sentences warnings;
    Signals signals;
    py::gil_scoped_release const unlocked;
    ThreadScope const team(choices.threads);
    QuietWriters const quiet;
    withUserErrors([&] {
        checkScene(scene);
        requireOutput(scene);
        scene = invertedScene(std::move(scene));
        FrameStages stages(scene, run);
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
    py::gil_scoped_release const unlocked;
    return withUserErrors([&] {
        FrameStages stages(scene);
        std::vector<int> const all = framesOf(scene, stages);
        stages.begin(all);
        std::vector<std::pair<int, QuadMap>> made;
        for (int const frame : all) made.emplace_back(frame, stages.mapAt(frame));
        return made;
    });
}

py::array SceneObject::stMap(int frame) const {
    Scene const scene = preparedScene(mapScene());
    PictureBuffer map;
    {
        py::gil_scoped_release const unlocked;
        withUserErrors([&] {
            FrameStages stages(scene);
            stages.begin({frame});
            map = bufferOf(stages.stPictureAt(frame));
        });
    }
    map.rowBytes = static_cast<std::ptrdiff_t>(sizeof(float)) * 4 * map.size.width;
    return arrayOf(map, false);
}

void SceneObject::check() const { checkScene(m_scene); }

/// A scene without a composition gets one that lasts as long as its frames.
Scene SceneObject::settled() const {
    return withUserErrors([&] {
        if (m_scene.hasComp) {
            FrameStages stages(m_scene);
            stages.beginEdit(m_scene.comp.startFrame);
            return stages.settledScene();
        }
        Scene scene = m_scene;
        if (!scene.output) scene.output = ScenePath{"#"};
        FrameStages stages(scene);
        std::vector<int> const frames = framesOf(scene, stages);
        stages.begin(frames);
        Scene settledOne = stages.settledScene();
        settledOne.output = m_scene.output;
        settledOne.comp = ownComp(settledOne, stages, frames);
        settledOne.hasComp = settledOne.ownStart = settledOne.ownDuration = true;
        return settledOne;
    });
}

void SceneObject::save(std::filesystem::path const& file, bool mayReplace) const {
    checkScene(m_scene);
    writeScene(settled(), file, mayReplace);
}

}  // namespace zelk::python
