// What a run has come to: its count, its words and its exit code.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "zelk/files/file_sum.h"
#include "zelk/sequence/pipeline.h"
#include "zelk/sequence/progress.h"
#include "zelk/text/errors.h"

namespace zelk {

struct RunTally {
    bool isRender = true;  ///< else frames are only looked at, and none is written
    bool isMovie = false, isWholeMovie = false;
    PipelineResult result;                ///< of all passes
    std::size_t skipped = 0, shared = 0;  ///< `shared` were written by other runs meanwhile
    std::string movie;                    ///< its file, and its sum once it is whole
    std::optional<FileSum> movieSum;
    std::vector<std::string> conversions;  ///< of colour

    /// `code` is how the run ends.
    RunTotals totals(ExitCode code) const;
    /// "12 frames written, 3 by other runs, 2 skipped, 1 failed, interrupted; colour: ..."
    std::string summary() const;
    /// Of a run that comes to its last frame or is stopped.
    ExitCode code() const;
};

}  // namespace zelk
