// The rules between a scene's fields; see check.h.
#include "zelk/scene/check.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "zelk/scene/parameter_names.h"
#include "zelk/scene/refusal.h"

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
    {SceneField::kToPins, "to", nullptr},
    {SceneField::kFromPins, "from", nullptr},
    {SceneField::kTrackTo, "track", nullptr},
    {SceneField::kTrackFrom, "track-from", nullptr},
    {SceneField::kMode, "mode", "render.mode"},
    {SceneField::kGrow, "grow", "parameters.grow-bounds"},
    {SceneField::kTransfer, "transfer", "parameters.transfer-mode"},
    {SceneField::kDownsample, "downsample", "render.downsample"},
    {SceneField::kRoad, "road", nullptr},
    {SceneField::kPlain, "plain", nullptr},
    {SceneField::kHost, "host", nullptr},
};

FieldNames const& namesOf(SceneField field) {
    return *std::find_if(std::begin(kNames), std::end(kNames),
                         [field](FieldNames const& names) { return names.field == field; });
}

bool isOfFile(Scene const& scene, SceneField field) {
    return !scene.isSetBy(field) && !scene.file.empty() && namesOf(field).place;
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

    void check() const {
        if (!m_scene.layer.isGiven())
            throw missing(subjectOf(m_scene, SceneField::kLayer), "a picture file");
        checkPins(SceneField::kToPins, SceneField::kTrackTo);
        checkPins(SceneField::kFromPins, SceneField::kTrackFrom);
        checkFrame();
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

    std::string name(SceneField field) const { return nameOf(m_scene, field); }

    void checkFrame() const {
        std::string const plate = name(SceneField::kPlate), size = name(SceneField::kSize);
        if (m_scene.isPlain && isSet(SceneField::kGrow))
            refuse(SceneField::kGrow,
                   "needs the smart render protocol: leave " + name(SceneField::kPlain) + " out");
        if (isSet(SceneField::kMode) && !m_scene.plate)
            refuse(SceneField::kMode, "needs a plate: give " + plate);
        if (m_scene.plate && m_scene.size && isSet(SceneField::kSize))
            refuse(SceneField::kSize,
                   "does not go with " + plate + ", which gives the frame's size");
        if (m_scene.hasFrame() && m_scene.road == Road::kModule)
            refuse(SceneField::kRoad,
                   fmt::format("module renders a layer in its own frame: leave {} and {} out",
                               plate, size));
    }

    /// What the effect does only in a host, or only in the layer's own frame.
    void checkMemoryRoad() const {
        std::string const clash =
            m_scene.hasFrame() ? fmt::format("does not go with {} or {}", name(SceneField::kPlate),
                                             name(SceneField::kSize))
                               : fmt::format("does not go with {} memory", name(SceneField::kRoad));
        if (isSet(SceneField::kGrow)) refuse(SceneField::kGrow, clash);
        if (isSet(SceneField::kTransfer) && m_scene.hasFrame())
            refuse(SceneField::kTransfer, ownFrameOnly(m_scene));
        if (m_scene.isPlain) refuse(SceneField::kPlain, clash);
        if (m_scene.downsample.value_or(1) != 1) refuse(SceneField::kDownsample, clash);
        if (isSet(SceneField::kHost)) refuse(SceneField::kHost, clash);
    }

    Scene const& m_scene;
};

}  // namespace

std::string spelled(Scene const& scene, std::string_view name) {
    return scene.editPrefix + std::string(name);
}

std::string nameOf(Scene const& scene, SceneField field) {
    return scene.isSetBy(field) ? scene.options.at(field) : spelled(scene, namesOf(field).edit);
}

std::string ownFrameOnly(Scene const& scene) {
    return fmt::format("lays the layer over itself in its own frame: use {} with {}",
                       nameOf(scene, SceneField::kMode), nameOf(scene, SceneField::kPlate));
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
    for (auto entry = scene.parameters.rbegin(); entry != scene.parameters.rend(); ++entry) {
        if (entry->name != name) continue;
        if (!entry->option.empty()) return {ExitCode::kUsage, entry->option + " " + predicate};
        return {ExitCode::kInput,
                fmt::format("{}: parameters.{} {}", scene.file.string(), name, predicate)};
    }
    return {ExitCode::kUsage, name + " " + predicate};
}

void checkScene(Scene const& scene) { Checker(scene).check(); }

void requireOutput(Scene const& scene) {
    if (!scene.output) throw missing(nameOf(scene, SceneField::kOutput), "a picture file to write");
}

}  // namespace zelk
