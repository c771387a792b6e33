// What a user chooses of a composition's look: a row each, for the bar's boxes and the menus.
#pragma once

#include <array>

#include "apps/viewer/model/frame_service.h"
#include "apps/viewer/model/shown_pixels.h"

namespace zelk {

template <class Value>
struct LookChoice {
    Value value;
    char const* name;
    char const* keys;
    char const* help;
};

inline constexpr std::array<LookChoice<ShownPicture>, 3> kShownChoices = {
    {{ShownPicture::kFrame, "Frame", "Shift+F", "Show the rendered frame; To Pins lie in it"},
     {ShownPicture::kLayer, "Layer", "Shift+L", "Show the layer alone; From Pins lie in it"},
     {ShownPicture::kPlate, "Plate", "Shift+P", "Show the plate alone"}}};

inline constexpr std::array<LookChoice<ChannelView>, 6> kChannelChoices = {
    {{ChannelView::kColor, "Colour", "Alt+C", "Show all channels"},
     {ChannelView::kRed, "Red", "Alt+1", "Show the red channel as grey"},
     {ChannelView::kGreen, "Green", "Alt+2", "Show the green channel as grey"},
     {ChannelView::kBlue, "Blue", "Alt+3", "Show the blue channel as grey"},
     {ChannelView::kAlpha, "Alpha", "Alt+4", "Show alpha as grey"},
     {ChannelView::kLuminance, "Luminance", "Alt+5", "Show luminance (Rec. 709) as grey"}}};

inline constexpr std::array<LookChoice<Backdrop>, 4> kBackdropChoices = {
    {{Backdrop::kChecker, "Checkerboard", "Ctrl+Alt+1", "Show squares where it is transparent"},
     {Backdrop::kBlack, "Black", "Ctrl+Alt+2", "Show black where it is transparent"},
     {Backdrop::kWhite, "White", "Ctrl+Alt+3", "Show white where it is transparent"},
     {Backdrop::kPlate, "Plate", "Ctrl+Alt+4", "Show the plate where it is transparent"}}};

}  // namespace zelk
