// PF_ParamDef: one parameter of an effect, as the effect registers it and as the host hands its
// value back. Every kind's record starts with its value.
#pragma once

#include "platform/effect_api/effect_types.h"

enum PF_ParamType : A_long {
    PF_Param_LAYER = 0,
    PF_Param_SLIDER = 1,      ///< integer
    PF_Param_FIX_SLIDER = 2,  ///< 16.16
    PF_Param_ANGLE = 3,       ///< 16.16 degrees
    PF_Param_CHECKBOX = 4,
    PF_Param_COLOR = 5,
    PF_Param_POINT = 6,  ///< 16.16 layer pixels
    PF_Param_POPUP = 7,  ///< entries counted from 1
    PF_Param_CUSTOM = 8,
    PF_Param_NO_DATA = 9,
    PF_Param_FLOAT_SLIDER = 10,
    PF_Param_ARBITRARY_DATA = 11,
    PF_Param_PATH = 12,
    PF_Param_GROUP_START = 13,
    PF_Param_GROUP_END = 14,
};

enum : A_long {
    PF_ParamFlag_CANNOT_TIME_VARY = 1 << 1,
    PF_ParamFlag_COLLAPSE_TWIRLY = 1 << 5,
    PF_ParamFlag_SUPERVISE = 1 << 6,  ///< the host sends PF_Cmd_USER_CHANGED_PARAM
};

enum : A_long {
    PF_PUI_NO_ECW_UI = 1 << 3,  ///< not shown in the effect controls
    PF_PUI_DISABLED = 1 << 5,   ///< greyed out
};

enum : A_long { PF_ChangeFlag_CHANGED_VALUE = 1 << 0 };

enum : A_short { PF_ValueDisplayFlag_PERCENT = 1 << 0, PF_ValueDisplayFlag_PIXEL = 1 << 1 };

constexpr int kParamNameSize = 32;  ///< characters of a name, terminator included
constexpr int kParamValueTextSize = 32;

struct PF_SliderDef {
    A_long value;
    A_char value_str[kParamValueTextSize];
    A_char value_desc[kParamValueTextSize];
    A_long valid_min, valid_max;    ///< what may be typed
    A_long slider_min, slider_max;  ///< what the slider reaches
    A_long dephault;
};

struct PF_FixedSliderDef {
    PF_Fixed value;
    A_char value_str[kParamValueTextSize];
    A_char value_desc[kParamValueTextSize];
    PF_Fixed valid_min, valid_max;
    PF_Fixed slider_min, slider_max;
    PF_Fixed dephault;
    A_short precision;      ///< decimals shown
    A_short display_flags;  ///< PF_ValueDisplayFlag_*
};

struct PF_FloatSliderDef {
    PF_FpLong value;
    PF_FpLong phase;
    A_char value_desc[kParamValueTextSize];
    PF_FpShort valid_min, valid_max;
    PF_FpShort slider_min, slider_max;
    PF_FpShort dephault;
    A_short precision;
    A_short display_flags;
    A_u_long fs_flags;
    PF_FpShort curve_tolerance;
    PF_Boolean useExponent;
    A_short exponent;
};

struct PF_AngleDef {
    PF_Fixed value;  ///< degrees
    PF_Fixed dephault;
    PF_Fixed valid_min, valid_max;
};

struct PF_CheckBoxDef {
    A_long value;
    PF_Boolean dephault;
    A_char reserved[3];
    union {
        A_char const* nameptr;  ///< the box's own label
    } u;
};

struct PF_ColorDef {
    PF_Pixel value;
    PF_Pixel dephault;
};

struct PF_PointDef {
    PF_Fixed x_value, y_value;  ///< layer pixels; percent of the layer when registered
    A_char reserved[3];
    PF_Boolean restrict_bounds;
    PF_Fixed x_dephault, y_dephault;  ///< percent of the layer
};

struct PF_PopupDef {
    A_long value;  ///< 1-based
    A_short num_choices;
    A_short dephault;  ///< 1-based
    union {
        A_char const* namesptr;  ///< entries separated by '|'
    } u;
};

struct PF_ArbitraryDef {
    PF_Handle value;
    PF_Handle dephault;
    A_short id;
    void* refconPV;
};

struct PF_PathDef {
    A_long path_id;
    A_long reserved;
    A_long dephault;
};

union PF_ParamDefUnion {
    PF_LayerDef ld;
    PF_SliderDef sd;
    PF_FixedSliderDef fd;
    PF_AngleDef ad;
    PF_CheckBoxDef bd;
    PF_ColorDef cd;
    PF_PointDef td;
    PF_PopupDef pd;
    PF_FloatSliderDef fs_d;
    PF_ArbitraryDef arb_d;
    PF_PathDef path_d;
};

struct PF_ParamDef {
    union {
        A_long id;  ///< at registration: the disk id, a control's identity in stored projects
        A_long change_flags;  ///< on the way back: PF_ChangeFlag_*
    } uu;
    A_long ui_flags;              ///< PF_PUI_*
    A_short ui_width, ui_height;  ///< of a custom control, pixels
    PF_ParamType param_type;
    A_char name[kParamNameSize];
    A_long flags;  ///< PF_ParamFlag_*
    A_long unused;
    PF_ParamDefUnion u;
};
