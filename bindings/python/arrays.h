// NumPy arrays as pictures in memory, and back, without a copy where the layout allows.
//
//   H x W          grey
//   H x W x 1..4   grey; grey, alpha; red, green, blue; red, green, blue, alpha
//
// Of uint8, uint16, float16 or float32 in the machine's byte order; white is 255, 65535 or 1.
// Pixels of a row lie side by side; rows may lie apart or upside down. Anything else is copied
// once.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <string>

#include "zelk/pictures/buffer.h"

namespace zelk::python {

/// Whether a value is taken for pixels, not for a file's name.
bool isArray(pybind11::handle value);

/// Shares the array's memory, or that of its copy, and keeps it alive; from any thread it may be
/// let go. Throws an input error about `name` for another type or shape.
PictureBuffer bufferOf(pybind11::handle array, std::string const& name, bool isAssociated);

/// An array over the buffer's own memory, which it keeps alive. One channel is H x W, or H x W x 1
/// with `keepsAxis`.
pybind11::array arrayOf(PictureBuffer const& buffer, bool keepsAxis);

}  // namespace zelk::python
