// Tracks to arrays and texts, and back; see track_object.h.
#include "bindings/python/track_object.h"

#include <fmt/format.h>
#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <cmath>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "bindings/python/gil.h"
#include "bindings/python/values.h"
#include "zelk/files/output_place.h"
#include "zelk/files/text_file.h"
#include "zelk/scene/track_use.h"
#include "zelk/text/errors.h"
#include "zelk/tracks/check.h"
#include "zelk/tracks/corner_order.h"
#include "zelk/tracks/forms.h"

namespace py = pybind11;

namespace zelk::python {

namespace {

using Numbers = py::array_t<double, py::array::c_style | py::array::forcecast>;

void setSize(Track& track, std::optional<PixelSize> const& size) {
    if (!size) return;
    track.width = size->width;
    track.height = size->height;
}

TrackObject load(py::object const& file, py::object const& format, py::object const& size) {
    ReadTrackOptions how;
    if (!format.is_none()) how.format = textOf(format, "format");
    if (how.format) trackFormatNamed("format", *how.format);
    how.size = sizeOf(size, "size");
    std::string const name = pathOf(file, "path");
    Unlocked const unlocked;
    return {name, std::make_shared<Track const>(readTrack(name, how))};
}

/// Real numbers of anything that has them.
Numbers numbersOf(py::object const& value, std::string const& thing) {
    auto const given = py::array::ensure(value);
    Numbers numbers;
    if (given && given.dtype().kind() != 'c') numbers = Numbers::ensure(given);
    if (!given || given.dtype().kind() == 'c' || !numbers) {
        PyErr_Clear();
        refuse(thing, value, "an array of numbers");
    }
    return numbers;
}

TrackObject fromArrays(py::object const& frameArray, py::object const& cornerArray,
                       py::object const& size, py::object const& rate, py::object const& nameText) {
    std::string const name = textOf(nameText, "name");
    Numbers const frames = numbersOf(frameArray, "frames");
    Numbers const corners = numbersOf(cornerArray, "corners");
    bool const fits = frames.ndim() == 1 && corners.ndim() == 3 && frames.shape(0) > 0 &&
                      corners.shape(0) == frames.shape(0) && corners.shape(1) == 4 &&
                      corners.shape(2) == 2;
    if (!fits)
        throw UserError(ExitCode::kUsage,
                        {name, "arrays can't have the shapes",
                         shown(frames.attr("shape")) + " and " + shown(corners.attr("shape")),
                         "N frames and N x 4 x 2 corners"});
    Track track;
    setSize(track, sizeOf(size, "size"));
    constexpr char const* kRates = "frames a second, above 0, or None";
    if (!rate.is_none()) track.rate = numberOf(rate, "rate", kRates);
    if (track.rate && !(*track.rate > 0 && std::isfinite(*track.rate)))
        refuse("rate", rate, kRates);
    track.format = trackFormats().front().name;
    for (py::ssize_t i = 0; i < frames.shape(0); ++i)
        for (py::ssize_t c = 0; c < 4; ++c) {
            TrackSample const sample{frames.at(i), corners.at(i, c, 0), corners.at(i, c, 1), 0};
            bool const isFinite =
                std::isfinite(sample.frame) && !std::isinf(sample.x) && !std::isinf(sample.y);
            if (!isFinite)
                throw UserError(ExitCode::kUsage, fmt::format("{}: row {} is not finite", name, i));
            if (std::isnan(sample.x) || std::isnan(sample.y)) continue;
            track.corners[static_cast<std::size_t>(c)].samples.push_back(sample);
        }
    return {name, std::make_shared<Track const>(std::move(track))};
}

template <class Change>
TrackObject changed(TrackObject const& from, Change const& change) {
    Track track = *from.track;
    change(track);
    return {from.name, std::make_shared<Track const>(std::move(track))};
}

void requireSize(TrackObject const& from, char const* what) {
    if (!from.track->hasSize())
        throw UserError(ExitCode::kUsage,
                        fmt::format("{} needs the frame's size, which {} lacks: give size=(w, h)",
                                    what, from.name));
}

std::vector<TrackRow> rowsOf(TrackObject const& from) {
    std::vector<TrackRow> rows;
    eachRow(*from.track, [&rows](TrackRow const& row) { rows.push_back(row); });
    return rows;
}

Numbers frames(TrackObject const& from) {
    auto const rows = rowsOf(from);
    Numbers array(static_cast<py::ssize_t>(rows.size()));
    for (std::size_t i = 0; i < rows.size(); ++i) array.mutable_data()[i] = rows[i].frame;
    return array;
}

Numbers corners(TrackObject const& from) {
    auto const rows = rowsOf(from);
    Numbers array(std::vector<py::ssize_t>{static_cast<py::ssize_t>(rows.size()), 4, 2});
    double* to = array.mutable_data();
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    for (TrackRow const& row : rows)
        for (auto const& corner : row.corners) {
            *to++ = corner ? corner->x : kNone;
            *to++ = corner ? corner->y : kNone;
        }
    return array;
}

std::string text(TrackObject const& from, std::string const& form) {
    TrackFormat const& format = trackFormatNamed("form", form);
    if (format.writesSize) requireSize(from, form.c_str());
    return format.write(*from.track);
}

/// By the extension, without a form.
void save(TrackObject const& from, py::object const& file, py::object const& given,
          bool mayReplace) {
    std::filesystem::path const path = pathOf(file, "path");
    std::string form = given.is_none() ? "" : textOf(given, "form");
    for (TrackFormat const& format : trackFormats())
        if (form.empty() && !format.ending.empty() && path.extension() == format.ending)
            form = format.name;
    if (form.empty())
        throw UserError(ExitCode::kUsage,
                        {path.string(), "no form for the extension", path.extension().string(),
                         "form= " + trackFormatNames()});
    std::string const written = text(from, form);
    Unlocked const unlocked;
    checkPlace(path, !mayReplace);
    writeTextFile(path, written, mayReplace);
}

py::list issues(TrackObject const& from, py::object const& size) {
    TrackTarget target;
    target.frame = sizeOf(size, "size");
    std::vector<std::string> sentences;
    for (TrackIssue const& issue : checkTrack(*from.track, target))
        sentences.push_back(issueText(issue));
    return listOf(sentences);
}

}  // namespace

void addTrack(py::module_& module) {
    py::class_<TrackObject>(module, "TrackObject")
        .def(py::init(&fromArrays))
        .def_static("load", &load)
        .def_property_readonly("frames", &frames)
        .def_property_readonly("corners", &corners)
        .def_property_readonly("size",
                               [](TrackObject const& self) -> py::object {
                                   if (!self.track->hasSize()) return py::none();
                                   return py::make_tuple(self.track->width, self.track->height);
                               })
        .def_property_readonly("rate", [](TrackObject const& self) { return self.track->rate; })
        .def_property_readonly("name", [](TrackObject const& self) { return strOf(self.name); })
        .def("flip_y",
             [](TrackObject const& self) {
                 requireSize(self, "flip_y");
                 return changed(self, flipY);
             })
        .def("shift_frames",
             [](TrackObject const& self, py::object const& given) {
                 constexpr char const* kExpected = "a number of frames";
                 double const by = numberOf(given, "shift_frames", kExpected);
                 if (!std::isfinite(by)) refuse("shift_frames", given, kExpected);
                 return changed(self, [by](Track& track) { shiftFrames(track, by); });
             })
        .def("reorder",
             [](TrackObject const& self, py::object const& order) {
                 auto const from = parseCornerOrder("order", textOf(order, "order"));
                 return changed(self, [&](Track& track) { reorderCorners(track, from); });
             })
        .def("scaled",
             [](TrackObject const& self, py::object const& given) {
                 requireSize(self, "scaled");
                 auto const size = sizeOf(given, "size");
                 if (!size) refuse("size", given, "(w, h) in pixels");
                 return changed(self, [&](Track& track) { track = scaledTo(track, *size); });
             })
        .def("text", [](TrackObject const& self,
                        py::object const& form) { return strOf(text(self, textOf(form, "form"))); })
        .def("save", &save)
        .def("issues", &issues);
}

}  // namespace zelk::python
