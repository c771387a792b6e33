// The classes and their translation; see errors.h.
#include "bindings/python/errors.h"

#include <string>

#include "bindings/python/values.h"
#include "hostkit/error.h"
#include "zelk/text/errors.h"

namespace py = pybind11;

namespace zelk::python {

namespace {

struct ErrorClass {
    ExitCode code;
    char const *name, *text;
    PyObject* type = nullptr;  ///< lives as long as the process
};
ErrorClass classes[] = {
    {ExitCode::kRenderFailed, "Error",
     "Base of all errors of this package: the effect or the machine failed.\n\n"
     "str(error) is the sentence that the command line prints; exit_code is its exit code."},
    {ExitCode::kUsage, "UsageError", "A keyword or its value can't be used."},
    {ExitCode::kInput, "InputError", "A file or an array can't be read."},
    {ExitCode::kOutput, "OutputError", "A file can't be written."},
    {ExitCode::kInterrupted, "Interrupted", "A run was stopped before its end."}};

void raise(ExitCode code, char const* text) {
    ErrorClass const* found = &classes[0];
    for (ErrorClass const& each : classes)
        if (each.code == code) found = &each;
    PyErr_SetObject(found->type, strOf(text).ptr());
}

void translate(std::exception_ptr error) {
    try {
        if (error) std::rethrow_exception(error);
    } catch (UserError const& user) {
        raise(user.code(), user.what());
    } catch (HostError const& host) {
        raise(host.code() == PF_Err_OUT_OF_MEMORY ? ExitCode::kInput : ExitCode::kRenderFailed,
              host.what());
    }
}

}  // namespace

void addErrors(py::module_& module) {
    for (ErrorClass& each : classes) {
        bool const isBase = &each == &classes[0];
        py::object bases =
            py::reinterpret_borrow<py::object>(isBase ? PyExc_Exception : classes[0].type);
        if (each.code == ExitCode::kUsage)
            bases = py::make_tuple(bases, py::reinterpret_borrow<py::object>(PyExc_ValueError));
        py::dict members;
        members["exit_code"] = static_cast<int>(each.code);
        each.type = PyErr_NewExceptionWithDoc((std::string("zelk.") + each.name).c_str(), each.text,
                                              bases.ptr(), members.ptr());
        if (!each.type) throw py::error_already_set();
        module.attr(each.name) = py::reinterpret_borrow<py::object>(each.type);
    }
    py::register_exception_translator(translate);
}

}  // namespace zelk::python
