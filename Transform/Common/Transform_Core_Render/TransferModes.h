// Transfer modes by number, for five pixel formats: PIXEL_ARGB8, PIXEL_BGRA8, PIXEL_ARGB15,
// PIXEL_ARGB32, PIXEL_BGRA32.
//
//    1 Behind      5 Multiply     9 Hard Light  13, 3 Hue       17 to 22, 25 Exclusion
//    2 Normal      6 Screen      10 Darken      14 Saturation   23 Color Dodge
//    4 Add         7 Overlay     11 Lighten     15 Color        24 Color Burn
//                  8 Soft Light  12 Difference  16 Luminosity   35 Screen
//
// Straight colour on both sides. A mode is looked up once per image; no pixel loop knows of it.
#pragma once

#include "Transform/Common/Transform_Core_Render/Blend.h"

/// Blends a row of `width` pixels; foreground, background and destination may coincide.
template <class Trait>
using BlendRow = void (*)(typename Trait::Channel const* foreground,
                          typename Trait::Channel const* background,
                          typename Trait::Channel* destination, int width,
                          BlendOptions const& options);

/// The row function of a mode number, or null where the number has none. For callers that have
/// pixels and no host object.
template <class Trait>
BlendRow<Trait> blendRowOfMode(int mode);

/// Lays `foreground` over `background` by a mode number, into `destination`, which may be either of
/// them; opacities from 0 to 1. A number without a mode leaves the destination. The result is 0.
template <class Trait>
int transferByMode(int mode, PluginHost_API* host, float foregroundOpacity, float backgroundOpacity,
                   PluginRaster_API* foreground, PluginRaster_API* background,
                   PluginRaster_API* destination);
