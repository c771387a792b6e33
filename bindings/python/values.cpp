// Conversions and refusals; see values.h.
#include "bindings/python/values.h"

#include <fmt/format.h>
#include <pybind11/numpy.h>

#include "zelk/scene/words.h"
#include "zelk/text/errors.h"

namespace py = pybind11;

namespace zelk::python {

namespace {

/// Without an exception; nothing where the text can't be encoded.
std::optional<std::string> encoded(py::handle text) {
    auto const bytes = py::reinterpret_steal<py::object>(PyUnicode_EncodeFSDefault(text.ptr()));
    if (!bytes) return PyErr_Clear(), std::nullopt;
    return std::string(PyBytes_AS_STRING(bytes.ptr()),
                       static_cast<std::size_t>(PyBytes_GET_SIZE(bytes.ptr())));
}

/// NumPy's own is "numpy.bool_" before its version 2, and "numpy.bool" from then on.
bool isFlag(py::handle value) {
    return py::isinstance<py::bool_>(value) ||
           std::string_view(Py_TYPE(value.ptr())->tp_name).starts_with("numpy.bool");
}

/// An array is no index, though its type could be.
py::object indexOf(py::handle value) {
    auto index = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
    if (!index) PyErr_Clear();
    return index;
}

}  // namespace

void refuse(std::string const& thing, py::handle value, std::string const& expected) {
    throw UserError(ExitCode::kUsage,
                    {thing, "not understood:", shortened(shown(value)), expected});
}

std::string shown(py::handle value) {
    auto const text = py::reinterpret_steal<py::object>(PyObject_Str(value.ptr()));
    if (!text) PyErr_Clear();
    std::optional<std::string> bytes;
    if (text) bytes = encoded(text);
    return bytes.value_or(Py_TYPE(value.ptr())->tp_name);
}

bool isText(py::handle value) { return py::isinstance<py::str>(value); }

bool isList(py::handle value) {
    if (py::isinstance<py::array>(value))
        return py::reinterpret_borrow<py::array>(value).ndim() > 0;
    return !isText(value) && PySequence_Check(value.ptr()) && !py::isinstance<py::bytes>(value);
}

std::string textOf(py::handle value, std::string const& thing) {
    std::optional<std::string> text;
    if (isText(value)) text = encoded(value);
    if (!text || text->find('\0') != std::string::npos) refuse(thing, value, "a text without NUL");
    return *text;
}

std::string pathOf(py::handle value, std::string const& thing) {
    constexpr char const* kExpected = "a file's name, a str or a path";
    auto path = py::reinterpret_steal<py::object>(PyOS_FSPath(value.ptr()));
    if (!path) {
        PyErr_Clear();
        refuse(thing, value, kExpected);
    }
    if (py::isinstance<py::bytes>(path))
        path = py::reinterpret_steal<py::object>(PyUnicode_DecodeFSDefaultAndSize(
            PyBytes_AS_STRING(path.ptr()), PyBytes_GET_SIZE(path.ptr())));
    return textOf(path, thing);
}

py::str strOf(std::string_view text) {
    PyObject* const made =
        PyUnicode_DecodeFSDefaultAndSize(text.data(), static_cast<py::ssize_t>(text.size()));
    if (!made) throw py::error_already_set();
    return py::reinterpret_steal<py::str>(made);
}

py::list listOf(std::vector<std::string> const& texts) {
    py::list list;
    for (std::string const& text : texts) list.append(strOf(text));
    return list;
}

double numberOf(py::handle value, std::string const& thing, std::string const& expected) {
    double const number = PyFloat_AsDouble(value.ptr());
    if (number == -1 && PyErr_Occurred()) {
        PyErr_Clear();
        refuse(thing, value, expected);
    }
    return number;
}

int wholeOf(py::handle value, std::string const& thing, int least, int most) {
    std::string const expected = fmt::format("a whole number from {} to {}", least, most);
    py::object const index = indexOf(value);
    if (!index) refuse(thing, value, expected);
    int overflow = 0;
    long const number = PyLong_AsLongAndOverflow(index.ptr(), &overflow);
    if (overflow || number < least || number > most)
        throw UserError(ExitCode::kUsage,
                        {thing, "out of range:", shortened(shown(index)), expected});
    return static_cast<int>(number);
}

std::optional<PixelSize> sizeOf(py::handle value, std::string const& thing) {
    if (value.is_none()) return std::nullopt;
    if (isText(value)) return parseSize(thing, textOf(value, thing));
    if (!isList(value) || py::len(value) != 2) refuse(thing, value, "(w, h) in pixels");
    auto const sides = py::reinterpret_borrow<py::sequence>(value);
    return PixelSize{wholeOf(py::object(sides[0]), thing, 1, kLargestPx),
                     wholeOf(py::object(sides[1]), thing, 1, kLargestPx)};
}

std::array<Point, 4> cornersOf(py::handle value, std::string const& thing) {
    constexpr char const* kExpected =
        "four (x, y): upper left, upper right, lower left, lower right";
    using Numbers = py::array_t<double, py::array::c_style | py::array::forcecast>;
    auto const given = py::array::ensure(value);
    bool const isReal = given && given.dtype().kind() != 'c';
    Numbers const array = isReal ? Numbers::ensure(given) : Numbers();
    if (!isReal || !array || array.ndim() != 2 || array.shape(0) != 4 || array.shape(1) != 2)
        refuse(thing, value, kExpected);
    std::array<Point, 4> corners;
    for (py::ssize_t i = 0; i < 4; ++i)
        corners[static_cast<std::size_t>(i)] = {array.at(i, 0), array.at(i, 1)};
    return corners;
}

SceneValue sceneValueOf(py::handle value, std::string const& thing) {
    constexpr char const* kExpected = "a number, True or False, a text or (x, y)";
    if (isFlag(value)) return value.cast<bool>();
    if (isText(value)) return textOf(value, thing);
    if (!isList(value)) return numberOf(value, thing, kExpected);
    auto const pair = py::reinterpret_borrow<py::sequence>(value);
    if (pair.size() != 2) refuse(thing, value, kExpected);
    return Point{numberOf(py::object(pair[0]), thing, kExpected),
                 numberOf(py::object(pair[1]), thing, kExpected)};
}

std::string plainText(py::handle value, std::string const& thing) {
    if (isText(value)) return textOf(value, thing);
    if (py::hasattr(value, "__fspath__")) return pathOf(value, thing);
    if (isFlag(value)) return value.cast<bool>() ? "on" : "off";
    if (py::object const index = indexOf(value)) return shown(index);
    return fmt::format("{}", numberOf(value, thing, "a number or a text"));
}

std::string joinedText(py::handle values, char const* between, std::string const& thing) {
    std::string text;
    // What an array gives is its own only for as long as we hold it.
    for (py::object const value : py::reinterpret_borrow<py::sequence>(values))
        text += (text.empty() ? "" : between) + plainText(value, thing);
    return text;
}

std::string frameText(py::handle value, std::string const& thing) {
    if (!isList(value)) return plainText(value, thing);
    if (PyRange_Check(value.ptr()) && py::len(value) > 1) {  // not each of a million frames
        auto const frame = [&](py::ssize_t i) { return shown(py::object(value[py::int_(i)])); };
        std::string const step = shown(value.attr("step"));
        if (step[0] != '-' && frame(0)[0] != '-')
            return fmt::format("{}-{}x{}", frame(0), frame(-1), step);
    }
    return joinedText(value, ",", thing);
}

}  // namespace zelk::python
