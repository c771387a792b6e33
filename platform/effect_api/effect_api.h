// The whole effect interface of the motion graphics host, in one include.
#pragma once

#include "platform/effect_api/aegp_suites.h"
#include "platform/effect_api/effect_callbacks.h"
#include "platform/effect_api/effect_commands.h"
#include "platform/effect_api/effect_events.h"
#include "platform/effect_api/effect_params.h"
#include "platform/effect_api/effect_smart_render.h"
#include "platform/effect_api/effect_suites.h"
#include "platform/effect_api/effect_types.h"
