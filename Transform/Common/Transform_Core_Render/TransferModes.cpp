// The table of transfer modes, made once for each format of frames.
#include "Transform/Common/Transform_Core_Render/TransferModes.h"

namespace {

/// Blend of one mode, for a host's rasters.
using BlendByHost = int (*)(PluginHost_API* host, float foregroundOpacity, float backgroundOpacity,
                            PluginRaster_API* foreground, PluginRaster_API* background,
                            PluginRaster_API* destination);

template <class Trait>
struct TransferMode {
    int first, last;  // mode numbers, inclusive
    BlendRow<Trait> row;
    BlendByHost blend;
};

template <class Trait, class Mode>
int blendOfMode(PluginHost_API* host, float foregroundOpacity, float backgroundOpacity,
                PluginRaster_API* foreground, PluginRaster_API* background,
                PluginRaster_API* destination) {
    using Channel = typename Trait::Channel;
    using Wide = typename Trait::Wide;
    using Weight = typename Trait::Weight;
    using Format = typename Trait::FORMAT;
    return Blend<Trait, Channel, Wide, Weight, Format, Mode>(
        Trait{}, Channel{}, Wide{}, Weight{}, Format{}, Mode{}, host, foregroundOpacity,
        backgroundOpacity, foreground, background, destination, false, false);
}

template <class Trait, template <class, class, class, class, class> class Mode>
constexpr TransferMode<Trait> modes(int first, int last) {
    using Functor = Mode<Trait, typename Trait::Channel, typename Trait::Wide,
                         typename Trait::Weight, typename Trait::FORMAT>;
    return {first, last, &blendRow<Trait, Functor>, &blendOfMode<Trait, Functor>};
}

template <class Trait>
constexpr TransferMode<Trait> kTransferModes[] = {
    modes<Trait, BLEND_BEHIND>(1, 1),
    modes<Trait, BLEND_NORMAL>(2, 2),
    modes<Trait, BLEND_HUE>(3, 3),
    modes<Trait, BLEND_ADD>(4, 4),
    modes<Trait, BLEND_MULTIPLY>(5, 5),
    modes<Trait, BLEND_SCREEN>(6, 6),
    modes<Trait, BLEND_OVERLAY>(7, 7),
    modes<Trait, BLEND_SOFTLIGHT>(8, 8),
    modes<Trait, BLEND_HARDLIGHT>(9, 9),
    modes<Trait, BLEND_DARKEN>(10, 10),
    modes<Trait, BLEND_LIGHTEN>(11, 11),
    modes<Trait, BLEND_DIFFERENCE>(12, 12),
    modes<Trait, BLEND_HUE>(13, 13),
    modes<Trait, BLEND_SAT>(14, 14),
    modes<Trait, BLEND_COLOR>(15, 15),
    modes<Trait, BLEND_LUMA>(16, 16),
    modes<Trait, BLEND_EXCLUSION>(17, 22),
    modes<Trait, BLEND_COLORDODGE>(23, 23),
    modes<Trait, BLEND_COLORBURN>(24, 24),
    modes<Trait, BLEND_EXCLUSION>(25, 25),
    modes<Trait, BLEND_SCREEN_SPECIAL>(35, 35),
};

template <class Trait>
TransferMode<Trait> const* transferMode(int number) {
    for (TransferMode<Trait> const& mode : kTransferModes<Trait>)
        if (number >= mode.first && number <= mode.last) return &mode;
    return nullptr;
}

}  // namespace

template <class Trait>
BlendRow<Trait> blendRowOfMode(int mode) {
    TransferMode<Trait> const* found = transferMode<Trait>(mode);
    return found ? found->row : nullptr;
}

template <class Trait>
int transferByMode(int mode, PluginHost_API* host, float foregroundOpacity, float backgroundOpacity,
                   PluginRaster_API* foreground, PluginRaster_API* background,
                   PluginRaster_API* destination) {
    TransferMode<Trait> const* found = transferMode<Trait>(mode);
    if (!found) return 0;
    return found->blend(host, foregroundOpacity, backgroundOpacity, foreground, background,
                        destination);
}

#define ZELK_INSTANCES(NAME)                                                        \
    template BlendRow<PIXEL_##NAME> blendRowOfMode<PIXEL_##NAME>(int);              \
    template int transferByMode<PIXEL_##NAME>(int, PluginHost_API*, float, float,   \
                                              PluginRaster_API*, PluginRaster_API*, \
                                              PluginRaster_API*);
ZELK_FRAME_FORMATS(ZELK_INSTANCES)
