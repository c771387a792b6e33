// Errors of the library as exceptions of Python, with the sentence that the command line prints.
//
//   zelk.Error                      exit_code 1, as are all below it with their own
//     UsageError (a ValueError)     2, an edit or a value
//     InputError                    3, a file, or an array, that can't be read
//     OutputError                   4
//     Interrupted                   130
#pragma once

#include <pybind11/pybind11.h>

namespace zelk::python {

/// Makes the classes, and from now on a UserError or a HostError becomes one of them.
void addErrors(pybind11::module_& module);

}  // namespace zelk::python
