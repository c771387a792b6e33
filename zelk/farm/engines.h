// The table of engines.
#pragma once

#include "zelk/farm/engine.h"

namespace zelk {

Engine const& engineOf(EngineKind kind);

}  // namespace zelk
