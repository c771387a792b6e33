// The rules between a scene's fields; see scene_check.h.
#include "zelk/scene/scene_check.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "zelk/scene/parameter_names.h"
#include "zelk/scene/scene_words.h"

namespace zelk {

namespace {

/// What a field is called where nothing set it, and its place in a project file; null where it has
/// none there.
struct FieldNames {
    SceneField field;
    char const *option, *place;
};
constexpr FieldNames kNames[] = {
    {SceneField::kLayer, "LAYER", "layer"},
    {SceneField::kPlate, "--over", "plate"},
    {SceneField::kSize, "--size", "render.size"},
    {SceneField::kOutput, "--output", "output"},
    {SceneField::kToPins, "--to", nullptr},
    {SceneField::kFromPins, "--from", nullptr},
    {SceneField::kTrackTo, "--track", nullptr},
    {SceneField::kTrackFrom, "--track-from", nullptr},
    {SceneField::kMode, "--mode", "render.mode"},
    {SceneField::kGrow, "--grow", "parameters.grow-bounds"},
    {SceneField::kTransfer, "--transfer", "parameters.transfer-mode"},
    {SceneField::kDownsample, "--downsample", "render.downsample"},
    {SceneField::kRoad, "--road", nullptr},
    {SceneField::kPlain, "--plain", nullptr},
    {SceneField::kHost, "--host", nullptr},
};

FieldNames const& namesOf(SceneField field) {
    return *std::find_if(std::begin(kNames), std::end(kNames),
                         [field](FieldNames const& names) { return names.field == field; });
}

std::string valueOf(Scene const& scene, SceneField field) {
    auto const typed = [&scene](std::string const& option) -> std::string {
        for (SceneParameter const& entry : scene.parameters)
            if (auto const* text = entry.value ? std::get_if<TypedText>(&*entry.value) : nullptr;
                text && entry.option == option)
                return text->text;
        return {};
    };
    switch (field) {
        case SceneField::kSize:
            return fmt::format("{}x{}", scene.size->width, scene.size->height);
        case SceneField::kGrow:
        case SceneField::kTransfer:
            return typed(scene.options.at(field));
        case SceneField::kMode:
            return std::string(wordOf(kOverModes, *scene.overMode));
        case SceneField::kRoad:
            return std::string(wordOf(kRoadWords, *scene.road));
        case SceneField::kHost:
            for (NamedHost const& host : kKnownHosts)
                if (host.identity.applId == scene.host->applId) return std::string(host.name);
            return {};
        default:
            return {};
    }
}

class Checker {
public:
    explicit Checker(Scene const& scene) : m_scene(scene) {}

    void check() const {
        if (!m_scene.layer.isGiven())
            refuse(SceneField::kLayer, "not given,", "", "a picture file");
        checkPins(SceneField::kToPins, SceneField::kTrackTo);
        checkPins(SceneField::kFromPins, SceneField::kTrackFrom);
        checkFrame();
        if (m_scene.roadTaken() == Road::kMemory) checkMemoryRoad();
    }

private:
    bool isSet(SceneField field) const { return m_scene.isSetBy(field); }
    [[noreturn]] void refuse(SceneField field, std::string const& wrong, std::string const& value,
                             std::string const& expected) const {
        throw refusalOf(m_scene, field, wrong, value, expected);
    }
    [[noreturn]] void refuseValue(SceneField field, std::string const& wrong,
                                  std::string const& expected) const {
        refuse(field, wrong, valueOf(m_scene, field), expected);
    }

    void checkPins(SceneField pins, SceneField track) const {
        if (!isSet(pins) || !isSet(track)) return;
        std::string const &own = m_scene.options.at(pins), &other = m_scene.options.at(track);
        refuse(track, "the same pins are given by", own, other + " or " + own + " alone");
    }

    void checkFrame() const {
        if (m_scene.isPlain && isSet(SceneField::kGrow))
            refuseValue(SceneField::kGrow,
                        "the plain render command keeps the layer's size and can't grow by",
                        "no --plain");
        if (isSet(SceneField::kMode) && !m_scene.plate)
            refuseValue(SceneField::kMode, "there is no plate to be laid over with",
                        "--over PLATE");
        if (m_scene.plate && m_scene.size && isSet(SceneField::kSize))
            refuseValue(SceneField::kSize, "the frame has the plate's size already, not",
                        "--over or --size alone");
        if (m_scene.hasFrame() && m_scene.road == Road::kModule)
            refuseValue(SceneField::kRoad, "the effect renders a layer in its own frame:",
                        "memory with --over or --size");
    }

    /// What the effect does only in a host, or only in the layer's own frame.
    void checkMemoryRoad() const {
        if (isSet(SceneField::kGrow))
            refuseValue(SceneField::kGrow,
                        m_scene.hasFrame()
                            ? "the frame's size is given by --over or --size, not by"
                            : "only the effect in a host grows its frame, not the memory road:",
                        "a render of the layer alone");
        if (isSet(SceneField::kTransfer) && m_scene.hasFrame())
            refuseValue(
                SceneField::kTransfer,
                "lays the pinned layer over itself in its own frame:", "--mode with --over");
        if (m_scene.isPlain)
            refuse(SceneField::kPlain, "there is no host command on the", "memory road",
                   "--road module");
        if (m_scene.downsample.value_or(1) != 1)
            refuse(SceneField::kDownsample, "only a host renders smaller, not the", "memory road",
                   "1 with --over, --size or --road memory");
        if (isSet(SceneField::kHost))
            refuseValue(SceneField::kHost, "there is no host on the memory road,", "--road module");
    }

    Scene const& m_scene;
};

}  // namespace

UserError refusalOf(Scene const& scene, SceneField field, std::string const& wrong,
                    std::string const& value, std::string const& expected) {
    auto const option = scene.options.find(field);
    if (option != scene.options.end())
        return {ExitCode::kUsage, {option->second, wrong, value, expected}};
    FieldNames const& names = namesOf(field);
    if (!scene.file.empty() && names.place)
        return {ExitCode::kInput,
                {scene.file.string(), fmt::format("{}: {}", names.place, wrong), value, expected}};
    return {ExitCode::kUsage, {names.option, wrong, value, expected}};
}

UserError refusalOf(Scene const& scene, int parameter, std::string const& wrong,
                    std::string const& value, std::string const& expected) {
    std::string const name(nameOfParameter(parameter));
    for (auto entry = scene.parameters.rbegin(); entry != scene.parameters.rend(); ++entry)
        if (entry->index == parameter && entry->option.empty())
            return {ExitCode::kInput,
                    {scene.file.string(), fmt::format("parameters.{}: {}", name, wrong), value,
                     expected}};
        else if (entry->index == parameter)
            return {ExitCode::kUsage, {entry->option, wrong, value, expected}};
    return {ExitCode::kUsage, {name, wrong, value, expected}};
}

void checkScene(Scene const& scene) { Checker(scene).check(); }

void requireOutput(Scene const& scene) {
    if (!scene.output)
        throw UserError(ExitCode::kUsage,
                        {"--output", "not given,", "", "-o with the name of a picture file"});
}

}  // namespace zelk
