// See engines.h.
#include "zelk/jobs/engines.h"

#include <algorithm>
#include <iterator>

#include "zelk/jobs/openjd_template.h"
#include "zelk/jobs/shell_script.h"
#include "zelk/jobs/slurm.h"

namespace zelk {

Engine const& engineOf(EngineKind kind) {
    static constexpr Engine kEngines[] = {
        {EngineKind::kSlurm, requireSlurm, handToSlurm, slurmPlan, slurmTasks, cancelSlurm,
         nothingNext},
        {EngineKind::kShell, nothingRequired, writeShellScript, shellPlan, noTasks, nothingToCancel,
         shellNext},
        {EngineKind::kOpenJd, nothingRequired, writeTemplate, templatePlan, noTasks,
         nothingToCancel, templateNext},
    };
    return *std::find_if(std::begin(kEngines), std::end(kEngines),
                         [kind](Engine const& engine) { return engine.kind == kind; });
}

}  // namespace zelk
