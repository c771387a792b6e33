// What a render settles before any pixel: the controls' values, the output's form, warnings.
#pragma once

#include <string>
#include <vector>

#include "hostkit/host.h"
#include "zelk/pictures/writer.h"
#include "zelk/scene/render_request.h"

namespace zelk {

/// Sets pins, quality, view, settings and motion blur, over what defaults and a project gave; a
/// value that an option gives loses its keyframes. To Pins that are left open become the From Pins.
/// Throws a usage error for a refused value.
void applyRequest(RenderRequest const& request, std::vector<Parameter>& parameters);

/// Sets all values for a layer in a frame: defaults, the project's, the tracks', the request's. Of
/// tracks the frames count from the host's composition, which must be set. On the memory road the
/// From Pins start at the layer's corners and all other points at the frame's.
void setParameters(RenderRequest const& request, Host& host, PixelSize layer, PixelSize frame);

/// The parameters with their values at a moment as `current`.
std::vector<Parameter> parametersAt(std::vector<Parameter> const& parameters, KeyTime const& time);

/// The composition of a render: the project's, else one at the request's rate that lasts from
/// `firstFrame` to `lastFrame`; its shutter as the options say.
Comp compOf(RenderRequest const& request, int firstFrame, int lastFrame);

/// What the output inherits: windows and metadata of the plate, else the layer's metadata; the
/// deeper samples of the two. `plate` may be null.
WriteRequest outputOf(RenderRequest const& request, PictureTraits const& layer,
                      PictureTraits const* plate);
/// The same for the module road.
WriteRequest ownFrameOutput(RenderRequest const& request, PictureTraits const& layer,
                            PixelSize margin);

/// A Transfer Mode lays the pinned layer over the layer as it stands in its own frame: a usage
/// error in another one.
void checkTransfer(std::vector<Parameter> const& parameters);

/// The first declaration of colours that both files make and that differs is told.
void addColorWarning(RenderRequest const& request, PictureTraits const& layer,
                     PictureTraits const& plate, std::vector<std::string>& warnings);

/// For OpenMP and OpenImageIO; 0 leaves them alone.
void useThreads(int count);
/// Of the engine: in Premiere Pro the scan keeps to one thread.
int engineThreads(RenderRequest const& request);

}  // namespace zelk
