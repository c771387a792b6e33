// Readout: what is under the cursor, in words.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "apps/viewer/model/frame_service.h"
#include "apps/viewer/model/picture_place.h"
#include "hostkit/panel.h"

namespace zelk {

/// The numbers that the output's file has for a pixel.
struct StoredValues {
    std::array<double, 4> channels{};
    int count = 0;         ///< 1 grey, 2 grey and alpha, 3 colour, 4 colour and alpha
    bool isWhole = false;  ///< of 8 or 16 bits
};

/// Nothing outside of the picture.
std::optional<StoredValues> storedValues(PictureBuffer const& picture, int x, int y);

/// "R 255  G 128  B 0  A 255"
std::string readoutText(StoredValues const& values);
/// "frame 12.5, 40.0   layer 3.1, 8.4": a point of what is shown, and where the render has it from
/// or puts it.
std::string placesText(Document const& document, ShownPicture shows, PanelPoint at);
/// The file's values at a point, or the screen's where the picture has no others, with blanks
/// before them.
std::string valuesText(ShownFrame const& frame, PicturePlace const& place, PanelPoint at);

}  // namespace zelk
