// The smart render protocol: PF_Cmd_SMART_PRE_RENDER agrees on rectangles, PF_Cmd_SMART_RENDER
// draws. Rectangles are in pixels of the layer at the command's resolution, half-open.
#pragma once

#include "platform/effect_api/effect_commands.h"

enum : A_long {
    PF_ChannelMask_ALPHA = 1 << 0,
    PF_ChannelMask_RED = 1 << 1,
    PF_ChannelMask_GREEN = 1 << 2,
    PF_ChannelMask_BLUE = 1 << 3,
    PF_ChannelMask_ARGB = 0xF,
};

enum : A_short { PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS = 1 << 0 };

/// What is asked of a layer or of the output.
struct PF_RenderRequest {
    PF_LRect rect;
    A_long field;         ///< PF_Field
    A_long channel_mask;  ///< PF_ChannelMask_*
    PF_Boolean preserve_rgb_of_zero_alpha;
    A_char unused[3];
    A_long reserved[4];
};

/// What a checked out layer can give.
struct PF_CheckoutResult {
    PF_LRect result_rect;
    PF_LRect max_result_rect;
    PF_RationalScale par;  ///< pixel aspect ratio
    A_long solid;
    PF_Boolean reservedB[3];
    A_long ref_width, ref_height;
    A_long reserved[6];
};

struct PF_PreRenderInput {
    PF_RenderRequest output_request;
    A_short bitdepth;  ///< 8, 16 or 32
    void const* gpu_data;
    A_long what_gpu;
    A_u_long device_index;
};

using PF_DeletePreRenderDataFunc = void (*)(void* pre_render_data);

struct PF_PreRenderOutput {
    PF_LRect result_rect;
    PF_LRect max_result_rect;
    PF_Boolean solid;
    PF_Boolean reserved;
    A_short flags;  ///< PF_RenderOutputFlag_*
    void* pre_render_data;
    PF_DeletePreRenderDataFunc delete_pre_render_data_func;
};

struct PF_PreRenderCallbacks {
    /// Asks for the layer parameter `index` under the effect's own identifier `checkout_id`.
    PF_Err (*checkout_layer)(PF_ProgPtr effect_ref, A_long index, A_long checkout_id,
                             PF_RenderRequest const* request, A_long what_time, A_long time_step,
                             A_u_long time_scale, PF_CheckoutResult* result);
};

/// Extra record of PF_Cmd_SMART_PRE_RENDER.
struct PF_PreRenderExtra {
    PF_PreRenderInput* input;
    PF_PreRenderOutput* output;
    PF_PreRenderCallbacks* cb;
};

struct PF_SmartRenderInput {
    PF_RenderRequest output_request;
    A_short bitdepth;
    void* pre_render_data;
    void const* gpu_data;
    A_long what_gpu;
    A_u_long device_index;
};

struct PF_SmartRenderCallbacks {
    /// The pixels of a layer that pre-render checked out; the host takes them back at the
    /// command's end at the latest. The result may be null: a layer without pixels.
    PF_Err (*checkout_layer_pixels)(PF_ProgPtr effect_ref, A_long checkout_id,
                                    PF_EffectWorld** pixels);
    PF_Err (*checkin_layer_pixels)(PF_ProgPtr effect_ref, A_long checkout_id);
    PF_Err (*checkout_output)(PF_ProgPtr effect_ref, PF_EffectWorld** output);
};

/// Extra record of PF_Cmd_SMART_RENDER.
struct PF_SmartRenderExtra {
    PF_SmartRenderInput* input;
    PF_SmartRenderCallbacks* cb;
};
