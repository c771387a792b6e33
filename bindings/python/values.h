// Values of Python as numbers and texts, with the sentences of the command line for others.
//
// Texts are those of the command line, whose words are bytes in the file system's encoding: a
// file's name that is no UTF-8 comes as Python has it, with surrogates, and goes back so.
#pragma once

#include <pybind11/pybind11.h>

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zelk/pictures/pixel_size.h"
#include "zelk/scene/scene.h"

namespace zelk::python {

/// Throws the usage error about a value, `expected` as in Complaint.
[[noreturn]] void refuse(std::string const& thing, pybind11::handle value,
                         std::string const& expected);

/// What messages show of a value: its str, or its type where that fails.
std::string shown(pybind11::handle value);

bool isText(pybind11::handle value);
/// A sequence that is no text: a list, a tuple, an array with an axis.
bool isList(pybind11::handle value);

/// Of a str.
std::string textOf(pybind11::handle value, std::string const& thing);
/// Of a str or an object with __fspath__.
std::string pathOf(pybind11::handle value, std::string const& thing);
/// Back to Python.
pybind11::str strOf(std::string_view text);
pybind11::list listOf(std::vector<std::string> const& texts);

double numberOf(pybind11::handle value, std::string const& thing, std::string const& expected);
int wholeOf(pybind11::handle value, std::string const& thing, int least, int most);
/// (w, h) in pixels, or nothing of None.
std::optional<PixelSize> sizeOf(pybind11::handle value, std::string const& thing);
/// Four (x, y) of anything with four rows of two.
std::array<Point, 4> cornersOf(pybind11::handle value, std::string const& thing);

/// A value of a parameter or of its key: bool, number, text or (x, y).
SceneValue sceneValueOf(pybind11::handle value, std::string const& thing);

/// The text of an edit: a number, on or off, a path, a text.
std::string plainText(pybind11::handle value, std::string const& thing);
std::string joinedText(pybind11::handle values, char const* between, std::string const& thing);
/// "1-5,7" of a text, a range, a list or a number.
std::string frameText(pybind11::handle value, std::string const& thing);

}  // namespace zelk::python
