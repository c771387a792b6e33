// The exchange of the quads; see invert.h.
#include "zelk/scene/invert.h"

#include <utility>

#include "zelk/scene/parameter_names.h"

namespace zelk {

namespace {

constexpr int kOffsets = 8;  // x and y of each corner

/// A parameter of the To quad's as that of the From quad; anything else has none.
std::optional<int> exchanged(int index) {
    if (index >= kToPins && index < kToPins + 4) return index - kToPins + kFromPins;
    if (index >= kToOffsets && index < kToOffsets + kOffsets)
        return index - kToOffsets + kFromOffsets;
    return std::nullopt;
}

bool isOfFrom(int index) {
    return (index >= kFromPins && index < kFromPins + 4) ||
           (index >= kFromOffsets && index < kFromOffsets + kOffsets);
}

bool isOfQuality(int index) {
    return index == kParamQuality || index == kParamSuperSampleSoftness ||
           index == kParamSuperSampleEdge;
}

std::vector<SceneParameter> exchanged(std::vector<SceneParameter> const& parameters) {
    std::vector<SceneParameter> result;
    for (SceneParameter parameter : parameters) {
        int const index = requiredParameter(parameter.option, parameter.name);
        if (auto const from = exchanged(index)) {
            parameter.name = nameOfParameter(*from);
            parameter.diskId.reset();
        }
        result.push_back(std::move(parameter));
    }
    return result;
}

/// Of an inverted scene, in its own terms.
bool isUsed(SceneParameter const& parameter) {
    int const index = requiredParameter(parameter.option, parameter.name);
    if (exchanged(index)) return true;
    return !isOfFrom(index) && (!parameter.option.empty() || isOfQuality(index));
}

/// What an option set is told by its name wherever it went.
void renameOption(Scene& scene, SceneField from, SceneField to) {
    auto option = scene.options.extract(from);
    if (option.empty()) return;
    option.key() = to;
    scene.options.erase(to);
    scene.options.insert(std::move(option));
}

/// What a file says of the layer that was laid over the plate, and of how.
void dropFinish(Scene& scene) {
    auto const isOfFile = [&scene](SceneField field) { return !scene.isSetBy(field); };
    if (isOfFile(SceneField::kMatte)) scene.matte.reset();
    if (isOfFile(SceneField::kHoldout)) scene.holdout.reset();
    if (isOfFile(SceneField::kStMap)) scene.stMap.reset();
    if (isOfFile(SceneField::kEdges)) scene.edges.reset();
    if (isOfFile(SceneField::kFeather)) scene.featherPx = 0;
    if (isOfFile(SceneField::kChoke)) scene.chokePx = 0;
}

}  // namespace

Scene usedOfInverted(Scene scene) {
    if (!scene.isInverted) return scene;
    if (scene.plate) {
        scene.layer = {};
        scene.color.layer.reset();
    }
    scene.overMode.reset();
    dropFinish(scene);
    std::erase_if(scene.parameters, [](auto const& entry) { return !isUsed(entry); });
    std::erase_if(scene.tracks, [](auto const& use) { return use.pins == TrackedPins::kFrom; });
    return scene;
}

Scene invertedScene(Scene given) {
    Scene scene = usedOfInverted(std::move(given));
    if (!scene.isInverted) return scene;
    scene.isInverted = false;
    scene.fillsFrame = true;
    scene.road = Road::kMemory;
    if (scene.plate) {
        scene.layer = *std::exchange(scene.plate, std::nullopt);
        renameOption(scene, SceneField::kPlate, SceneField::kLayer);
        scene.color.layer = std::exchange(scene.color.plate, std::nullopt);
        scene.options.erase(SceneField::kLayerColor);
        renameOption(scene, SceneField::kPlateColor, SceneField::kLayerColor);
    }
    scene.parameters = exchanged(scene.parameters);
    for (TrackUse& use : scene.tracks) use.pins = TrackedPins::kFrom;
    renameOption(scene, SceneField::kToPins, SceneField::kFromPins);
    renameOption(scene, SceneField::kTrackTo, SceneField::kTrackFrom);
    return scene;
}

}  // namespace zelk
