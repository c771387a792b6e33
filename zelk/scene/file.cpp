// Reading of the project file; see file.h. Values meet the module's parameters in
// values.cpp.
#include "zelk/scene/file.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>

#include "zelk/files/frame_names.h"
#include "zelk/files/relative_paths.h"
#include "zelk/files/text_file.h"
#include "zelk/movies/codecs.h"
#include "zelk/scene/clock.h"
#include "zelk/scene/file_form.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/refusal.h"
#include "zelk/scene/track_use.h"
#include "zelk/scene/words.h"
#include "zelk/text/errors.h"
#include "zelk/text/json_text.h"
#include "zelk/text/numbers.h"
#include "zelk/tracks/corner_order.h"
#include "zelk/tracks/forms.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

using Json = nlohmann::json;

constexpr int kMostFrame = INT32_MAX;

constexpr FileKey kProjectKeys[] = {
    {"schema", true}, {"version", true}, {"comp", true}, {"layer", true}, {"plate"},
    {"matte"},        {"holdout"},       {"stMap"},      {"output"},      {"frames"},
    {"movieStart"},   {"render"},        {"color"},      {"tracks"},      {"parameters"},
};
constexpr FileKey kColorKeys[] = {{"layer"}, {"plate"}, {"output"}, {"work"}, {"config"}, {"mode"}};
constexpr FileKey kCompKeys[] = {
    {"width", true}, {"height", true}, {"rate", true}, {"startFrame"},
    {"duration"},    {"pixelAspect"},  {"motionBlur"},
};
constexpr FileKey kMotionBlurKeys[] = {{"on"}, {"shutterAngle"}, {"shutterPhase"}};
constexpr FileKey kMatteKeys[] = {{"file", true}, {"channel"}};
constexpr FileKey kRenderKeys[] = {
    {"depth"},        {"mode"},        {"downsample"}, {"size"},     {"quality"}, {"filter"},
    {"taps"},         {"edges"},       {"feather"},    {"choke"},    {"invert"},  {"codec"},
    {"codecQuality"}, {"orientation"}, {"overscan"},   {"channels"},
};
constexpr FileKey kTrackKeys[] = {{"file", true}, {"pins", true}, {"format"},     {"size"},
                                  {"corners"},    {"flipY"},      {"firstFrame"}, {"shiftFrames"}};
constexpr FileKey kParameterKeys[] = {{"id"}, {"value"}, {"keys"}};
constexpr FileKey kKeyKeys[] = {
    {"frame", true}, {"value", true}, {"interpolation"}, {"in"}, {"out"},
};
constexpr FileKey kEaseKeys[] = {{"influence"}, {"speed"}};

constexpr FileObject kObjects[] = {
    {"project", kProjectKeys},     {"comp", kCompKeys},     {"motionBlur", kMotionBlurKeys},
    {"matte", kMatteKeys},         {"render", kRenderKeys}, {"track", kTrackKeys},
    {"parameter", kParameterKeys}, {"key", kKeyKeys},       {"ease", kEaseKeys},
    {"color", kColorKeys},
};

/// True when `call` does not throw a UserError.
template <class Call>
bool isTaken(Call const& call) {
    try {
        call();
        return true;
    } catch (UserError const&) {
        return false;
    }
}

/// A value of the file and its place in it.
class Node {
public:
    Node(fs::path const& file, Json const& json, std::string place)
        : m_file(file), m_json(json), m_place(std::move(place)) {}

    Json const& json() const { return m_json; }
    std::string const& place() const { return m_place; }

    [[noreturn]] void fail(std::string const& expected) const {
        std::string const place = m_place.empty() ? "the file" : m_place;
        if (m_json.is_string())  // which may look like the number that it should be
            refuse(place + " can't be the text", m_json.get<std::string>(), expected);
        refuse(place + " can't be", m_json.dump(), expected);
    }

    [[noreturn]] void refuse(std::string const& wrong, std::string const& value,
                             std::string const& expected) const {
        throw UserError(ExitCode::kInput, {m_file.string(), wrong, shortened(value), expected});
    }

    std::optional<Node> find(std::string const& key) const {
        auto const found = m_json.find(key);
        if (found == m_json.end()) return std::nullopt;
        return Node(m_file, *found, placeOf(key));
    }

    Node at(std::string const& key) const {
        if (auto const node = find(key)) return *node;
        refuse("missing key", placeOf(key), "");
    }

    Node element(std::size_t index) const {
        return {m_file, m_json[index], fmt::format("{}[{}]", m_place, index)};
    }

    void requireObject() const {
        if (!m_json.is_object()) fail("an object");
    }

    /// An object of that kind, with nothing unknown in it and nothing missing.
    void requireKeys(std::string_view name) const {
        requireObject();
        auto const keys =
            std::find_if(std::begin(kObjects), std::end(kObjects), [&](FileObject const& object) {
                return object.name == name;
            })->keys;
        std::vector<std::string_view> names;
        for (FileKey const& key : keys) names.push_back(key.name);
        requireNames(names);
        for (FileKey const& key : keys) {
            if (key.isRequired) at(std::string(key.name));
        }
    }

    void requireNames(std::span<std::string_view const> names) const {
        for (auto const& [name, member] : m_json.items()) {
            if (std::find(names.begin(), names.end(), name) != names.end()) continue;
            constexpr std::size_t kLongestWord = 64;  // the search takes its square
            std::string const word = name.substr(0, kLongestWord);
            refuse("unknown key", placeOf(name),
                   fmt::format("one such as \"{}\"", nearestOf(names.data(), names.size(), word)));
        }
    }

    double number() const {
        if (!m_json.is_number()) fail("a number");
        return m_json.get<double>();
    }

    double number(double min, double max) const {
        double const value = m_json.is_number() ? m_json.get<double>() : NAN;
        if (!(value >= min && value <= max)) fail(fmt::format("a number from {} to {}", min, max));
        return value;
    }

    int whole(int min, int max) const {
        double const value = m_json.is_number() ? m_json.get<double>() : NAN;
        if (!(value >= min && value <= max && value == std::floor(value)))
            fail(fmt::format("a whole number from {} to {}", min, max));
        return static_cast<int>(value);
    }

    bool flag() const {
        if (!m_json.is_boolean()) fail("true or false");
        return m_json.get<bool>();
    }

    std::string text(char const* expected) const {
        if (!m_json.is_string() || m_json.get_ref<std::string const&>().empty()) fail(expected);
        return m_json.get<std::string>();
    }

    /// What the word stands for; 8 is the word "8" too.
    template <class T, std::size_t N>
    T pick(Choice<T> const (&choices)[N]) const {
        std::string const word = m_json.is_string() ? m_json.get<std::string>() : m_json.dump();
        for (Choice<T> const& choice : choices)
            if (choice.word == word) return choice.value;
        fail(listOf(wordsOf(choices)));
    }

private:
    std::string placeOf(std::string const& key) const {
        return m_place.empty() ? key : m_place + "." + key;
    }

    fs::path const& m_file;
    Json const& m_json;
    std::string m_place;  ///< "" for the whole file
};

TimeBase readRate(Node const& node) {
    bool const isText = node.json().is_string();
    if (!isText && !node.json().is_number()) node.fail(kRateExpected);
    auto const rate = rateFromText(isText ? node.json().get<std::string>()
                                          : fmt::format("{}", node.json().get<double>()));
    if (!rate) node.fail(kRateExpected);
    return *rate;
}

void readMotionBlur(Node const& node, Comp& comp) {
    node.requireKeys("motionBlur");
    if (auto const on = node.find("on")) comp.motionBlur = on->flag();
    if (auto const angle = node.find("shutterAngle"))
        comp.shutterAngleDeg = angle->number(0, kMostShutterAngleDeg);
    if (auto const phase = node.find("shutterPhase"))
        comp.shutterPhaseDeg = phase->number(-kMostShutterPhaseDeg, kMostShutterPhaseDeg);
}

Comp readComp(Node const& node) {
    node.requireKeys("comp");
    Comp comp;
    comp.width = node.at("width").whole(1, kLargestPx);
    comp.height = node.at("height").whole(1, kLargestPx);
    comp.timeBase = readRate(node.at("rate"));
    if (auto const start = node.find("startFrame"))
        comp.startFrame = start->whole(-kMostFrame, kMostFrame);
    if (auto const duration = node.find("duration"))
        comp.durationFrames = duration->whole(1, mostFramesOf(comp.timeBase));
    if (auto const aspect = node.find("pixelAspect")) comp.pixelAspect = aspect->number(0.01, 100);
    if (auto const blur = node.find("motionBlur")) readMotionBlur(*blur, comp);
    return comp;
}

PixelSize readSize(Node const& node) {
    if (!node.json().is_array() || node.json().size() != 2) node.fail("[width, height]");
    return {node.element(0).whole(1, kLargestPx), node.element(1).whole(1, kLargestPx)};
}

void readRender(Node const& node, Scene& scene) {
    node.requireKeys("render");
    if (auto const depth = node.find("depth")) scene.depth = depth->pick(kDepthWords);
    if (auto const mode = node.find("mode")) scene.overMode = mode->pick(kOverModes);
    if (auto const quality = node.find("quality")) scene.isBest = quality->pick(kOwnQualities);
    if (auto const invert = node.find("invert")) scene.isInverted = invert->flag();
    if (auto const n = node.find("downsample")) scene.downsample = n->whole(1, kLargestPx);
    if (auto const size = node.find("size")) scene.size = readSize(*size);
    if (auto const codec = node.find("codec")) {
        scene.codec = codec->text("a codec");
        std::vector<std::string_view> names;
        for (MovieCodec const& known : movieCodecs()) names.push_back(known.name);
        if (!codecNamed(*scene.codec)) codec->fail(listOf(names));
    }
    if (auto const word = node.find("orientation"))
        scene.keepsOrientation = word->pick(kOrientationWords);
    if (auto const word = node.find("overscan")) scene.dropsOverscan = word->pick(kOverscanWords);
    if (auto const word = node.find("channels"))
        scene.channels = wordOf(kChannelWords, word->pick(kChannelWords));
    if (auto const filter = node.find("filter"))
        scene.filter = wordOf(kFilterWords, filter->pick(kFilterWords));
    if (auto const taps = node.find("taps")) scene.taps = taps->pick(kTapWords);
    if (auto const edges = node.find("edges")) scene.edges = edges->pick(kEdgeWords);
    if (auto const px = node.find("feather")) scene.featherPx = px->number(0, kMostOutlinePx);
    if (auto const px = node.find("choke")) scene.chokePx = px->number(0, kMostOutlinePx);
    if (auto const quality = node.find("codecQuality"))
        scene.codecQuality = quality->number(0, kMostCodecQuality);
}

TrackReading readReading(Node const& node) {
    TrackReading reading;
    if (auto const format = node.find("format")) {
        reading.format = format->text("a form");
        if (!isTaken([&] { trackFormatNamed("", *reading.format); }))
            format->fail(trackFormatNames());
    }
    if (auto const size = node.find("size")) reading.size = readSize(*size);
    if (auto const corners = node.find("corners")) {
        reading.order = corners->text("an order of corners");
        if (!isTaken([&] { parseCornerOrder("", *reading.order); }))
            corners->fail("ul, ur, ll and lr, each once, with commas");
    }
    if (auto const flips = node.find("flipY")) reading.flipsY = flips->flag();
    if (auto const first = node.find("firstFrame"))
        reading.firstFrame = first->whole(-kLargestFrame, kLargestFrame);
    if (auto const shift = node.find("shiftFrames"))
        reading.shiftFrames = shift->whole(-kLargestFrame, kLargestFrame);
    return reading;
}

/// What a track's file may be, and what becomes of one that can't be read.
enum class TrackFiles { kNeeded, kMayLack };

TrackUse readTrackUse(ScenePath const& file, TrackedPins pins, TrackReading const& reading,
                      TrackFiles files) {
    if (files == TrackFiles::kNeeded) return readTrackUse(file, pins, reading);
    return readTrackUseToEdit(file, pins, reading);
}

/// At most one for each kind of pins, whose file is read now.
std::vector<TrackUse> readTracks(Node const& node, fs::path const& folder, TrackFiles files) {
    if (!node.json().is_array()) node.fail("an array of tracks");
    std::vector<TrackUse> tracks;
    for (std::size_t i = 0; i < node.json().size(); ++i) {
        Node const entry = node.element(i);
        entry.requireKeys("track");
        auto const pins = entry.at("pins").pick(kPinsWords);
        for (TrackUse const& other : tracks)
            if (other.pins == pins) entry.at("pins").fail("pins that no other track moves");
        tracks.push_back(readTrackUse({entry.at("file").text("a path"), folder}, pins,
                                      readReading(entry), files));
    }
    return tracks;
}

void readColor(fs::path const& file, Node const& node, SceneColor& color) {
    node.requireKeys("color");
    auto const read = [&](char const* key, std::optional<std::string>& space) {
        if (auto const name = node.find(key)) space = name->text("the name of a colour space");
    };
    read("layer", color.layer);
    read("plate", color.plate);
    read("output", color.output);
    read("work", color.work);
    if (auto const config = node.find("config"))
        color.config = ScenePath{config->text("a path"), file.parent_path()};
    if (auto const mode = node.find("mode")) color.isRaw = mode->pick(kColorWords);
}

/// A value of any kind; the parameter's own is looked at when it is applied.
SceneValue readValue(Node const& node) {
    Json const& json = node.json();
    if (json.is_boolean()) return json.get<bool>();
    if (json.is_string()) return json.get<std::string>();
    if (json.is_number()) return node.number();
    if (!json.is_array() || json.size() != 2)
        node.fail("a number, a text, true, false or a point [x, y]");
    return Point{node.element(0).number(), node.element(1).number()};
}

Ease readEase(Node const& node) {
    node.requireKeys("ease");
    Ease ease;
    if (auto const influence = node.find("influence"))
        ease.influencePercent = influence->number(0.1, 100);
    if (auto const speed = node.find("speed")) ease.speed = speed->number();
    return ease;
}

SceneKey readKey(Node const& node, Comp const& comp) {
    node.requireKeys("key");
    Node const frame = node.at("frame");
    SceneKey key;
    key.frame = frame.number(-2.0 * kMostFrame, 2.0 * kMostFrame);
    if (!keyTimeOf(comp, key.frame)) frame.fail("a frame that the composition's clock reaches");
    key.value = readValue(node.at("value"));
    if (auto const word = node.find("interpolation")) key.toNext = word->pick(kInterpolationWords);
    if (auto const in = node.find("in")) key.incoming = readEase(*in);
    if (auto const out = node.find("out")) key.outgoing = readEase(*out);
    return key;
}

/// Keys in order of their moments, no two at one.
std::vector<SceneKey> readKeys(Node const& node, Comp const& comp) {
    if (!node.json().is_array() || node.json().empty()) node.fail("an array of keys, at least one");
    std::vector<SceneKey> keys;
    for (std::size_t i = 0; i < node.json().size(); ++i)
        keys.push_back(readKey(node.element(i), comp));
    std::sort(keys.begin(), keys.end(),
              [](SceneKey const& a, SceneKey const& b) { return a.frame < b.frame; });
    for (std::size_t i = 1; i < keys.size(); ++i) {
        if (keyTimeOf(comp, keys[i - 1].frame) == keyTimeOf(comp, keys[i].frame))
            node.refuse("two keys of " + node.place() + " lie at frame", valueText(keys[i].frame),
                        "one key at a frame");
    }
    return keys;
}

std::vector<SceneParameter> readParameters(Node const& node, Comp const& comp) {
    node.requireObject();
    node.requireNames(kParameterNames);
    std::vector<SceneParameter> parameters;
    for (std::string_view const name : kParameterNames) {
        auto const entry = node.find(std::string(name));
        if (!entry) continue;
        entry->requireKeys("parameter");
        SceneParameter parameter;
        parameter.name = name;
        if (auto const id = entry->find("id")) parameter.diskId = id->whole(0, INT32_MAX);
        if (auto const value = entry->find("value")) parameter.value = readValue(*value);
        if (auto const keys = entry->find("keys")) parameter.keys = readKeys(*keys, comp);
        if (!parameter.value && parameter.keys.empty()) entry->fail("a value, keys or both");
        parameters.push_back(std::move(parameter));
    }
    return parameters;
}

/// A path that may have one frame mark.
std::string readOutputPath(Node const& node) {
    std::string const path = node.text("a path");
    if (!isTaken([&] { SequenceName{path}; })) node.fail("a path with at most one frame mark");
    return path;
}

/// A picture is read in pieces, so it can't come through a pipe. Of one that is on disk any name is
/// right.
std::string readPicturePath(Node const& node) {
    std::string const path = node.text("a path");
    if (path == "-")
        node.refuse(node.place() + ": standard input can't be read as a picture:", path, "a file");
    return path;
}

void requireVersion(Node const& root) {
    root.requireObject();
    Node const schema = root.at("schema"), version = root.at("version");
    if (schema.json() != kProjectSchema) schema.fail(kProjectSchema);
    if (version.whole(1, INT32_MAX) > kProjectVersion)
        version.refuse("version is too new:", version.json().dump(),
                       fmt::format("a version up to {}", kProjectVersion));
}

Scene readRoot(fs::path const& file, Node const& root, TrackFiles trackFiles) {
    requireVersion(root);
    root.requireKeys("project");
    auto const picture = [&file](Node const& node) {
        return SceneInput{{readPicturePath(node), file.parent_path()}};
    };
    Scene scene;
    scene.file = file;
    scene.hasComp = true;
    scene.comp = readComp(root.at("comp"));
    scene.ownStart = root.at("comp").find("startFrame").has_value();
    scene.ownDuration = root.at("comp").find("duration").has_value();
    scene.layer = picture(root.at("layer"));
    if (auto const plate = root.find("plate")) scene.plate = picture(*plate);
    if (auto const map = root.find("stMap")) scene.stMap = picture(*map);
    auto const matte = [&](Node const& node) {
        node.requireKeys("matte");
        auto const channel = node.find("channel");
        return SceneMatte{picture(node.at("file")), channel ? channel->text("a channel") : ""};
    };
    if (auto const node = root.find("matte")) scene.matte = matte(*node);
    if (auto const node = root.find("holdout")) scene.holdout = matte(*node);
    if (auto const output = root.find("output"))
        scene.output = ScenePath{readOutputPath(*output), file.parent_path()};
    if (auto const frames = root.find("frames")) {
        scene.frames = frames->text("frames such as 1001-1100");
        if (!isTaken([&] { parseFrameRange("", *scene.frames); }))
            frames->fail("frames such as 1001-1100");
        fitToFrames(scene);
    }
    if (auto const start = root.find("movieStart"))
        scene.movieStart = start->whole(-kLargestFrame, kLargestFrame);
    if (auto const render = root.find("render")) readRender(*render, scene);
    if (auto const color = root.find("color")) readColor(file, *color, scene.color);
    if (auto const tracks = root.find("tracks"))
        scene.tracks = readTracks(*tracks, file.parent_path(), trackFiles);
    if (auto const parameters = root.find("parameters"))
        scene.parameters = readParameters(*parameters, scene.comp);
    return scene;
}

Scene sceneFromText(fs::path const& file, std::string_view text, TrackFiles trackFiles) {
    Json const json = parseJson(file, text);
    return readRoot(file, Node(file, json, ""), trackFiles);
}

}  // namespace

Scene sceneFromText(fs::path const& file, std::string_view text) {
    return sceneFromText(file, text, TrackFiles::kNeeded);
}

Scene sceneToEditFromText(fs::path const& file, std::string_view text) {
    return sceneFromText(file, text, TrackFiles::kMayLack);
}

Scene readScene(fs::path const& file) {
    return sceneFromText(file, readTextFile(file, "a project"));
}

Scene readSceneToEdit(fs::path const& file) {
    return sceneToEditFromText(file, readTextFile(file, "a project"));
}

void fitToFrames(Scene& scene) {
    if (!scene.frames || (scene.ownStart && scene.ownDuration)) return;
    std::vector<int> const all = parseFrameRange("frames", *scene.frames);
    auto const [first, last] = std::minmax_element(all.begin(), all.end());
    Comp& comp = scene.comp;
    if (!scene.ownStart) comp.startFrame = *first;
    std::int64_t const duration = std::int64_t{*last} - comp.startFrame + 1;
    if (!scene.ownDuration)
        comp.durationFrames =
            static_cast<int>(std::clamp<std::int64_t>(duration, 1, mostFramesOf(comp.timeBase)));
}

std::span<FileObject const> fileObjects() { return kObjects; }

}  // namespace zelk
