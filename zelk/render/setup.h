// What a render settles before any pixel: the controls' values, the output's form, warnings.
#pragma once

#include <string>
#include <vector>

#include "hostkit/host.h"
#include "zelk/pictures/writer.h"
#include "zelk/render/run_options.h"
#include "zelk/scene/scene.h"

namespace zelk {

/// Sets what options gave, and motion blur, over what defaults and a file gave. To Pins that are
/// left open become the From Pins. Throws a usage error for a refused value.
void setOptionValues(Scene const& scene, std::vector<Parameter>& parameters);

/// Sets all values for a layer in a frame: defaults, the file's, the tracks', the options'. Of
/// tracks the frames count from the host's composition, which must be set. On the memory road the
/// From Pins start at the layer's corners and all other points at the frame's.
void setParameters(Scene const& scene, Host& host, PixelSize layer, PixelSize frame);

/// The parameters as that layer and frame have them before anything is set: To Pins at the frame's
/// corners, where those stay that have keys alone; without any, followedPin (zelk/scene/values.h)
/// tells what an unset one is.
std::vector<Parameter> defaultsOf(Scene const& scene, std::vector<Parameter> parameters,
                                  PixelSize layer, PixelSize frame);

/// The parameters with their values at a moment as `current`.
std::vector<Parameter> parametersAt(std::vector<Parameter> const& parameters, KeyTime const& time);

/// The composition of a render: the scene's own, else one that lasts from `firstFrame` to
/// `lastFrame`.
Comp compOf(Scene const& scene, int firstFrame, int lastFrame);

OutputChannels channelsOf(Scene const& scene);
/// How any output of a run is written.
WriteRequest writeRequestOf(RunOptions const& run);
/// What the output inherits: windows and metadata of the plate, else the layer's metadata; the
/// deeper samples of the two. `plate` may be null.
WriteRequest outputOf(Scene const& scene, RunOptions const& run, PictureTraits const& layer,
                      PictureTraits const* plate);
/// The same for the module road.
WriteRequest ownFrameOutput(Scene const& scene, RunOptions const& run, PictureTraits const& layer,
                            PixelSize margin);

/// Throws about what set a parameter that the scene's road has no use for: Grow Bounds needs the
/// smart render protocol; a Transfer Mode lays the pinned layer over the layer as it stands in its
/// own frame.
void checkRoad(Scene const& scene, std::vector<Parameter> const& parameters);

/// For OpenMP and OpenImageIO; 0 leaves them alone.
void useThreads(int count);
/// Of the engine: in Premiere Pro the scan keeps to one thread.
int engineThreads(Scene const& scene);

}  // namespace zelk
