// Keyframes as Scene.keys takes them.
#pragma once

#include <pybind11/pybind11.h>

#include <string>
#include <vector>

#include "zelk/scene/scene.h"

namespace zelk::python {

/// The parameter, or the four pins of "to" and "from", with keys in the order of their frames: of
/// {frame: value}, or of a list of (frame, value, interpolation, ease in, ease out), of which two
/// are needed; `interpolation` is that of keys without their own. Throws usage errors.
std::vector<SceneParameter> keyedParameters(std::string name, pybind11::handle keys,
                                            pybind11::handle interpolation);

}  // namespace zelk::python
