// Failed commands and kept resources as errors for a user; see effect_result.h.
#include "zelk/scene/effect_result.h"

#include "zelk/text/errors.h"

namespace zelk {

void checkResult(CommandResult const& result, std::string const& layerName) {
    if (result.code != PF_Err_NONE) {
        std::string const code = std::to_string(result.code), success = "code 0 for success";
        if (result.message.empty())
            throw UserError(
                ExitCode::kRenderFailed,
                {layerName, "the render failed without a message, code", code, success});
        throw UserError(
            ExitCode::kRenderFailed,
            {layerName, "the render failed with code " + code + ":", result.message, success});
    }
    if (!(result.outstanding == Outstanding{})) {
        throw UserError(ExitCode::kRenderFailed,
                        {layerName, "the effect kept", result.outstanding.describe(), "nothing"});
    }
}

}  // namespace zelk
