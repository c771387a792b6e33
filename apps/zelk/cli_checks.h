// What was typed, checked: records of text into requests. Every refusal is a usage error that names
// the option, the value and what was expected.
#pragma once

#include <optional>
#include <string>

#include "apps/zelk/cli_options.h"

namespace zelk {

/// A usage error unless it is NAME=VALUE.
void requireAssignment(std::string const& setting);
ModuleRequest checkedModule(TypedOptions const& typed);
/// A project that is named fills what was not typed. Throws its input errors too.
RenderRequest checkedRender(TypedOptions const& typed, bool needsOutput = true);
OverlayRequest checkedOverlay(TypedOptions const& typed, std::string const& history);
DragRequest checkedDrag(TypedOptions const& typed);
TrackRequest checkedTrack(TypedOptions const& typed);
/// `zelk project VERB`: sets the request of that verb in `line`.
void checkProjectCommand(TypedOptions const& typed, std::optional<std::string> const& verb,
                         CommandLine& line);

}  // namespace zelk
