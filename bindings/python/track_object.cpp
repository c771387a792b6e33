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

#include "bindings/python/keywords.h"
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
using Size = std::optional<std::pair<int, int>>;

void setSize(Track& track, Size const& size) {
    if (!size) return;
    for (int const side : {size->first, size->second})
        if (!isSide(side))
            throw UserError(ExitCode::kUsage,
                            {"size", "out of range:", std::to_string(side), sideExpected()});
    track.width = size->first;
    track.height = size->second;
}

TrackObject load(py::object const& file, std::optional<std::string> const& format,
                 Size const& size) {
    ReadTrackOptions how;
    if (format) trackFormatNamed("format", *format);
    how.format = format;
    if (size) {
        Track checked;
        setSize(checked, size);
        how.size = PixelSize{size->first, size->second};
    }
    std::string const name = pathText(file);
    return {name, std::make_shared<Track const>(readTrack(name, how))};
}

TrackObject fromArrays(Numbers const& frames, Numbers const& corners, Size const& size,
                       std::optional<double> const& rate, std::string const& name) {
    bool const fits = frames.ndim() == 1 && corners.ndim() == 3 && frames.shape(0) > 0 &&
                      corners.shape(0) == frames.shape(0) && corners.shape(1) == 4 &&
                      corners.shape(2) == 2;
    if (!fits)
        throw UserError(ExitCode::kUsage, {name, "arrays can't have the shapes",
                                           std::string(py::str(frames.attr("shape"))) + " and " +
                                               std::string(py::str(corners.attr("shape"))),
                                           "N frames and N x 4 x 2 corners"});
    Track track;
    setSize(track, size);
    track.rate = rate;
    track.format = trackFormats().front().name;
    for (py::ssize_t i = 0; i < frames.shape(0); ++i)
        for (py::ssize_t c = 0; c < 4; ++c) {
            TrackSample const sample{frames.at(i), corners.at(i, c, 0), corners.at(i, c, 1), 0};
            if (std::isnan(sample.x) || std::isnan(sample.y)) continue;
            if (!std::isfinite(sample.frame + sample.x + sample.y))
                throw UserError(ExitCode::kUsage, fmt::format("{}: row {} is not finite", name, i));
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
void save(TrackObject const& from, py::object const& file, std::optional<std::string> form,
          bool mayReplace) {
    std::filesystem::path const path = pathText(file);
    for (TrackFormat const& format : trackFormats())
        if (!form && !format.ending.empty() && path.extension() == format.ending)
            form = format.name;
    if (!form)
        throw UserError(ExitCode::kUsage,
                        {path.string(), "no form for the extension", path.extension().string(),
                         "form= " + trackFormatNames()});
    std::string const written = text(from, *form);
    checkPlace(path, !mayReplace);
    writeTextFile(path, written, mayReplace);
}

std::vector<std::string> issues(TrackObject const& from, Size const& size) {
    TrackTarget target;
    if (size) target.frame = PixelSize{size->first, size->second};
    std::vector<std::string> sentences;
    for (TrackIssue const& issue : checkTrack(*from.track, target))
        sentences.push_back(issueText(issue));
    return sentences;
}

}  // namespace

void addTrack(py::module_& module) {
    using namespace py::literals;
    py::class_<TrackObject>(module, "TrackObject")
        .def(py::init(&fromArrays), "frames"_a, "corners"_a, "size"_a, "rate"_a, "name"_a)
        .def_static("load", &load)
        .def_property_readonly("frames", &frames)
        .def_property_readonly("corners", &corners)
        .def_property_readonly("size",
                               [](TrackObject const& self) -> Size {
                                   if (!self.track->hasSize()) return std::nullopt;
                                   return std::pair(self.track->width, self.track->height);
                               })
        .def_property_readonly("rate", [](TrackObject const& self) { return self.track->rate; })
        .def_readonly("name", &TrackObject::name)
        .def("flip_y",
             [](TrackObject const& self) {
                 requireSize(self, "flip_y");
                 return changed(self, flipY);
             })
        .def("shift_frames",
             [](TrackObject const& self, double by) {
                 return changed(self, [by](Track& track) { shiftFrames(track, by); });
             })
        .def("reorder",
             [](TrackObject const& self, std::string const& order) {
                 auto const from = parseCornerOrder("order", order);
                 return changed(self, [&](Track& track) { reorderCorners(track, from); });
             })
        .def("scaled",
             [](TrackObject const& self, Size const& size) {
                 requireSize(self, "scaled");
                 Track checked;
                 setSize(checked, size);
                 return changed(self, [&](Track& track) {
                     track = scaledTo(track, {checked.width, checked.height});
                 });
             })
        .def("text", &text)
        .def("save", &save)
        .def("issues", &issues);
}

}  // namespace zelk::python
