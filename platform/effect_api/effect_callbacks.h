// What a host lends to an effect for the length of one command: the `inter` callbacks, which name
// the effect instance, and the `utils` table of image, memory and text functions.
//
// Every callback answers a PF_Err, 0 for success, unless it says otherwise. Images and handles
// that a callback makes belong to the effect until it gives them back.
#pragma once

#include "platform/effect_api/effect_params.h"

struct PF_CustomUIInfo;

/// Callbacks that belong to the effect instance.
struct PF_InteractCallbacks {
    /// The value of parameter `index` at a time, into `param`; give it back with checkin_param.
    PF_Err (*checkout_param)(PF_ProgPtr effect_ref, A_long index, A_long what_time,
                             A_long time_step, A_u_long time_scale, PF_ParamDef* param);
    PF_Err (*checkin_param)(PF_ProgPtr effect_ref, PF_ParamDef* param);
    /// Registers one parameter; an index of -1 appends.
    PF_Err (*add_param)(PF_ProgPtr effect_ref, A_long index, PF_ParamDef* def);
    /// Non-zero when the user asked to stop.
    PF_Err (*abort)(PF_ProgPtr effect_ref);
    /// Reports `current` of `total`; non-zero when the user asked to stop.
    PF_Err (*progress)(PF_ProgPtr effect_ref, A_long current, A_long total);
    PF_Err (*register_ui)(PF_ProgPtr effect_ref, PF_CustomUIInfo* info);
};

/// Text functions with the C library's meaning.
struct PF_ANSICallbacks {
    A_char* (*strcpy)(A_char* to, A_char const* from);
    int (*sprintf)(A_char* to, A_char const* format, ...);
};

/// Image, memory and text functions. A null entry means that the host has no such function.
struct PF_UtilCallbacks {
    /// Copies `from_rect` (null: all) of `from` to `to_rect` (null: from the corner) of `to`.
    PF_Err (*copy)(PF_ProgPtr effect_ref, PF_EffectWorld* from, PF_EffectWorld* to,
                   PF_Rect* from_rect, PF_Rect* to_rect);
    /// Fills `rect` (null: all) with `color` (null: transparent black).
    PF_Err (*fill)(PF_ProgPtr effect_ref, PF_Pixel const* color, PF_Rect const* rect,
                   PF_EffectWorld* world);
    /// Makes an 8-bit image, or a deep one, in `world`; PF_NewWorldFlag_*.
    PF_Err (*new_world)(PF_ProgPtr effect_ref, A_long width, A_long height, A_long flags,
                        PF_EffectWorld* world);
    PF_Err (*dispose_world)(PF_ProgPtr effect_ref, PF_EffectWorld* world);
    /// Lays `source` over `destination` at an offset in pixels.
    PF_Err (*transfer_rect)(PF_ProgPtr effect_ref, A_long quality, A_long mode_flags, A_long field,
                            PF_Rect const* source_rect, PF_EffectWorld const* source,
                            PF_CompositeMode const* mode, PF_MaskWorld const* mask,
                            A_long destination_x, A_long destination_y,
                            PF_EffectWorld* destination);
    /// Maps `source` by a matrix into `destination`.
    PF_Err (*transform_world)(PF_ProgPtr effect_ref, A_long quality, A_long mode_flags,
                              A_long field, PF_EffectWorld const* source,
                              PF_CompositeMode const* mode, PF_MaskWorld const* mask,
                              PF_FloatMatrix const* matrices, A_long matrix_count,
                              PF_Boolean source_to_destination, PF_Rect const* rect,
                              PF_EffectWorld* destination);

    /// The address of the pixels when the image has that depth, else null; `pixels` is null for
    /// the image's own.
    PF_Err (*get_pixel_data8)(PF_EffectWorld* world, void* pixels, PF_Pixel8** address);
    PF_Err (*get_pixel_data16)(PF_EffectWorld* world, void* pixels, PF_Pixel16** address);

    PF_Handle (*host_new_handle)(std::uint64_t bytes);  ///< null when there is no memory
    void* (*host_lock_handle)(PF_Handle handle);        ///< the address of the bytes
    void (*host_unlock_handle)(PF_Handle handle);
    void (*host_dispose_handle)(PF_Handle handle);

    PF_ANSICallbacks ansi;
};
