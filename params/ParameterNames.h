// The words by which users address the controls, and what their numbers mean.
//
// A name is the control's constant without `kParam`, in kebab-case: projects, scripts and other
// hosts keep it, so it never changes.
#pragma once

#include <array>
#include <string_view>

#include "params/ParamIndex.h"

/// In the order of the parameter indices.
extern std::array<std::string_view, kParamCount> const kParameterNames;

/// What a control's numbers count: "px of frame", "%", "degrees"; empty for one without numbers.
/// Reposition moves the picture within the quads, whose width and height are its 100 %; the fade of
/// Super Sample is as wide as 1/32 of the layer's longer side, times the number.
std::string_view unitOfParameter(int index);

/// What a control does, as one sentence; empty for the layer and the ends of groups.
std::string_view helpOfParameter(int index);
