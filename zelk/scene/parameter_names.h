// Names by which a user addresses the effect's parameters: the effect's own constants without
// `kParam`, in kebab-case, in the order of the parameter indices.
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace zelk {

inline constexpr int kParameterCount = 63;

/// The indices that the command line itself writes or reads.
enum ParameterPosition {
    kMochaImport = 1,
    kViewMode = 2,
    kCropToPins = 4,
    kToPins = 6,      ///< upper left, upper right, lower left, lower right
    kToOffsets = 11,  ///< x, y of the same four corners
    kFromPins = 23,
    kFromOffsets = 28,  ///< the same
    kTranslateX = 40,
    kTranslateY = 41,
    kScaleX = 42,
    kScaleY = 43,
    kRotate = 44,
    kQuality = 48,
    kSuperSampleSoftness = 49,
    kSuperSampleEdge = 50,
    kGrowBounds = 51,
    kMotionBlur = 55,
    kShutterAngle = 56,
    kShutterPhase = 57,
    kSamples = 58,
    kSourceOpacity = 60,
    kCornerPinOpacity = 61,
    kTransferMode = 62,
};

extern std::array<std::string_view, kParameterCount> const kParameterNames;

inline std::string_view nameOfParameter(int index) {
    return kParameterNames[static_cast<std::size_t>(index)];
}

/// Exact, but for the case of letters.
std::optional<int> parameterIndex(std::string_view name);

/// What a control's numbers count: "px", "%", "degrees"; empty for one without numbers.
std::string_view unitOf(int index);

/// The name with the least edit distance; the first of equals.
std::string_view nearestOf(std::string_view const* first, std::size_t count, std::string_view word);
std::string_view nearestParameterName(std::string_view word);

/// Insertions, deletions and replacements that turn one word into the other.
int editDistance(std::string_view a, std::string_view b);

}  // namespace zelk
