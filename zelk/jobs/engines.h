// The table of engines.
#pragma once

#include "zelk/jobs/engine.h"

namespace zelk {

Engine const& engineOf(EngineKind kind);

}  // namespace zelk
