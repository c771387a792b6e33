// `zelk render`: layer file, effect, output file, by one of two roads.
#pragma once

#include <string>
#include <vector>

#include "apps/zelk/cli_options.h"
#include "hostkit/parameters.h"

namespace zelk {

/// Sets pins, quality, view and settings on parameters that hold their defaults. To Pins that the
/// request leaves open become the From Pins. Throws a usage error for a refused value.
void applyRequest(RenderRequest const& request, std::vector<Parameter>& parameters);

/// Renders and writes the output. The result is warnings, a sentence each. Throws; the output's
/// place is then as it was.
std::vector<std::string> render(RenderRequest const& request);

}  // namespace zelk
