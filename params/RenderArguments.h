// RenderArguments: the values of all controls that matter to rendering, read once per render, so
// that the pipeline touches no parameter structure of the host afterwards.
//
// Units: pins are fractions of the frame that getOutputWidth() and getOutputHeight() report, y
// down; offsets, translation, angles and opacities stay in their users' units; popups are entries
// of PopupEntries.h; colours run from 0 to 1. Arrays of eight hold x, y of upper left, upper right,
// lower left, lower right. The values are those of one moment, the host call's.
#pragma once

#include <cstdint>

class PluginHost_API;

/// Plain data of the caller.
struct RenderArguments {
    std::int32_t mochaImport;  ///< MochaImportEntry
    std::int32_t viewMode;     ///< ViewModeEntry
    std::int32_t overlayMode;  ///< OverlayModeEntry
    std::uint8_t cropToPins;   ///< 0 or 1
    double toPins[8];          ///< fractions of the frame
    double toOffsets[8];       ///< hundredths of the frame
    double toColor[3];         ///< red, green, blue
    double fromPins[8];        ///< fractions of the frame
    double fromOffsets[8];     ///< hundredths of the frame
    double fromColor[3];       ///< red, green, blue
    double translateX, translateY;
    double scaleX, scaleY;       ///< 1 for no scaling
    double rotate;               ///< degrees
    std::int32_t quality;        ///< QualityEntry
    double superSampleSoftness;  ///< 0 to 5
    double superSampleEdge;      ///< 0 to 12
    std::int32_t growBounds;     ///< pixels
    std::int32_t wireframe;      ///< WireframeEntry
    double shutterAngle;         ///< degrees
    double shutterPhase;         ///< degrees
    double samples;              ///< of motion blur; may carry a fraction
    double sourceOpacity;        ///< 0 to 100
    double cornerPinOpacity;     ///< 0 to 100
    std::int32_t transferMode;   ///< position in TransferMenu.h, separators counted
};

/// Fills `arguments` from the parameter array of an After Effects host object. 1 when the record
/// was filled; 0, with nothing written, when the host has no After Effects side. Without a
/// parameter array numbers are 0 and popups -1: callers supply one.
int ParamsRetrieveValues(PluginHost_API* host, RenderArguments* arguments);

/// Fills `arguments` on any host, through its Get...Value operations at its current time. 0 when
/// the record was filled; else the first code that the host answered, the rest of the record
/// being left as it was.
int ParamsRetrieveValuesFromHost(PluginHost_API* host, RenderArguments* arguments);

/// The Motion Blur popup, a MotionBlurEntry, in the same way.
int MotionBlurFromHost(PluginHost_API* host, std::int32_t* choice);
