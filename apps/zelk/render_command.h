// `zelk render`: layer file, effect, output file, by one of two roads.
#pragma once

#include <string>
#include <vector>

#include "apps/zelk/cli_options.h"
#include "hostkit/parameters.h"
#include "zelk/render/explanation.h"

namespace zelk {

/// Sets pins, quality, view and settings on parameters that hold their defaults. To Pins that the
/// request leaves open become the From Pins. Throws a usage error for a refused value.
void applyRequest(RenderRequest const& request, std::vector<Parameter>& parameters);

/// What there is to tell after a render.
struct RenderReport {
    std::vector<std::string> warnings;  ///< a sentence each
    Explanation explanation;
};

/// Renders and writes the output. Throws; the output's place is then as it was.
RenderReport render(RenderRequest const& request);

}  // namespace zelk
