// Values to the texts of edits; see keywords.h.
#include "bindings/python/keywords.h"

#include <fmt/format.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "bindings/python/arrays.h"
#include "bindings/python/track_object.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/text/errors.h"
#include "zelk/tracks/check.h"

namespace py = pybind11;

namespace zelk::python {

namespace {

bool isText(py::handle value) { return py::isinstance<py::str>(value); }
bool isList(py::handle value) {
    return !isText(value) && PySequence_Check(value.ptr()) && !py::isinstance<py::bytes>(value);
}

[[noreturn]] void refuse(std::string const& thing, py::handle value, std::string const& expected) {
    throw UserError(ExitCode::kUsage,
                    {thing, "not understood:", shortened(std::string(py::str(value))), expected});
}

double numberOf(py::handle value, std::string const& thing, std::string const& expected) {
    double const number = PyFloat_AsDouble(value.ptr());
    if (number == -1 && PyErr_Occurred()) {
        PyErr_Clear();
        refuse(thing, value, expected);
    }
    return number;
}

std::string numberText(py::handle value, std::string const& thing) {
    if (PyIndex_Check(value.ptr())) return std::string(py::str(value));
    return fmt::format("{}", numberOf(value, thing, "a number or a text"));
}

std::string plainText(py::handle value, std::string const& thing) {
    if (isText(value)) return value.cast<std::string>();
    if (py::hasattr(value, "__fspath__")) return pathText(value);
    // NumPy's own is "numpy.bool_" before its version 2, and "numpy.bool" from then on.
    bool const isFlag = py::isinstance<py::bool_>(value) ||
                        std::string_view(Py_TYPE(value.ptr())->tp_name).starts_with("numpy.bool");
    if (isFlag) return value.cast<bool>() ? "on" : "off";
    return numberText(value, thing);
}

std::string joined(py::handle values, char const* between, std::string const& thing) {
    std::string text;
    for (py::handle const value : py::reinterpret_borrow<py::sequence>(values))
        text += (text.empty() ? "" : between) + plainText(value, thing);
    return text;
}

/// "x,y x,y x,y x,y" of anything with four rows of two.
std::string cornersText(py::handle value, std::string const& thing) {
    constexpr char const* kExpected =
        "four (x, y): upper left, upper right, lower left, lower right";
    auto const array =
        py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(value);
    if (!array) PyErr_Clear();
    if (!array || array.ndim() != 2 || array.shape(0) != 4 || array.shape(1) != 2)
        refuse(thing, value, kExpected);
    std::string text;
    for (py::ssize_t i = 0; i < 4; ++i)
        text += fmt::format("{}{},{}", i ? " " : "", array.at(i, 0), array.at(i, 1));
    return text;
}

/// The text of an edit whose value is a list in Python.
std::string listText(std::string_view edit, py::handle value, std::string const& thing) {
    if (edit == "frames") return frameText(value, thing);
    if (edit == "size" || edit == "track-size") return joined(value, "x", thing);
    return joined(value, ",", thing);
}

/// An array's layer, plate, matte or lens map; false for an edit that takes none.
bool setPicture(Scene& scene, std::string_view edit, std::string const& thing, py::handle value,
                bool isAssociated) {
    auto const buffer = [&] { return bufferOf(value, thing, isAssociated); };
    if (edit == "layer") return setLayer(scene, buffer()), true;
    if (edit == "over") return setPlate(scene, buffer()), true;
    if (edit == "matte") return setMatte(scene, buffer()), true;
    if (edit == "holdout") return setHoldout(scene, buffer()), true;
    if (edit != "st-map") return false;
    PictureBuffer map = bufferOf(value, thing, true);  // as a file of OpenEXR: nothing is divided
    requireSound(map);
    scene.stMap = SceneInput{{}, std::make_shared<PictureBuffer const>(std::move(map))};
    scene.options[SceneField::kStMap] = thing;
    return true;
}

bool setTrack(Scene& scene, std::string_view edit, std::string const& thing, py::handle value) {
    bool const isTo = edit == "track";
    py::object const own = py::getattr(value, "_track", py::none());
    if ((!isTo && edit != "track-from") || !py::isinstance<TrackObject>(own)) return false;
    auto const& track = own.cast<TrackObject const&>();
    TrackedPins const pins = isTo ? TrackedPins::kTo : TrackedPins::kFrom;
    requireImportable(track.name, *track.track);
    std::erase_if(scene.tracks, [pins](TrackUse const& former) { return former.pins == pins; });
    scene.tracks.push_back({{track.name}, pins, track.track, "", {}});
    scene.options[isTo ? SceneField::kTrackTo : SceneField::kTrackFrom] = thing;
    return true;
}

/// "set": a dict, a text "NAME=VALUE", or a list of them.
void setParameters(Scene& scene, SceneEdit const& edit, std::string const& thing,
                   py::handle value) {
    if (py::isinstance<py::dict>(value)) {
        for (auto const& [name, each] : py::reinterpret_borrow<py::dict>(value)) {
            std::string own = name.cast<std::string>();
            std::replace(own.begin(), own.end(), '_', '-');
            std::string const text = isList(each) ? joined(each, ",", own) : plainText(each, own);
            edit.apply(scene, thing, own + "=" + text);
        }
    } else if (isList(value)) {
        for (py::handle const each : py::reinterpret_borrow<py::sequence>(value))
            edit.apply(scene, thing, plainText(each, thing));
    } else {
        edit.apply(scene, thing, plainText(value, thing));
    }
}

void apply(Scene& scene, SceneEdit const& edit, std::string const& thing, py::handle value,
           bool isAssociated) {
    if (value.is_none()) return;
    if (isArray(value) && setPicture(scene, edit.name, thing, value, isAssociated)) return;
    if (setTrack(scene, edit.name, thing, value)) return;
    if (edit.name == "set") return setParameters(scene, edit, thing, value);
    bool const isCorners = edit.name == "to" || edit.name == "from";
    std::string const text = isCorners && !isText(value) ? cornersText(value, thing)
                             : isList(value)             ? listText(edit.name, value, thing)
                                                         : plainText(value, thing);
    edit.apply(scene, thing, text);
}

std::string editOf(std::string keyword) {
    std::replace(keyword.begin(), keyword.end(), '_', '-');
    return keyword == "frm" ? "from" : keyword;
}

std::string keywordOf(std::string edit) {
    std::replace(edit.begin(), edit.end(), '-', '_');
    return edit == "from" ? "frm" : edit;
}

[[noreturn]] void refuseUnknown(std::string const& keyword, std::string const& caller) {
    std::vector<std::string> names;
    for (SceneEdit const& edit : sceneEdits()) names.push_back(keywordOf(std::string(edit.name)));
    std::vector<std::string_view> const views(names.begin(), names.end());
    std::string const near(nearestOf(views.data(), views.size(), keyword));
    bool const isNear = 2 * editDistance(near, keyword) <= static_cast<int>(keyword.size());
    throw UserError(
        ExitCode::kUsage,
        fmt::format("{}: unknown option \"{}\", expected {}", caller.substr(caller.rfind('.') + 1),
                    keyword,
                    isNear ? fmt::format("an option of `{}`, such as \"{}\"", caller, near)
                           : "one that `zelk.edits()` lists"));
}

}  // namespace

void applyKeywords(Scene& scene, py::dict const& keywords, std::string const& caller,
                   bool isAssociated) {
    std::vector<std::pair<std::string, py::handle>> given;
    for (auto const& [key, value] : keywords) {
        std::string const keyword = key.cast<std::string>();
        std::string const name = editOf(keyword);
        auto const edits = sceneEdits();
        bool const isKnown = std::any_of(edits.begin(), edits.end(),
                                         [&](SceneEdit const& edit) { return edit.name == name; });
        if (!isKnown) refuseUnknown(keyword, caller);
        given.emplace_back(keyword, value);
    }
    Scene edited = scene;
    for (SceneEdit const& edit : sceneEdits())
        for (auto const& [keyword, value] : given)
            if (editOf(keyword) == edit.name) apply(edited, edit, keyword, value, isAssociated);
    scene = std::move(edited);
}

SceneValue sceneValueOf(py::handle value, std::string const& thing) {
    constexpr char const* kExpected = "a number, True or False, a text or (x, y)";
    if (py::isinstance<py::bool_>(value)) return value.cast<bool>();
    if (isText(value)) return value.cast<std::string>();
    if (!isList(value)) return numberOf(value, thing, kExpected);
    auto const pair = py::reinterpret_borrow<py::sequence>(value);
    if (pair.size() != 2) refuse(thing, value, kExpected);
    return Point{numberOf(py::object(pair[0]), thing, kExpected),
                 numberOf(py::object(pair[1]), thing, kExpected)};
}

std::string frameText(py::handle value, std::string const& thing) {
    if (!isList(value)) return plainText(value, thing);
    return joined(value, ",", thing);
}

std::string pathText(py::handle value) {
    return py::module_::import("os").attr("fsdecode")(value).cast<std::string>();
}

}  // namespace zelk::python
