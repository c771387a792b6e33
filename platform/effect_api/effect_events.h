// Events that a host sends to an effect with an interface of its own (PF_Cmd_EVENT), and the
// record by which the effect asks for them.
//
// Spaces: "frame" is panel pixels, "source" the layer or composition shown in the panel, "comp"
// the composition, "layer" layer pixels. Points in 16.16.
#pragma once

#include "platform/effect_api/effect_commands.h"

enum : A_long {
    PF_CustomEFlag_NONE = 0,
    PF_CustomEFlag_COMP = 1 << 0,   ///< events in the composition panel
    PF_CustomEFlag_LAYER = 1 << 1,  ///< events in the layer panel
    PF_CustomEFlag_EFFECT = 1 << 2,
};

/// Which events an effect wants and how large its panels are (pixels).
struct PF_CustomUIInfo {
    A_long reserved;
    A_long events;  ///< PF_CustomEFlag_*
    A_long comp_ui_width, comp_ui_height, comp_ui_alignment;
    A_long layer_ui_width, layer_ui_height, layer_ui_alignment;
    A_long preview_ui_width, preview_ui_height, preview_ui_alignment;
};

enum PF_EventType : A_long {
    PF_Event_NONE = -1,
    PF_Event_NEW_CONTEXT = 0,
    PF_Event_ACTIVATE = 1,
    PF_Event_DO_CLICK = 2,
    PF_Event_DRAG = 3,
    PF_Event_DRAW = 4,
    PF_Event_DEACTIVATE = 5,
    PF_Event_CLOSE_CONTEXT = 6,
    PF_Event_IDLE = 7,
    PF_Event_ADJUST_CURSOR = 8,
    PF_Event_KEYDOWN = 9,
};

enum PF_WindowType : A_long {
    PF_Window_COMP = 0,
    PF_Window_LAYER = 1,
    PF_Window_EFFECT = 2,
    PF_Window_PREVIEW = 3,
};

/// Modifier keys of an event.
enum : A_long {
    PF_Mod_NONE = 0,
    PF_Mod_CMD_CTRL_KEY = 1 << 8,
    PF_Mod_SHIFT_KEY = 1 << 9,
    PF_Mod_CAPS_LOCK_KEY = 1 << 10,
    PF_Mod_OPT_ALT_KEY = 1 << 11,
};

/// Answers of the effect in evt_out_flags.
enum : A_long {
    PF_EO_NONE = 0,
    PF_EO_HANDLED_EVENT = 1 << 0,
    PF_EO_ALWAYS_UPDATE = 1 << 1,
    PF_EO_NEVER_UPDATE = 1 << 2,
    PF_EO_UPDATE_NOW = 1 << 3,
};

/// One panel in which the effect is shown.
struct PF_Context {
    A_u_long magic;
    PF_WindowType w_type;
    void* reserved_flt;
    std::intptr_t plugin_state[4];
    void* reserved_drawref;
};
using PF_ContextH = PF_Context**;

struct PF_DoClickEventInfo {
    A_u_long when;          ///< clock ticks
    PF_Point screen_point;  ///< panel pixels
    A_long num_clicks;
    A_long modifiers;                  ///< PF_Mod_*
    std::intptr_t continue_refcon[4];  ///< the effect's own, carried to the drag events
    PF_Boolean send_drag;              ///< the effect asks for drag events
    PF_Boolean last_time;              ///< the last event of a drag
};

struct PF_DrawEventInfo {
    PF_LRect update_rect;  ///< panel pixels
    A_long depth;
};

struct PF_KeyDownEventInfo {
    A_u_long when;
    PF_Point screen_point;
    A_long keycode;
    A_long modifiers;
};

struct PF_AdjustCursorEventInfo {
    PF_Point screen_point;
    A_long modifiers;
    A_long set_cursor;
};

union PF_EventUnion {
    PF_DoClickEventInfo do_click;  ///< click and drag
    PF_DrawEventInfo draw;
    PF_KeyDownEventInfo key_down;
    PF_AdjustCursorEventInfo adjust_cursor;
};

struct PF_EventCallbacks {
    void* refcon;
    PF_Err (*layer_to_comp)(void* refcon, PF_ContextH context, A_long time, A_u_long time_scale,
                            PF_FixedPoint* point);
    PF_Err (*comp_to_layer)(void* refcon, PF_ContextH context, A_long time, A_u_long time_scale,
                            PF_FixedPoint* point);
    PF_Err (*source_to_frame)(void* refcon, PF_ContextH context, PF_FixedPoint* point);
    PF_Err (*frame_to_source)(void* refcon, PF_ContextH context, PF_FixedPoint* point);
};

/// Extra record of PF_Cmd_EVENT.
struct PF_EventExtra {
    PF_ContextH contextH;
    PF_EventType e_type;
    PF_EventUnion u;
    A_long evt_in_flags;
    A_long evt_out_flags;  ///< PF_EO_*
    PF_EventCallbacks cbs;
};
