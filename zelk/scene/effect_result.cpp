// Failed commands and kept resources as errors for a user; see effect_result.h.
#include "zelk/scene/effect_result.h"

#include <fmt/format.h>

#include "zelk/text/errors.h"

namespace zelk {

void checkResult(CommandResult const& result, std::string const& layerName) {
    if (result.code != PF_Err_NONE && result.message.empty())
        throw UserError(ExitCode::kRenderFailed,
                        fmt::format("{}: the effect failed with code {} and without a message",
                                    layerName, result.code));
    if (result.code != PF_Err_NONE)
        throw UserError(ExitCode::kRenderFailed,
                        {layerName, fmt::format("the effect failed with code {}:", result.code),
                         result.message, ""});
    if (!(result.outstanding == Outstanding{}))
        throw UserError(ExitCode::kRenderFailed,
                        fmt::format("{}: the effect kept {} that it had to give back", layerName,
                                    result.outstanding.describe()));
}

}  // namespace zelk
