// The AEGP suites: the host's project, compositions, layers, streams of values and keyframes.
// A table holds the functions that this effect calls; each version is its own type.
//
// References are opaque and belong to the host unless a dispose call is named.
#pragma once

#include "platform/effect_api/effect_suites.h"

using AEGP_PluginID = A_long;
using AEGP_ProjectH = struct AEGP_Project*;
using AEGP_ItemH = struct AEGP_Item*;
using AEGP_CompH = struct AEGP_Comp*;
using AEGP_LayerH = struct AEGP_Layer*;
using AEGP_EffectRefH = struct AEGP_EffectRef*;
using AEGP_StreamRefH = struct AEGP_StreamRef*;

/// A moment: seconds are value / scale.
struct A_Time {
    A_long value;
    A_u_long scale;
};

/// 4 by 4 matrix, row vectors, row after row.
struct QV_Matrix4 {
    A_FpLong mat[4][4];
};

enum AEGP_ItemType : A_short {
    AEGP_ItemType_NONE = 0,
    AEGP_ItemType_FOLDER = 1,
    AEGP_ItemType_COMP = 2,
    AEGP_ItemType_LAYER = 4,
    AEGP_ItemType_FOOTAGE = 5,
};

/// How the project counts frames for display.
struct AEGP_TimeDisplay {
    A_long time_display_type;
    A_char timebase;
    PF_Boolean non_drop_30;
    A_char frames_per_foot;
    A_long starting_frame;  ///< number of the first frame shown
};

constexpr char kAEGPProjSuite[] = "AEGP Proj Suite";
constexpr A_long kAEGPProjSuiteVersion7 = 7;
struct AEGP_ProjSuite7 {
    A_Err (*AEGP_GetNumProjects)(A_long* count);
    A_Err (*AEGP_GetProjectByIndex)(A_long index, AEGP_ProjectH* project);
    A_Err (*AEGP_GetProjectTimeDisplay)(AEGP_ProjectH project, AEGP_TimeDisplay* display);
};

constexpr char kAEGPItemSuite[] = "AEGP Item Suite";
constexpr A_long kAEGPItemSuiteVersion7 = 7;
struct AEGP_ItemSuite7 {
    A_Err (*AEGP_GetFirstProjItem)(AEGP_ProjectH project, AEGP_ItemH* item);
    /// The item after `item`, or null at the end.
    A_Err (*AEGP_GetNextProjItem)(AEGP_ProjectH project, AEGP_ItemH item, AEGP_ItemH* next);
    A_Err (*AEGP_GetItemType)(AEGP_ItemH item, AEGP_ItemType* type);
};
constexpr A_long kAEGPItemSuiteVersion10 = 10;
struct AEGP_ItemSuite10 {
    A_Err (*AEGP_GetItemDimensions)(AEGP_ItemH item, A_long* width, A_long* height);
};

constexpr char kAEGPCompSuite[] = "AEGP Comp Suite";
constexpr A_long kAEGPCompSuiteVersion11 = 11;
struct AEGP_CompSuite11 {
    A_Err (*AEGP_GetCompFromItem)(AEGP_ItemH item, AEGP_CompH* comp);
};

constexpr char kAEGPPFInterfaceSuite[] = "AEGP PF Interface Suite";
constexpr A_long kAEGPPFInterfaceSuiteVersion1 = 1;
struct AEGP_PFInterfaceSuite1 {
    A_Err (*AEGP_ConvertEffectToCompTime)(PF_ProgPtr effect_ref, A_long time, A_u_long time_scale,
                                          A_Time* comp_time);
    A_Err (*AEGP_GetEffectCamera)(PF_ProgPtr effect_ref, A_Time const* comp_time,
                                  AEGP_LayerH* camera);
    /// The camera's matrix, the distance to its image plane and that plane's size in pixels.
    A_Err (*AEGP_GetEffectCameraMatrix)(PF_ProgPtr effect_ref, A_Time const* comp_time,
                                        QV_Matrix4* matrix, A_FpLong* plane_distance,
                                        A_short* plane_width, A_short* plane_height);
    /// The AEGP side of this effect instance; give it back with AEGP_DisposeEffect.
    A_Err (*AEGP_GetNewEffectForEffect)(AEGP_PluginID id, PF_ProgPtr effect_ref,
                                        AEGP_EffectRefH* effect);
};

constexpr char kAEGPEffectSuite[] = "AEGP Effect Suite";
constexpr A_long kAEGPEffectSuiteVersion2 = 2;
struct AEGP_EffectSuite2 {
    A_Err (*AEGP_DisposeEffect)(AEGP_EffectRefH effect);
};

enum AEGP_LayerStream : A_long { AEGP_LayerStream_ZOOM = 8 };
enum AEGP_LTimeMode : A_short { AEGP_LTimeMode_LayerTime = 0, AEGP_LTimeMode_CompTime = 1 };

/// One value of a stream; which field counts is the stream's matter.
union AEGP_StreamVal {
    A_FpLong one_d;
    struct {
        A_FpLong x, y;  ///< layer pixels for a point control
    } two_d;
    A_FpLong three_d[3];
    struct {
        A_FpLong alpha, red, green, blue;  ///< 0 to 1
    } color;
};
struct AEGP_StreamValue {
    AEGP_StreamRefH stream;
    AEGP_StreamVal val;
};

constexpr char kAEGPStreamSuite[] = "AEGP Stream Suite";
constexpr A_long kAEGPStreamSuiteVersion4 = 4;
struct AEGP_StreamSuite4 {
    A_Err (*AEGP_GetLayerStreamValue)(AEGP_LayerH layer, AEGP_LayerStream which,
                                      AEGP_LTimeMode time_mode, A_Time const* time,
                                      PF_Boolean pre_expression, AEGP_StreamVal* value,
                                      A_long* stream_type);
};
constexpr A_long kAEGPStreamSuiteVersion7 = 7;
struct AEGP_StreamSuite7 {
    /// The stream of parameter `index`; give it back with AEGP_DisposeStream.
    A_Err (*AEGP_GetNewEffectStreamByIndex)(AEGP_PluginID id, AEGP_EffectRefH effect, A_long index,
                                            AEGP_StreamRefH* stream);
    A_Err (*AEGP_DisposeStream)(AEGP_StreamRefH stream);
    A_Err (*AEGP_DisposeStreamValue)(AEGP_StreamValue* value);
};

constexpr char kAEGPKeyframeSuite[] = "AEGP Keyframe Suite";
constexpr A_long kAEGPKeyframeSuiteVersion3 = 3;
struct AEGP_KeyframeSuite3 {
    A_Err (*AEGP_InsertKeyframe)(AEGP_StreamRefH stream, AEGP_LTimeMode time_mode,
                                 A_Time const* time, A_long* index);
    /// The value of a keyframe; give it back with AEGP_DisposeStreamValue.
    A_Err (*AEGP_GetNewKeyframeValue)(AEGP_PluginID id, AEGP_StreamRefH stream, A_long index,
                                      AEGP_StreamValue* value);
    A_Err (*AEGP_SetKeyframeValue)(AEGP_StreamRefH stream, A_long index,
                                   AEGP_StreamValue const* value);
};
