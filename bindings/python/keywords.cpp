// Values to the texts of edits; see keywords.h.
#include "bindings/python/keywords.h"

#include <fmt/format.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "bindings/python/arrays.h"
#include "bindings/python/track_object.h"
#include "bindings/python/values.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/text/errors.h"
#include "zelk/tracks/check.h"

namespace py = pybind11;

namespace zelk::python {

namespace {

/// "x,y x,y x,y x,y"
std::string cornersText(py::handle value, std::string const& thing) {
    std::string text;
    for (Point const& corner : cornersOf(value, thing))
        text += fmt::format("{}{},{}", text.empty() ? "" : " ", corner.x, corner.y);
    return text;
}

/// The text of an edit whose value is a list in Python.
std::string listText(std::string_view edit, py::handle value, std::string const& thing) {
    if (edit == "frames") return frameText(value, thing);
    if (edit == "size" || edit == "track-size") {
        if (py::len(value) != 2) refuse(thing, value, "(w, h) in pixels");
        return joinedText(value, "x", thing);
    }
    return joinedText(value, ",", thing);
}

/// Of a file.
bool isName(py::handle value) { return isText(value) || py::hasattr(value, "__fspath__"); }

bool takesPicture(std::string_view edit) {
    constexpr std::string_view kPictures[] = {"layer", "over", "matte", "holdout", "st-map"};
    return std::find(std::begin(kPictures), std::end(kPictures), edit) != std::end(kPictures);
}

/// An array's layer, plate, matte or lens map; false for a file's name and for other edits.
bool setPicture(Scene& scene, std::string_view edit, std::string const& thing, py::handle value,
                bool isAssociated) {
    if (isName(value) || !takesPicture(edit)) return false;
    if (!isArray(value)) refuse(thing, value, "an array or a file's name");
    auto const buffer = [&] { return bufferOf(value, thing, isAssociated); };
    if (edit == "layer") return setLayer(scene, buffer()), true;
    if (edit == "over") return setPlate(scene, buffer()), true;
    if (edit == "matte") return setMatte(scene, buffer()), true;
    if (edit == "holdout") return setHoldout(scene, buffer()), true;
    PictureBuffer map = bufferOf(value, thing, true);  // as a file of OpenEXR: nothing is divided
    requireSound(map);
    scene.stMap = SceneInput{{}, std::make_shared<PictureBuffer const>(std::move(map))};
    scene.options[SceneField::kStMap] = thing;
    return true;
}

bool setTrack(Scene& scene, std::string_view edit, std::string const& thing, py::handle value) {
    bool const isTo = edit == "track";
    if ((!isTo && edit != "track-from") || isName(value)) return false;
    py::object const own = py::getattr(value, "_track", py::none());
    if (!py::isinstance<TrackObject>(own)) refuse(thing, value, "a Track or a file's name");
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
            std::string own = textOf(name, thing);
            std::replace(own.begin(), own.end(), '_', '-');
            std::string const text =
                isList(each) ? joinedText(each, ",", own) : plainText(each, own);
            edit.apply(scene, thing, own + "=" + text);
        }
    } else if (isList(value)) {
        for (py::object const each : py::reinterpret_borrow<py::sequence>(value))
            edit.apply(scene, thing, plainText(each, thing));
    } else {
        edit.apply(scene, thing, plainText(value, thing));
    }
}

void apply(Scene& scene, SceneEdit const& edit, std::string const& thing, py::handle value,
           bool isAssociated) {
    if (value.is_none()) return;
    if (setPicture(scene, edit.name, thing, value, isAssociated)) return;
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
        std::string const keyword = textOf(key, "a keyword");
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

}  // namespace zelk::python
