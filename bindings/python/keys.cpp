// Entries to keys; see keys.h.
#include "bindings/python/keys.h"

#include <algorithm>
#include <cmath>

#include "bindings/python/values.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/words.h"
#include "zelk/text/errors.h"

namespace py = pybind11;

namespace zelk::python {

namespace {

constexpr char const* kEntries =
    "{frame: value}, or a list of (frame, value, interpolation, ease in, ease out)";

/// An entry's parts, None for those left out.
py::tuple partsOf(py::handle entry, std::string const& thing) {
    bool const isEntry = isList(entry) && py::len(entry) >= 2 && py::len(entry) <= 5;
    if (!isEntry) refuse(thing, entry, kEntries);
    py::tuple parts(5);
    for (std::size_t i = 0; i < 5; ++i)
        parts[i] = i < py::len(entry) ? py::object(entry[py::int_(i)]) : py::none();
    return parts;
}

Ease easeOf(py::handle value, std::string const& thing) {
    constexpr char const* kExpected = "an ease, (influence from 0.1 to 100 percent, speed)";
    if (value.is_none()) return {};
    if (!isList(value) || py::len(value) != 2) refuse(thing, value, kExpected);
    Ease const ease{numberOf(py::object(value[py::int_(0)]), thing, kExpected),
                    numberOf(py::object(value[py::int_(1)]), thing, kExpected)};
    bool const isInRange =
        ease.influencePercent >= 0.1 && ease.influencePercent <= 100 && std::isfinite(ease.speed);
    if (!isInRange) refuse(thing, value, kExpected);
    return ease;
}

/// A key without its value.
SceneKey keyOf(py::tuple const& parts, py::handle interpolation, std::string const& thing) {
    SceneKey key;
    key.frame = numberOf(parts[0], thing, "the number of a frame");
    py::object const own = parts[2].is_none() ? py::reinterpret_borrow<py::object>(interpolation)
                                              : py::object(parts[2]);
    if (!own.is_none())
        key.toNext = pick(kInterpolationWords, "interpolation", textOf(own, "interpolation"));
    key.incoming = easeOf(parts[3], thing);
    key.outgoing = easeOf(parts[4], thing);
    return key;
}

}  // namespace

std::vector<SceneParameter> keyedParameters(std::string name, py::handle keys,
                                            py::handle interpolation) {
    std::replace(name.begin(), name.end(), '_', '-');
    if (name == "frm") name = "from";
    bool const arePins = name == "to" || name == "from";
    std::vector<SceneParameter> made;
    if (arePins) {
        int const first = name == "to" ? kToPins : kFromPins;
        for (int i = first; i < first + 4; ++i)
            made.push_back({std::string(nameOfParameter(i)), {}, {}, {}, ""});
    } else {
        made.push_back(
            {std::string(nameOfParameter(requiredParameter("keys", name))), {}, {}, {}, ""});
    }
    bool const isDict = py::hasattr(keys, "items");
    if (!isDict && !py::isinstance<py::iterable>(keys)) refuse(name, keys, kEntries);
    py::list const entries(isDict ? keys.attr("items")()
                                  : py::reinterpret_borrow<py::object>(keys));
    for (py::handle const entry : entries) {
        py::tuple const parts = partsOf(entry, name);
        SceneKey key = keyOf(parts, interpolation, name);
        std::array<Point, 4> pins{};
        if (arePins) pins = cornersOf(parts[1], name);
        for (std::size_t i = 0; i < made.size(); ++i) {
            key.value = arePins ? SceneValue(pins[i]) : sceneValueOf(parts[1], name);
            made[i].keys.push_back(key);
        }
    }
    for (SceneParameter& each : made)
        std::stable_sort(each.keys.begin(), each.keys.end(),
                         [](SceneKey const& a, SceneKey const& b) { return a.frame < b.frame; });
    return made;
}

}  // namespace zelk::python
