// _zelk: what the package `zelk` is made of. Its names are for that package, which documents them
// (zelk/__init__.py); nothing here computes a pixel.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "bindings/python/errors.h"
#include "bindings/python/frame_stream.h"
#include "bindings/python/gil.h"
#include "bindings/python/keys.h"
#include "bindings/python/scene_object.h"
#include "bindings/python/track_object.h"
#include "bindings/python/values.h"
#include "zelk/files/quiet_libraries.h"
#include "zelk/pictures/png_data.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/file.h"
#include "zelk/scene/parameter_names.h"

namespace py = pybind11;

namespace zelk::python {

namespace {

int threadsOf(py::object const& threads) { return wholeOf(threads, "threads", 0, kMostThreads); }
int inFlightOf(py::object const& frames) { return wholeOf(frames, "in_flight", 1, 1000); }

std::optional<int> frameOf(py::object const& frame) {
    using Limits = std::numeric_limits<int>;
    if (frame.is_none()) return std::nullopt;
    return wholeOf(frame, "frame", Limits::min(), Limits::max());
}

std::optional<std::string> framesGiven(py::object const& frames) {
    if (frames.is_none()) return std::nullopt;
    return frameText(frames, "frames");
}

py::array_t<double> matrixOf(PlaneMatrix const& matrix) {
    return py::array_t<double>({3, 3}, matrix.data());
}

/// Frame, then what zelk.Map has: a map that draws nothing has no matrices.
py::tuple mapOf(int frame, QuadMap const& map) {
    auto const size = [](PixelSize of) { return py::make_tuple(of.width, of.height); };
    py::object toFrame = py::none(), toLayer = py::none();
    if (map.isDrawn) {
        toFrame = matrixOf(map.toFrame);
        toLayer = matrixOf(map.toLayer);
    }
    return py::make_tuple(frame, toFrame, toLayer, size(map.layer), size(map.frame));
}

py::list mapsOf(SceneObject const& scene, py::object const& frames) {
    py::list list;
    for (auto const& [frame, map] : scene.maps(framesGiven(frames))) list.append(mapOf(frame, map));
    return list;
}

/// Name, what it takes, a line of help.
std::vector<std::tuple<std::string, std::string, std::string>> editList() {
    std::vector<std::tuple<std::string, std::string, std::string>> list;
    for (SceneEdit const& edit : sceneEdits())
        list.emplace_back(std::string(edit.name), edit.value, edit.help);
    return list;
}

}  // namespace

void addScene(py::module_& module) {
    py::class_<SceneObject>(module, "SceneObject")
        .def(py::init([](std::string caller, bool isAssociated) {
            return SceneObject(Scene{}, std::move(caller), isAssociated);
        }))
        .def_static("load",
                    [](py::object const& file, bool isAssociated) {
                        std::string const name = pathOf(file, "path");
                        Scene scene = [&name] {
                            Unlocked const unlocked;
                            return readScene(name);
                        }();
                        return SceneObject(std::move(scene), "zelk.Scene", isAssociated);
                    })
        .def("copy", &SceneObject::copy)
        .def("edit", &SceneObject::edit)
        .def("comp", &SceneObject::setComp)
        .def("keys",
             [](SceneObject& self, py::object const& parameter, py::object const& keys,
                py::object const& interpolation) {
                 self.setKeys(keyedParameters(textOf(parameter, "parameter"), keys, interpolation));
             })
        .def("parameters", &SceneObject::parameters)
        .def("render",
             [](SceneObject& self, py::object const& frame, py::object const& threads) {
                 auto const [picture, told] = self.render(frameOf(frame), threadsOf(threads));
                 return py::make_tuple(picture, listOf(told));
             })
        .def("write",
             [](SceneObject const& self, py::object const& frames, bool replace, bool inPlace,
                bool metadata, py::object const& pngLevel, py::object const& threads,
                py::object const& inFlight) {
                 auto const [done, told] = self.write(
                     framesGiven(frames),
                     {replace, inPlace, metadata, wholeOf(pngLevel, "png_level", 0, kMostPngLevel),
                      threadsOf(threads), inFlightOf(inFlight)});
                 return py::make_tuple(done, listOf(told));
             })
        .def("stream",
             [](SceneObject const& self, py::object const& frames, py::object const& threads,
                py::object const& inFlight) {
                 return FrameStreamHolder(new FrameStream(
                     self, framesGiven(frames), threadsOf(threads), inFlightOf(inFlight)));
             })
        .def("maps", &mapsOf)
        .def("st_map", [](SceneObject const& self,
                          py::object const& frame) { return self.stMap(frameOf(frame)); })
        .def("check", &SceneObject::check)
        .def("save", [](SceneObject const& self, py::object const& file, bool replace) {
            self.save(pathOf(file, "path"), replace);
        });
}

}  // namespace zelk::python

PYBIND11_MODULE(_zelk, module) {
    using namespace zelk::python;
    zelk::leaveStandardErrorAlone(true);  // it is the interpreter's
    module.doc() = "Made for the package zelk; use that.";
    addErrors(module);
    addTrack(module);
    addScene(module);
    addFrameStream(module);
    module.def("edits", &editList);
    module.def("parameters", [] {
        return std::vector<std::string_view>(kParameterNames.begin(), kParameterNames.end());
    });
    module.attr("__version__") = ZELK_VERSION;
}
