// A project's summary; see project_show_command.h.
#include "apps/zelk/project_show_command.h"

#include <fmt/format.h>

#include "zelk/files/standard_output.h"
#include "zelk/scene/file.h"
#include "zelk/scene/file_form.h"
#include "zelk/scene/words.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

/// Parts with commas between.
class Parts {
public:
    void add(std::string const& part) { m_text += (m_text.empty() ? "" : ", ") + part; }
    /// "name value", where it is set.
    template <class T>
    void add(std::string_view name, std::optional<T> const& value) {
        if (value) add(fmt::format("{} {}", name, *value));
    }
    std::string const& text() const { return m_text; }

private:
    std::string m_text;
};

std::string renderText(Scene const& scene) {
    Parts parts;
    auto const add = [&parts](std::string const& part) { parts.add(part); };
    if (scene.depth) add(fmt::format("depth {}", wordOf(kDepthWords, *scene.depth)));
    if (scene.overMode) add(fmt::format("mode {}", wordOf(kOverModes, *scene.overMode)));
    if (scene.downsample) add(fmt::format("downsample {}", *scene.downsample));
    if (scene.isInverted) add("inverted");
    if (scene.size) add(fmt::format("size {}x{}", scene.size->width, scene.size->height));
    return parts.text();
}

std::string resamplingText(Scene const& scene) {
    Parts parts;
    if (scene.isBest) parts.add("quality best");
    parts.add("filter", scene.filter);
    parts.add("taps", scene.taps);
    if (scene.edges) parts.add(fmt::format("edges {}", wordOf(kEdgeWords, *scene.edges)));
    if (scene.featherPx > 0) parts.add(fmt::format("feather {}", scene.featherPx));
    if (scene.chokePx > 0) parts.add(fmt::format("choke {}", scene.chokePx));
    return parts.text();
}

std::string filesText(Scene const& scene) {
    Parts parts;
    if (scene.keepsOrientation) parts.add("orientation raw");
    if (scene.dropsOverscan) parts.add("overscan drop");
    parts.add("channels", scene.channels);
    return parts.text();
}

/// The file, and how it is read where that was said.
std::string trackText(TrackUse const& use) {
    TrackReading const& how = use.reading;
    Parts parts;
    parts.add(use.file.written);
    parts.add("format", how.format);
    if (how.size) parts.add(fmt::format("size {}x{}", how.size->width, how.size->height));
    parts.add("corners", how.order);
    if (how.flipsY) parts.add("y from below");
    parts.add("first frame", how.firstFrame);
    parts.add("frames shifted by", how.shiftFrames);
    return parts.text();
}

std::string movieText(Scene const& scene) {
    Parts parts;
    parts.add("first frame", scene.movieStart);
    parts.add("codec", scene.codec);
    parts.add("quality level", scene.codecQuality);
    return parts.text();
}

std::string colorText(SceneColor const& color) {
    Parts parts;
    if (color.isRaw) parts.add("raw");
    parts.add("layer", color.layer);
    parts.add("plate", color.plate);
    parts.add("output", color.output);
    parts.add("work", color.work);
    if (color.config) parts.add("config " + color.config->written);
    return parts.text();
}

std::string matteText(std::optional<SceneMatte> const& matte) {
    if (!matte) return "";
    return matte->file.file.written + (matte->channel.empty() ? "" : ":" + matte->channel);
}

/// "12.5; 3 keys, frames 1001 to 1100.5"
std::string settingText(SceneParameter const& parameter) {
    std::string text = parameter.value ? valueText(*parameter.value) : "";
    auto const& keys = parameter.keys;
    if (keys.empty()) return text;
    if (!text.empty()) text += "; ";
    if (keys.size() == 1) return text + fmt::format("1 key, frame {}", keys.front().frame);
    return text + fmt::format("{} keys, frames {} to {}", keys.size(), keys.front().frame,
                              keys.back().frame);
}

std::string row(std::string_view name, std::string const& text) {
    return text.empty() ? "" : fmt::format("  {:<24}  {}\n", name, oneLine(text));
}

std::string summaryOf(Scene const& scene) {
    Comp const& comp = scene.comp;
    std::string text = scene.file.string() + "\n" + row("comp", compText(comp));
    if (comp.pixelAspect != 1) text += row("pixel aspect", fmt::format("{}", comp.pixelAspect));
    if (comp.motionBlur)
        text += row("motion blur", fmt::format("shutter angle {}, phase {}", comp.shutterAngleDeg,
                                               comp.shutterPhaseDeg));
    text += row("layer", scene.layer.file.written) +
            row("plate", scene.plate ? scene.plate->file.written : "") +
            row("matte", matteText(scene.matte)) + row("holdout", matteText(scene.holdout)) +
            row("st map", scene.stMap ? scene.stMap->file.written : "") +
            row("output", scene.output ? scene.output->written : "") +
            row("frames", scene.frames.value_or("")) + row("render", renderText(scene)) +
            row("resampling", resamplingText(scene)) + row("files", filesText(scene)) +
            row("movies", movieText(scene)) + row("colour", colorText(scene.color));
    for (TrackUse const& use : scene.tracks)
        text += row(use.pins == TrackedPins::kTo ? "track" : "track of From", trackText(use));
    if (!scene.parameters.empty()) text += "parameters that differ from their defaults\n";
    for (SceneParameter const& parameter : scene.parameters)
        text += row(parameter.name, settingText(parameter));
    return text;
}

}  // namespace

CommandInfo const ProjectShowCommand::kInfo = {"project show", "Show what a project file holds",
                                               "FILE [OPTIONS]",
                                               "Examples:\n"
                                               "  zelk project show sign.zelk.json --json\n"};

void ProjectShowCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    m_file.add(add);
    add.flag("Project", "--json", m_json, "The file in its normal form");
}

ExitCode ProjectShowCommand::run(Invocation const&) {
    Scene const scene = readScene(m_file.name());
    print(m_json ? sceneText(scene) : summaryOf(scene));
    return ExitCode::kDone;
}

}  // namespace zelk
