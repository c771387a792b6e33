// The PF suites: tables of functions that a host hands out by name and version through
// SPBasicSuite. A table holds the functions that this effect calls; each version is its own type.
#pragma once

#include "platform/effect_api/effect_commands.h"

/// The way to all suites. The status is 0 for success; `suite` is null on failure.
struct SPBasicSuite {
    A_long (*AcquireSuite)(char const* name, A_long version, void const** suite);
    A_long (*ReleaseSuite)(char const* name, A_long version);
};

constexpr char kPFWorldSuite[] = "PF World Suite";
constexpr A_long kPFWorldSuiteVersion2 = 2;
struct PF_WorldSuite2 {
    PF_Err (*PF_NewWorld)(PF_ProgPtr effect_ref, A_long width, A_long height,
                          PF_Boolean clear_pixels, PF_PixelFormat format, PF_EffectWorld* world);
    PF_Err (*PF_DisposeWorld)(PF_ProgPtr effect_ref, PF_EffectWorld* world);
    PF_Err (*PF_GetPixelFormat)(PF_EffectWorld const* world, PF_PixelFormat* format);
};

constexpr char kPFColorParamSuite[] = "PF ColorParamSuite";
constexpr A_long kPFColorParamSuiteVersion1 = 1;
struct PF_ColorParamSuite1 {
    /// The colour parameter's value with channels from 0 to 1.
    PF_Err (*PF_GetFloatingPointColorFromColorDef)(PF_ProgPtr effect_ref, PF_ParamDef const* color,
                                                   PF_PixelFloat* result);
};

constexpr char kPFParamUtilsSuite[] = "PF Param Utils Suite";
constexpr A_long kPFParamUtilsSuiteVersion1 = 1;
struct PF_ParamUtilsSuite1 {
    /// Shows the control at `index` as `def` tells.
    PF_Err (*PF_UpdateParamUI)(PF_ProgPtr effect_ref, A_long index, PF_ParamDef const* def);
};

/// A colour of the host's interface, 16 bits a channel.
struct PF_App_Color {
    A_u_short red, green, blue;
};

constexpr char kPFAppSuite[] = "PF AE App Suite";
constexpr A_long kPFAppSuiteVersion1 = 1;
struct PFAppSuite1 {
    PF_Err (*PF_AppGetColor)(A_long color_type, PF_App_Color* color);
    PF_Err (*PF_SetCursor)(A_long cursor);
};
constexpr A_long kPFAppSuiteVersion5 = 5;
struct PFAppSuite5 {
    PF_Err (*PF_AppGetColor)(A_long color_type, PF_App_Color* color);
    PF_Err (*PF_SetCursor)(A_long cursor);
    PF_Err (*PF_RefreshAllWindows)();
    PF_Err (*PF_GetMouse)(PF_Point* point);
};

/// "AE Plugin Helper Suite": the tool in the user's hand; 1 is the selection tool.
constexpr char kAEPluginHelperSuite[] = "AE Plugin Helper Suite";
constexpr A_long kAEPluginHelperSuiteVersion1 = 1;
struct PF_HelperSuite1 {
    PF_Err (*PF_GetCurrentTool)(A_u_char* tool);
};

/// A mask vertex as the host gives it, layer pixels.
struct PF_PathVertexRecord {
    PF_FpLong tan_in_x, tan_in_y;
    PF_FpLong x, y;
    PF_FpLong tan_out_x, tan_out_y;
};
using PF_PathOutlinePtr = struct PF_PathOutline*;

constexpr char kPFPathQuerySuite[] = "PF Path Query Suite";
constexpr A_long kPFPathQuerySuiteVersion1 = 1;
struct PF_PathQuerySuite1 {
    PF_Err (*PF_NumPaths)(PF_ProgPtr effect_ref, A_long* count);
    PF_Err (*PF_PathInfo)(PF_ProgPtr effect_ref, A_long index, A_long* path_id);
    PF_Err (*PF_CheckoutPath)(PF_ProgPtr effect_ref, A_long path_id, A_long what_time,
                              A_long time_step, A_u_long time_scale, PF_PathOutlinePtr* path);
    PF_Err (*PF_CheckinPath)(PF_ProgPtr effect_ref, A_long path_id, PF_Boolean changed,
                             PF_PathOutlinePtr path);
};

constexpr char kPFPathDataSuite[] = "PF Path Data Suite";
constexpr A_long kPFPathDataSuiteVersion1 = 1;
struct PF_PathDataSuite1 {
    PF_Err (*PF_PathIsOpen)(PF_ProgPtr effect_ref, PF_PathOutlinePtr path, PF_Boolean* open);
    PF_Err (*PF_PathNumSegments)(PF_ProgPtr effect_ref, PF_PathOutlinePtr path, A_long* count);
    PF_Err (*PF_PathVertexInfo)(PF_ProgPtr effect_ref, PF_PathOutlinePtr path, A_long index,
                                PF_PathVertexRecord* vertex);
};
