// zelk.Track: tracking data that nobody changes; its changes are new ones.
#pragma once

#include <pybind11/pybind11.h>

#include <memory>
#include <string>

#include "zelk/tracks/track.h"

namespace zelk::python {

struct TrackObject {
    std::string name;  ///< for messages: its file, or "track"
    std::shared_ptr<Track const> track;
};

void addTrack(pybind11::module_& module);

}  // namespace zelk::python
