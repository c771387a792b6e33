// RenderArguments: the values of all controls that matter to rendering, read once per render, so
// that the pipeline touches no parameter structure of the host afterwards.
//
// Units: pins are fractions of the frame that getOutputWidth() and getOutputHeight() report, y
// down; offsets, translation, angles and opacities stay in their users' units; popups count from
// 0; colours run from 0 to 1. Arrays of eight hold x, y of upper left, upper right, lower left,
// lower right. The values are those of one moment, the host call's.
#pragma once

#include <cstdint>

class PluginHost_API;

/// Plain data of the caller.
struct RenderArguments {
    std::int32_t mochaImport;  ///< 0 nothing, 1 load To Pins, 2 load From Pins
    std::int32_t viewMode;     ///< 0 Original, 1 From Pins, 2 To Pins, 3 Both Pins
    std::int32_t overlayMode;  ///< 0 From Pins, 1 To Pins, 2 both
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
    std::int32_t quality;        ///< 0 Low, 1 Medium, 2 High, 3 Super Sample
    double superSampleSoftness;  ///< 0 to 5
    double superSampleEdge;      ///< 0 to 12
    std::int32_t growBounds;     ///< pixels
    std::int32_t wireframe;      ///< 0 Always Off, 1 Always On, 2 On
    double shutterAngle;         ///< degrees
    double shutterPhase;         ///< degrees
    double samples;              ///< of motion blur; may carry a fraction
    double sourceOpacity;        ///< 0 to 100
    double cornerPinOpacity;     ///< 0 to 100
    std::int32_t transferMode;   ///< position in the popup, separators counted
};

/// Fills `arguments` from the parameter array of an After Effects host object. 1 when the record
/// was filled; 0, with nothing written, when the host has no After Effects side. Without a
/// parameter array numbers are 0 and popups -1: callers supply one.
int ParamsRetrieveValues(PluginHost_API* host, RenderArguments* arguments);

/// Fills `arguments` on any host, through its Get...Value operations at its current time. 0 when
/// the record was filled; else the first code that the host answered, the rest of the record
/// being left as it was.
int ParamsRetrieveValuesFromHost(PluginHost_API* host, RenderArguments* arguments);

/// The Motion Blur popup in the same way: 0 Off, 1 On, 2 Comp Settings.
int MotionBlurFromHost(PluginHost_API* host, std::int32_t* choice);
