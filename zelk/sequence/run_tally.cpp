// See run_tally.h.
#include "zelk/sequence/run_tally.h"

#include <fmt/format.h>

#include "zelk/sequence/schedule.h"

namespace zelk {

RunTotals RunTally::totals(ExitCode code) const {
    bool const isNothing = !isRender || (isMovie && !isWholeMovie);
    return {isNothing ? 0 : result.done.size(),
            skipped + shared,
            result.isStopped,
            code,
            movie,
            movieSum};
}

std::string RunTally::summary() const {
    bool const isLost = isMovie && (result.isStopped || !result.failed.empty());
    std::size_t const count = isRender ? result.done.size() : 0;
    std::string text = isLost ? "no movie written" : framesCounted(count) + " written";
    if (shared) text += fmt::format(", {} by other runs", shared);
    if (skipped) text += fmt::format(", {} skipped", skipped);
    if (!result.failed.empty()) text += fmt::format(", {} failed", result.failed.size());
    if (result.isStopped) text += ", interrupted";
    if (!conversions.empty()) text += fmt::format("; colour: {}", fmt::join(conversions, ", "));
    return text;
}

ExitCode RunTally::code() const {
    if (result.isStopped) return ExitCode::kInterrupted;
    if (result.failed.empty()) return ExitCode::kDone;
    bool const isSome = !isMovie && (!result.done.empty() || shared > 0);
    return isSome ? ExitCode::kSomeFailed : result.failed.front().code;
}

}  // namespace zelk
