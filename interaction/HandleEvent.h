// The mouse in the host's panels: a click picks a quad, a drag moves it, or scales it about the
// click when Shift was held. Single pins are the host's own to move.
//
// Mouse positions and the pins' new places are whole layer pixels at full resolution.
#pragma once

#include "platform/effect_api/effect_events.h"

/// A drag runs. One for the whole program, as there is one mouse; false again at its last event.
extern bool g_isDragging;

/// By `e_type`: click, drag, draw; anything else answers 0 and leaves all as it is, and so does a
/// mouse in a panel that shows neither composition nor layer, and a call without record or
/// controls. Codes of the host's coordinate callbacks are not looked at. A click that picks
/// nothing, or comes with another tool than the selection tool, is left to the host. Pins that a
/// drag moves are marked as changed.
PF_Err HandleEvent(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef** params,
                   PF_LayerDef* output, PF_EventExtra* extra);
