// The tool in the user's hand.
#pragma once

#include "platform/effect_api/effect_suites.h"

/// Whether the host's current tool is the selection tool; true as well where that can't be told: in
/// Premiere Pro, on interfaces before major version 12, and without the suite that knows. The suite
/// is given back only after an answer.
bool current_tool_is_pointer(PF_InData* in_data, PF_OutData* out_data);
