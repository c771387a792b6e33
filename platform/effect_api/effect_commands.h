// The commands of the effect interface: what a host asks, with what record, and what an effect
// announces about itself.
#pragma once

#include "platform/effect_api/effect_callbacks.h"

enum PF_Cmd : A_long {
    PF_Cmd_ABOUT = 0,
    PF_Cmd_GLOBAL_SETUP = 1,
    PF_Cmd_UNUSED_0 = 2,
    PF_Cmd_GLOBAL_SETDOWN = 3,
    PF_Cmd_PARAMS_SETUP = 4,
    PF_Cmd_SEQUENCE_SETUP = 5,
    PF_Cmd_SEQUENCE_RESETUP = 6,
    PF_Cmd_SEQUENCE_FLATTEN = 7,
    PF_Cmd_SEQUENCE_SETDOWN = 8,
    PF_Cmd_DO_DIALOG = 9,
    PF_Cmd_FRAME_SETUP = 10,
    PF_Cmd_RENDER = 11,
    PF_Cmd_FRAME_SETDOWN = 12,
    PF_Cmd_USER_CHANGED_PARAM = 13,
    PF_Cmd_UPDATE_PARAMS_UI = 14,
    PF_Cmd_EVENT = 15,
    PF_Cmd_GET_EXTERNAL_DEPENDENCIES = 16,
    PF_Cmd_COMPLETELY_GENERAL = 17,
    PF_Cmd_QUERY_DYNAMIC_FLAGS = 18,
    PF_Cmd_AUDIO_RENDER = 19,
    PF_Cmd_AUDIO_SETUP = 20,
    PF_Cmd_AUDIO_SETDOWN = 21,
    PF_Cmd_ARBITRARY_CALLBACK = 22,
    PF_Cmd_SMART_PRE_RENDER = 23,
    PF_Cmd_SMART_RENDER = 24,
};

enum : A_u_long {
    PF_OutFlag_KEEP_RESOURCE_OPEN = 1u << 0,
    PF_OutFlag_DISPLAY_ERROR_MESSAGE = 1u << 8,  ///< show return_msg to the user
    PF_OutFlag_CUSTOM_UI = 1u << 15,
    PF_OutFlag_REFRESH_UI = 1u << 17,
    PF_OutFlag_I_USE_SHUTTER_ANGLE = 1u << 19,
    PF_OutFlag_DEEP_COLOR_AWARE = 1u << 25,
    PF_OutFlag_SEND_UPDATE_PARAMS_UI = 1u << 26,
};

enum : A_u_long {
    PF_OutFlag2_I_USE_3D_CAMERA = 1u << 2,
    PF_OutFlag2_PARAM_GROUP_START_COLLAPSED_FLAG = 1u << 3,
    PF_OutFlag2_SUPPORTS_SMART_RENDER = 1u << 10,
    PF_OutFlag2_FLOAT_COLOR_AWARE = 1u << 12,
    PF_OutFlag2_I_AM_THREADSAFE = 1u << 14,
};

struct SPBasicSuite;

/// What the host tells with every command. All pointers are valid until the command returns.
struct PF_InData {
    PF_InteractCallbacks inter;
    PF_UtilCallbacks* utils;
    PF_ProgPtr effect_ref;
    A_long quality;          ///< PF_Quality
    PF_SpecVersion version;  ///< of the host's interface
    A_long serial_num;
    A_u_long appl_id;  ///< four-character code of the host
    A_long num_params;
    A_long what_cpu;
    A_long what_fpu;
    A_long current_time;     ///< host time units
    A_long time_step;        ///< length of a frame of the composition, host time units
    A_long total_time;       ///< length of the layer, host time units
    A_long local_time_step;  ///< length of a frame of the layer, host time units
    A_u_long time_scale;     ///< host time units per second
    A_long field;            ///< PF_Field
    PF_Fixed shutter_angle;  ///< fraction of a frame: 180 degrees is 32768
    PF_Fixed shutter_phase;  ///< fraction of a frame
    A_long width, height;    ///< of the layer at full resolution, pixels
    PF_Rect extent_hint;
    A_long output_origin_x, output_origin_y;
    PF_RationalScale downsample_x, downsample_y;  ///< 1/2 at half resolution
    PF_RationalScale pixel_aspect_ratio;          ///< width over height
    PF_Handle global_data;
    PF_Handle sequence_data;
    PF_Handle frame_data;
    A_long start_sampL, dur_sampL, total_sampL;
    SPBasicSuite const* pica_basicP;  ///< the way to the suites; may be null
    A_long pre_effect_source_origin_x, pre_effect_source_origin_y;
    PF_Fixed shutter_start;
};

constexpr int kReturnMessageSize = 256;  ///< characters of return_msg, terminator included

/// What the effect answers with a command.
struct PF_OutData {
    A_u_long my_version;
    A_char name[kParamNameSize];
    PF_Handle global_data;
    A_long num_params;  ///< input layer included
    PF_Handle sequence_data;
    A_long flat_sdata_size;
    PF_Handle frame_data;
    A_long width, height;  ///< of the output, pixels
    PF_Point origin;
    A_u_long out_flags;  ///< PF_OutFlag_*
    A_char return_msg[kReturnMessageSize];
    A_long start_sampL, dur_sampL;
    A_u_long out_flags2;  ///< PF_OutFlag2_*
};

/// Extra record of PF_Cmd_USER_CHANGED_PARAM.
struct PF_UserChangedParamExtra {
    A_long param_index;
};

/// The one function that an effect module exports.
using PF_EntryPoint = PF_Err (*)(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data,
                                 PF_ParamDef** params, PF_LayerDef* output, void* extra);
constexpr char kEntryPointName[] = "EntryPointFunc";
