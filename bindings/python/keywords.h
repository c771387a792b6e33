// Keywords of Python as edits of a scene (zelk/scene/edits.h): the edit's name with `_` for `-`,
// and `frm` for "from", which is a word of the language.
//
// Values are those of the language, where they have a plain meaning: numbers, True and False,
// paths, (w, h) for a size, four (x, y) for pins, a range or a list of frames, a dict for "set";
// arrays for pictures, Track for tracking data. Any of them may be the text that the command line
// takes. None leaves an edit out.
#pragma once

#include <pybind11/pybind11.h>

#include <string>

#include "zelk/scene/scene.h"

namespace zelk::python {

/// All keywords of a call, in the order in which edits are made. `caller` is what messages call the
/// function. Throws UserError with the sentences of the command line; the scene is then as it was.
void applyKeywords(Scene& scene, pybind11::dict const& keywords, std::string const& caller,
                   bool isAssociated);

}  // namespace zelk::python
