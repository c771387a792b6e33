// The entries of the effect's popups by name.
//
// They count from 0 here, as RenderArguments and the host seam do. Hosts count from 1, in the
// parameters that they keep and show: entryOfHost and hostEntry lead there and back.
#pragma once

#include <cstdint>

/// From a host's number; any number has its entry, most of them none of the popup's.
constexpr std::int32_t entryOfHost(std::int32_t number) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(number) - 1u);
}
constexpr std::int32_t hostEntry(std::int32_t entry) { return entry + 1; }

enum MochaImportEntry : std::int32_t { kImportNothing, kImportToPins, kImportFromPins };
enum ViewModeEntry : std::int32_t { kViewOriginal, kViewFromPins, kViewToPins, kViewBothPins };
enum OverlayModeEntry : std::int32_t { kShowFromPins, kShowToPins, kShowBothPins };
enum QualityEntry : std::int32_t { kQualityLow, kQualityMedium, kQualityHigh, kQualitySuperSample };
enum WireframeEntry : std::int32_t { kWireframeAlwaysOff, kWireframeAlwaysOn, kWireframeOn };
/// "Comp Settings", the composition's shutter, is offered in After Effects alone.
enum MotionBlurEntry : std::int32_t { kMotionBlurOff, kMotionBlurOn, kMotionBlurComp };
/// The first of the menu, the transform alone with nothing under it; params/TransferMenu.h has the
/// others.
constexpr std::int32_t kTransferNone = 0;
