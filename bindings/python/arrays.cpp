// Types, shapes and strides; see arrays.h.
#include "bindings/python/arrays.h"

#include <fmt/format.h>

#include <cstdlib>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

#include "bindings/python/gil.h"
#include "zelk/text/errors.h"

namespace py = pybind11;

namespace zelk::python {

namespace {

struct ArrayType {
    char kind;
    py::ssize_t bytes;
    SampleType type;
    char const* name;
};
constexpr ArrayType kTypes[] = {{'u', 1, SampleType::kUint8, "uint8"},
                                {'u', 2, SampleType::kUint16, "uint16"},
                                {'f', 2, SampleType::kHalf, "float16"},
                                {'f', 4, SampleType::kFloat, "float32"}};

ArrayType const& typeOf(py::array const& array, std::string const& name) {
    for (ArrayType const& each : kTypes)
        if (each.kind == array.dtype().kind() && each.bytes == array.itemsize()) return each;
    throw UserError(ExitCode::kInput,
                    {name, "an array can't be of type", std::string(py::str(array.dtype())),
                     "uint8, uint16, float16 or float32"});
}

void requireShape(py::array const& array, std::string const& name) {
    bool const isPicture =
        array.ndim() == 2 || (array.ndim() == 3 && array.shape(2) >= 1 && array.shape(2) <= 4);
    if (isPicture) return;
    throw UserError(ExitCode::kInput,
                    {name, "an array can't have the shape",
                     std::string(py::str(array.attr("shape"))), "H x W or H x W x 1 to 4"});
}

bool isReadable(py::array const& array, py::ssize_t channels) {
    py::ssize_t const item = array.itemsize(), pixel = item * channels;
    bool const isPixel = array.ndim() == 2 || channels == 1 || array.strides(2) == item;
    bool const isRow = array.shape(1) <= 1 || array.strides(1) == pixel;
    bool const areApart =
        array.shape(0) <= 1 || std::abs(array.strides(0)) >= pixel * array.shape(1);
    return isPixel && isRow && areApart;
}

/// The last owner may be a thread of the renderer.
struct LetGo {
    void operator()(py::object* owner) const {
        if (!Py_IsInitialized()) return;
        Locked const lock;
        delete owner;
    }
};

}  // namespace

bool isArray(py::handle value) {
    return py::hasattr(value, "__array_interface__") || py::hasattr(value, "__array__");
}

PictureBuffer bufferOf(py::handle value, std::string const& name, bool isAssociated) {
    py::array array = py::array::ensure(value);
    if (!array) throw UserError(ExitCode::kInput, name + ": no array of numbers");
    ArrayType const& type = typeOf(array, name);
    requireShape(array, name);
    if (!py::cast<bool>(array.dtype().attr("isnative")))
        array = array.attr("astype")(py::dtype(type.name));
    py::ssize_t const channels = array.ndim() == 2 ? 1 : array.shape(2);
    if (!isReadable(array, channels)) array = py::array::ensure(array, py::array::c_style);
    auto const side = [](py::ssize_t length) {
        return static_cast<int>(std::min<py::ssize_t>(length, kLargestPx + 1));
    };
    PictureBuffer buffer;
    buffer.name = name;
    buffer.size = {side(array.shape(1)), side(array.shape(0))};
    buffer.channels = static_cast<int>(channels);
    buffer.type = type.type;
    buffer.isAssociated = isAssociated;
    buffer.rowBytes = array.shape(0) > 1 ? array.strides(0) : 0;
    void const* const pixels = array.data();
    std::shared_ptr<py::object> const owner(new py::object(std::move(array)), LetGo{});
    buffer.pixels = std::shared_ptr<void const>(owner, pixels);
    return buffer;
}

py::array arrayOf(PictureBuffer const& buffer, bool keepsAxis) {
    auto const& type = kTypes[static_cast<std::size_t>(buffer.type)];
    std::vector<py::ssize_t> shape = {buffer.size.height, buffer.size.width};
    std::vector<py::ssize_t> strides = {buffer.rowBytes, type.bytes * buffer.channels};
    if (buffer.channels > 1 || keepsAxis) {
        shape.push_back(buffer.channels);
        strides.push_back(type.bytes);
    }
    using Owner = std::shared_ptr<void const>;
    auto owner = std::make_unique<Owner>(buffer.pixels);
    py::capsule const base(owner.get(), [](void* held) { delete static_cast<Owner*>(held); });
    (void)owner.release();
    return py::array(py::dtype(type.name), shape, strides, buffer.pixels.get(), base);
}

}  // namespace zelk::python
