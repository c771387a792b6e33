// Writing of the project file; see file.h.
#include "zelk/scene/file.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "zelk/files/relative_paths.h"
#include "zelk/files/text_file.h"
#include "zelk/scene/clock.h"
#include "zelk/scene/file_form.h"
#include "zelk/scene/refusal.h"
#include "zelk/scene/words.h"
#include "zelk/text/errors.h"
#include "zelk/text/json_text.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

using Ordered = nlohmann::ordered_json;

Ordered valueJson(SceneValue const& value) {
    if (auto const* point = std::get_if<Point>(&value)) return Ordered::array({point->x, point->y});
    if (auto const* text = std::get_if<std::string>(&value)) return *text;
    if (auto const* typed = std::get_if<TypedText>(&value)) return typed->text;
    if (auto const* number = std::get_if<double>(&value)) return *number;
    return std::get<bool>(value);
}

/// Nothing for the ease that a key has by itself.
void addEase(Ordered& key, char const* name, Ease const& ease) {
    Ease const own;
    if (ease.influencePercent == own.influencePercent && ease.speed == own.speed) return;
    key[name] = {{"influence", ease.influencePercent}, {"speed", ease.speed}};
}

Ordered keyJson(SceneKey const& key) {
    Ordered json = {{"frame", key.frame}, {"value", valueJson(key.value)}};
    if (key.toNext) json["interpolation"] = wordOf(kInterpolationWords, *key.toNext);
    addEase(json, "in", key.incoming);
    addEase(json, "out", key.outgoing);
    return json;
}

Ordered parameterJson(SceneParameter const& parameter) {
    Ordered json = Ordered::object();
    if (parameter.diskId) json["id"] = *parameter.diskId;
    if (parameter.value) json["value"] = valueJson(*parameter.value);
    for (SceneKey const& key : parameter.keys) json["keys"].push_back(keyJson(key));
    return json;
}

Ordered rateJson(TimeBase const& timeBase) {
    std::string const text = rateText(timeBase);
    if (auto const number = parseNumber(text)) return *number;
    return text;
}

Ordered compJson(Comp const& comp) {
    return {{"width", comp.width},
            {"height", comp.height},
            {"rate", rateJson(comp.timeBase)},
            {"startFrame", comp.startFrame},
            {"duration", comp.durationFrames},
            {"pixelAspect", comp.pixelAspect},
            {"motionBlur",
             {{"on", comp.motionBlur},
              {"shutterAngle", comp.shutterAngleDeg},
              {"shutterPhase", comp.shutterPhaseDeg}}}};
}

Ordered sizeJson(PixelSize size) { return Ordered::array({size.width, size.height}); }

Ordered renderJson(Scene const& scene) {
    Ordered json;
    if (scene.depth) json["depth"] = wordOf(kDepthWords, *scene.depth);
    if (scene.overMode) json["mode"] = wordOf(kOverModes, *scene.overMode);
    if (scene.downsample) json["downsample"] = *scene.downsample;
    if (scene.isBest) json["quality"] = wordOf(kOwnQualities, true);
    if (scene.isInverted) json["invert"] = true;
    if (scene.size) json["size"] = sizeJson(*scene.size);
    if (scene.filter) json["filter"] = *scene.filter;
    if (scene.taps) json["taps"] = *scene.taps;
    if (scene.edges) json["edges"] = wordOf(kEdgeWords, *scene.edges);
    if (scene.featherPx > 0) json["feather"] = scene.featherPx;
    if (scene.chokePx > 0) json["choke"] = scene.chokePx;
    if (scene.codec) json["codec"] = *scene.codec;
    if (scene.codecQuality) json["codecQuality"] = *scene.codecQuality;
    if (scene.keepsOrientation) json["orientation"] = wordOf(kOrientationWords, true);
    if (scene.dropsOverscan) json["overscan"] = wordOf(kOverscanWords, true);
    if (scene.channels) json["channels"] = *scene.channels;
    return json;
}

/// A path as a file in `folder` has it.
std::string writtenIn(fs::path const& folder, ScenePath const& path) {
    bool const stays = fs::path(path.written).is_absolute() || isSameFolder(folder, path.folder);
    return stays ? path.written : pathFrom(folder, path.path(), true);
}

std::string inputIn(fs::path const& folder, SceneInput const& input) {
    if (!input.buffer) return writtenIn(folder, input.file);
    throw UserError(ExitCode::kUsage,
                    input.name() + ": a picture in memory can't be named in a project file");
}

Ordered colorJson(fs::path const& folder, SceneColor const& color) {
    Ordered json;
    if (color.layer) json["layer"] = *color.layer;
    if (color.plate) json["plate"] = *color.plate;
    if (color.output) json["output"] = *color.output;
    if (color.work) json["work"] = *color.work;
    if (color.config) json["config"] = writtenIn(folder, *color.config);
    if (color.isRaw) json["mode"] = wordOf(kColorWords, true);
    return json;
}

Ordered trackJson(fs::path const& folder, TrackUse const& use) {
    TrackReading const& reading = use.reading;
    Ordered json = {{"file", writtenIn(folder, use.file)}, {"pins", wordOf(kPinsWords, use.pins)}};
    if (reading.format) json["format"] = *reading.format;
    if (reading.size) json["size"] = sizeJson(*reading.size);
    if (reading.order) json["corners"] = *reading.order;
    if (reading.flipsY) json["flipY"] = true;
    if (reading.firstFrame) json["firstFrame"] = *reading.firstFrame;
    if (reading.shiftFrames) json["shiftFrames"] = *reading.shiftFrames;
    return json;
}

/// What only a module settles can't stand in a file.
void requireSettled(Scene const& scene) {
    auto const refuse = [](std::string const& thing, char const* what) {
        throw UserError(ExitCode::kUsage,
                        fmt::format("{}: {} can't stand in a project file", thing, what));
    };
    if (scene.motionBlur) refuse(spelled(scene, "motion-blur"), "a switch");
    for (SceneParameter const& parameter : scene.parameters)
        if (parameter.value && std::holds_alternative<TypedText>(*parameter.value))
            refuse(parameter.option, "a value that is still text");
}

std::string textIn(fs::path const& folder, Scene const& scene) {
    requireSettled(scene);
    Ordered json = {{"schema", kProjectSchema},
                    {"version", kProjectVersion},
                    {"comp", compJson(scene.comp)},
                    {"layer", inputIn(folder, scene.layer)}};
    if (!scene.ownStart) json["comp"].erase("startFrame");
    if (!scene.ownDuration) json["comp"].erase("duration");
    if (scene.plate) json["plate"] = inputIn(folder, *scene.plate);
    if (scene.stMap) json["stMap"] = inputIn(folder, *scene.stMap);
    auto const matteJson = [&folder](SceneMatte const& matte) {
        Ordered own = {{"file", inputIn(folder, matte.file)}};
        if (!matte.channel.empty()) own["channel"] = matte.channel;
        return own;
    };
    if (scene.matte) json["matte"] = matteJson(*scene.matte);
    if (scene.holdout) json["holdout"] = matteJson(*scene.holdout);
    if (scene.output) json["output"] = writtenIn(folder, *scene.output);
    if (scene.frames) json["frames"] = *scene.frames;
    if (scene.movieStart) json["movieStart"] = *scene.movieStart;
    Ordered const render = renderJson(scene);
    if (!render.empty()) json["render"] = render;
    Ordered const color = colorJson(folder, scene.color);
    if (!color.empty()) json["color"] = color;
    for (TrackUse const& use : scene.tracks) json["tracks"].push_back(trackJson(folder, use));
    json["parameters"] = Ordered::object();
    for (SceneParameter const& parameter : scene.parameters)
        json["parameters"][parameter.name] = parameterJson(parameter);
    return jsonText(json);
}

}  // namespace

std::string sceneText(Scene const& scene) { return textIn(scene.file.parent_path(), scene); }

void writeScene(Scene const& scene, fs::path const& file, bool mayReplace) {
    std::string text;
    try {
        text = textIn(file.parent_path(), scene);
    } catch (Ordered::type_error const&) {
        throw UserError(ExitCode::kOutput, {file.string(), "JSON can't hold a path such as",
                                            scene.layer.name(), "UTF-8"});
    }
    writeTextFile(file, text, mayReplace);
}

std::string valueText(SceneValue const& value) {
    if (auto const* point = std::get_if<Point>(&value))
        return fmt::format("[{}, {}]", point->x, point->y);
    if (auto const* number = std::get_if<double>(&value)) return fmt::format("{}", *number);
    if (auto const* text = std::get_if<std::string>(&value)) return *text;
    if (auto const* typed = std::get_if<TypedText>(&value)) return typed->text;
    return std::get<bool>(value) ? "true" : "false";
}

}  // namespace zelk
