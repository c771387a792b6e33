// What the probe effect can be asked for: a report is a value of its first parameter in a render.
// It answers in return_msg.
#pragma once

#include "platform/effect_api/effect_types.h"

enum ProbeParam : int {
    kProbeLayer,
    kProbeReport,
    kProbeFixed,
    kProbeAngle,
    kProbeCheckbox,
    kProbeColor,
    kProbePoint,
    kProbePopup,
    kProbeFloat,
    kProbeGroup,
    kProbeGroupEnd,
    kProbeParamCount
};

enum ProbeReport : int {
    kReportClock = 1,      ///< host, time, shutter
    kReportGeometry,       ///< sizes, resolution, point
    kReportParams,         ///< params against checkout_param
    kReportImages,         ///< layout of every kind of image
    kReportUseEverything,  ///< every callback once, tidily; the first code that is not 0
    kReportLeak,           ///< one of each thing kept
    kReportBadCalls,       ///< null and unknown pointers everywhere: number of wrong answers
    kReportThrow,
    kReportLongText,  ///< a message longer than its place
};

/// Global set-up fails with this code in a host of this id.
constexpr PF_Err kProbeSetupError = 99;
constexpr A_u_long kProbeFailingHost = fourCharCode("FAIL");
