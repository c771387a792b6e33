// Values that change at a moment: what a user sets, and what an effect marks as changed in the
// params array of a command. An animated parameter gets a key there, any other its one value.
#pragma once

#include "hostkit/parameters.h"

namespace zelk {

/// Units as keyValueOf. A key that is there already keeps its interpolation; a new one is linear.
/// HostError for a value that is not finite.
void setValueAt(Parameter& parameter, KeyTime const& moment, KeyValue const& value);

}  // namespace zelk
