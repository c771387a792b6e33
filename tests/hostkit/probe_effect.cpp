// An effect that only looks at its host: it calls everything that a host provides and reports what
// it got. Its own text goes to return_msg without the host's help, so that the log stays clean.
#include "tests/hostkit/probe_effect.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

#include "platform/effect_api/effect_api.h"

#define PROBE_EXPORT extern "C" __attribute__((visibility("default")))

/// Global set-ups without their set-down, over all hosts.
PROBE_EXPORT int probeLiveSetups;
int probeLiveSetups = 0;

namespace {
PF_InteractCallbacks lastInter;
PF_ProgPtr lastRef;
}  // namespace

/// Calls the host back when no command runs.
PROBE_EXPORT PF_Err probeLateCall() { return lastInter.progress(lastRef, 0, 1); }

namespace {

struct Call {
    PF_InData* in;
    PF_OutData* out;
    PF_ParamDef** params;
    PF_LayerDef* output;
};

template <class... Arguments>
PF_Err report(Call const& call, char const* format, Arguments... arguments) {
    std::snprintf(call.out->return_msg, sizeof call.out->return_msg, format, arguments...);
    return PF_Err_NONE;
}

PF_Err globalSetdown(Call const& call) {
    if (!call.in->global_data) return PF_Err_INTERNAL_STRUCT_DAMAGED;
    --probeLiveSetups;
    return PF_Err_NONE;
}

PF_Err globalSetup(Call const& call) {
    if (call.in->appl_id == kProbeFailingHost) {
        report(call, "not in this host");
        return kProbeSetupError;
    }
    call.out->out_flags |= PF_OutFlag_DEEP_COLOR_AWARE;
    call.out->out_flags2 = PF_OutFlag2_FLOAT_COLOR_AWARE;
    call.out->my_version = effectVersion(2, 1, 0, PF_Stage_BETA, 7);
    if (call.in->utils->host_new_handle) {
        call.out->global_data = call.in->utils->host_new_handle(4);
        if (!call.out->global_data) return PF_Err_OUT_OF_MEMORY;
        call.in->utils->host_unlock_handle(call.out->global_data);
    }
    ++probeLiveSetups;
    return PF_Err_NONE;
}

void describeParam(int index, PF_ParamDef& def, std::string& text) {
    auto& u = def.u;
    switch (index) {
        case kProbeReport:
            u.sd = {1, "", "", 0, 100, 0, 10, 1};
            break;
        case kProbeFixed:
            u.fd = {0, "", "", -100 << 16, 100 << 16, -50 << 16, 50 << 16, 5 << 15, 1, 0};
            break;
        case kProbeAngle:
            u.ad.dephault = -90 * 65536;
            break;
        case kProbeCheckbox:
            text = "box label";
            u.bd.dephault = 1;
            u.bd.u.nameptr = text.c_str();
            break;
        case kProbeColor:
            u.cd.dephault = {255, 10, 20, 30};
            break;
        case kProbePoint:
            u.td.x_dephault = 50 << 16;
            u.td.y_dephault = 25 << 16;
            break;
        case kProbePopup:
            text = "One|(-|Three with a rather long name";
            u.pd.num_choices = 3;
            u.pd.dephault = 3;
            u.pd.u.namesptr = text.c_str();
            break;
        case kProbeFloat:
            u.fs_d.valid_max = 12;
            u.fs_d.slider_max = 1;
            u.fs_d.dephault = 0.25f;
            break;
    }
}

constexpr PF_ParamType kProbeKinds[kProbeParamCount] = {
    PF_Param_LAYER,        PF_Param_SLIDER,      PF_Param_FIX_SLIDER, PF_Param_ANGLE,
    PF_Param_CHECKBOX,     PF_Param_COLOR,       PF_Param_POINT,      PF_Param_POPUP,
    PF_Param_FLOAT_SLIDER, PF_Param_GROUP_START, PF_Param_GROUP_END};

PF_Err paramsSetup(Call const& call) {
    for (int index = 1; index < kProbeParamCount; ++index) {
        PF_ParamDef def;
        std::memset(&def, 0, sizeof def);
        std::string text;  // gone before the host next looks
        describeParam(index, def, text);
        def.param_type = kProbeKinds[index];
        def.uu.id = 500 - index;
        std::snprintf(def.name, sizeof def.name, "Control %d", index);
        if (PF_Err err = call.in->inter.add_param(call.in->effect_ref, -1, &def)) return err;
    }
    call.out->num_params = kProbeParamCount;
    PF_CustomUIInfo info{};
    info.events = PF_CustomEFlag_COMP;
    return call.in->inter.register_ui(call.in->effect_ref, &info);
}

PF_Err reportClock(Call const& call) {
    PF_InData const& in = *call.in;
    return report(call, "%08x %d.%d n=%d t=%d step=%d/%d total=%d scale=%u shutter=%d,%d f=%d q=%d",
                  in.appl_id, in.version.major, in.version.minor, in.num_params, in.current_time,
                  in.time_step, in.local_time_step, in.total_time, in.time_scale, in.shutter_angle,
                  in.shutter_phase, in.field, in.quality);
}

PF_Err reportGeometry(Call const& call) {
    PF_InData const& in = *call.in;
    PF_PointDef const& point = call.params[kProbePoint]->u.td;
    return report(call, "layer=%dx%d scale=%d/%u,%d/%u par=%d/%u world=%dx%d point=%.4f,%.4f",
                  in.width, in.height, in.downsample_x.num, in.downsample_x.den,
                  in.downsample_y.num, in.downsample_y.den, in.pixel_aspect_ratio.num,
                  in.pixel_aspect_ratio.den, call.output->width, call.output->height,
                  point.x_value / 65536.0, point.y_value / 65536.0);
}

PF_Err reportParams(Call const& call) {
    int differing = 0;
    for (A_long i = 0; i < call.in->num_params; ++i) {
        PF_ParamDef def{};
        PF_InData const& in = *call.in;
        if (PF_Err err = in.inter.checkout_param(in.effect_ref, i, in.current_time, in.time_step,
                                                 in.time_scale, &def))
            return err;
        differing += std::memcmp(&def, call.params[i], sizeof def) != 0 || def.uu.change_flags != 0;
        in.inter.checkin_param(in.effect_ref, &def);
    }
    PF_PopupDef const& popup = call.params[kProbePopup]->u.pd;
    PF_Pixel const color = call.params[kProbeColor]->u.cd.value;
    PF_ParamDef none{};
    PF_Err const beyond =
        call.in->inter.checkout_param(call.in->effect_ref, call.in->num_params, 0, 1, 1, &none);
    PF_Err const tidied = call.in->inter.checkin_param(call.in->effect_ref, &none);
    return report(call, "differing=%d popup=%d \"%s\" color=%d,%d,%d,%d beyond=%d,%d", differing,
                  popup.value, popup.u.namesptr, color.alpha, color.red, color.green, color.blue,
                  beyond, tidied);
}

/// "argb 8 deep=0 pad=4": format by suite (or "-"), which pixel getter answers, flag, row padding.
std::string layoutOf(Call const& call, PF_EffectWorld world, PF_WorldSuite2 const* suite) {
    PF_PixelFormat format = 0;
    char code[5] = "-";
    if (suite && suite->PF_GetPixelFormat(&world, &format) == 0) std::memcpy(code, &format, 4);
    PF_Pixel8* bytes = nullptr;
    PF_Pixel16* words = nullptr;
    call.in->utils->get_pixel_data8(&world, nullptr, &bytes);
    call.in->utils->get_pixel_data16(&world, nullptr, &words);
    int const size = bytes ? 4 : words ? 8 : 16;
    bool const right = (!bytes || bytes == world.data) && (!words || words == world.data);
    return std::string(code) +
           (right ? bytes   ? " 8"
                    : words ? " 16"
                            : " none"
                  : " wrong") +
           " deep=" + std::to_string(world.world_flags & PF_WorldFlag_DEEP) +
           " pad=" + std::to_string(world.rowbytes - world.width * size) + "; ";
}

PF_Err reportImages(Call const& call) {
    PF_InData& in = *call.in;
    void const* table = nullptr;
    if (in.pica_basicP) in.pica_basicP->AcquireSuite(kPFWorldSuite, kPFWorldSuiteVersion2, &table);
    auto const* suite = static_cast<PF_WorldSuite2 const*>(table);
    std::string text = layoutOf(call, *call.output, suite);
    for (A_long flags : {PF_NewWorldFlag_NONE, PF_NewWorldFlag_DEEP_PIXELS}) {
        PF_EffectWorld world{};
        if (in.utils->new_world(in.effect_ref, 5, 3, flags, &world)) return 1;
        text += layoutOf(call, world, suite);
        PF_EffectWorld copy = world;
        if (in.utils->dispose_world(in.effect_ref, &copy)) return 2;
    }
    if (suite) {
        PF_EffectWorld world{};
        if (suite->PF_NewWorld(in.effect_ref, 5, 3, 1, PF_PixelFormat_ARGB128, &world)) return 3;
        text += layoutOf(call, world, suite);
        if (suite->PF_DisposeWorld(in.effect_ref, &world)) return 4;
        in.pica_basicP->ReleaseSuite(kPFWorldSuite, kPFWorldSuiteVersion2);
    }
    return report(call, "%s", text.c_str());
}

/// Keeps the first failure, and goes on tidying up.
struct FirstError {
    PF_Err code = PF_Err_NONE;
    bool ok(PF_Err err) {
        if (code == PF_Err_NONE) code = err;
        return err == PF_Err_NONE;
    }
    template <class T>
    T* ok(T* pointer) {
        ok(pointer ? PF_Err_NONE : PF_Err_OUT_OF_MEMORY);
        return pointer;
    }
};

void useWorldSuite(Call const& call, FirstError& first) {
    PF_InData& in = *call.in;
    void const* table = nullptr;
    first.ok(in.pica_basicP->AcquireSuite(kPFWorldSuite, kPFWorldSuiteVersion2, &table));
    if (!table) return;
    auto const* suite = static_cast<PF_WorldSuite2 const*>(table);
    PF_EffectWorld world{};
    PF_PixelFormat format = 0;
    if (first.ok(suite->PF_NewWorld(in.effect_ref, 4, 4, 0, PF_PixelFormat_ARGB128, &world))) {
        first.ok(suite->PF_GetPixelFormat(&world, &format));
        first.ok(suite->PF_DisposeWorld(in.effect_ref, &world));
    }
    first.ok(in.pica_basicP->ReleaseSuite(kPFWorldSuite, kPFWorldSuiteVersion2));
}

void useColorSuite(Call const& call, FirstError& first) {
    PF_InData& in = *call.in;
    void const* table = nullptr;
    first.ok(in.pica_basicP->AcquireSuite(kPFColorParamSuite, kPFColorParamSuiteVersion1, &table));
    if (!table) return;
    PF_PixelFloat color{};
    auto const* suite = static_cast<PF_ColorParamSuite1 const*>(table);
    if (first.ok(suite->PF_GetFloatingPointColorFromColorDef(in.effect_ref,
                                                             call.params[kProbeColor], &color)))
        report(call, "green=%.6f", color.green);
    first.ok(in.pica_basicP->ReleaseSuite(kPFColorParamSuite, kPFColorParamSuiteVersion1));
}

void useImages(Call const& call, FirstError& first) {
    PF_InData& in = *call.in;
    PF_UtilCallbacks const& utils = *in.utils;
    PF_EffectWorld world{};
    if (!first.ok(utils.new_world(in.effect_ref, call.output->width, call.output->height,
                                  PF_NewWorldFlag_NONE, &world)))
        return;
    PF_Pixel const red = {255, 200, 0, 0};
    PF_Rect const corner = {0, 0, 1, 1};
    PF_Pixel8* address = nullptr;
    PF_Pixel16* deep = nullptr;
    first.ok(utils.copy(in.effect_ref, &call.params[0]->u.ld, &world, nullptr, nullptr));
    first.ok(utils.fill(in.effect_ref, &red, &corner, &world));
    first.ok(utils.copy(in.effect_ref, &world, call.output, nullptr, nullptr));
    first.ok(utils.get_pixel_data8(&world, nullptr, &address));
    first.ok(utils.get_pixel_data16(&world, nullptr, &deep));
    first.ok(utils.dispose_world(in.effect_ref, &world));
}

void useHandle(Call const& call, FirstError& first) {
    PF_UtilCallbacks const& utils = *call.in->utils;
    PF_Handle const handle = first.ok(utils.host_new_handle(100));
    if (!handle) return;
    if (void* bytes = first.ok(utils.host_lock_handle(handle))) {
        if (bytes != *handle) first.ok(PF_Err_INTERNAL_STRUCT_DAMAGED);
        std::memset(bytes, 1, 100);
        utils.host_unlock_handle(handle);
    }
    utils.host_dispose_handle(handle);
}

PF_Err useEverything(Call const& call) {
    PF_InData& in = *call.in;
    FirstError first;
    useWorldSuite(call, first);
    useColorSuite(call, first);
    useImages(call, first);
    useHandle(call, first);
    PF_ParamDef def{};
    first.ok(in.inter.checkout_param(in.effect_ref, kProbeFixed, 0, 1, 1, &def));
    first.ok(in.inter.checkin_param(in.effect_ref, &def));
    first.ok(in.inter.progress(in.effect_ref, 1, 2));
    first.ok(in.inter.abort(in.effect_ref));
    char text[16] = "";
    first.ok(in.utils->ansi.strcpy(text, "abc"));
    int const length = in.utils->ansi.sprintf(text, "%d %s", 42, "x");
    first.ok(length == 4 && !std::strcmp(text, "42 x") ? PF_Err_NONE : PF_Err{length});
    return first.code;
}

PF_Err leak(Call const& call) {
    PF_InData& in = *call.in;
    static PF_EffectWorld world;
    static PF_ParamDef def;
    void const* table;
    in.utils->new_world(in.effect_ref, 2, 2, 0, &world);
    in.utils->new_world(in.effect_ref, 2, 2, 0, &world);
    in.utils->host_lock_handle(in.utils->host_new_handle(0));
    in.pica_basicP->AcquireSuite(kPFColorParamSuite, kPFColorParamSuiteVersion1, &table);
    in.inter.checkout_param(in.effect_ref, 0, 0, 1, 1, &def);
    return PF_Err_NONE;
}

/// Every call below has to answer PF_Err_BAD_CALLBACK_PARAM; reports the names of those that don't.
PF_Err badCalls(Call const& call) {
    PF_InData& in = *call.in;
    PF_UtilCallbacks const& utils = *in.utils;
    PF_ProgPtr const ref = in.effect_ref;
    PF_EffectWorld unknown{}, made{}, stale{};
    PF_EffectWorld shrunk = *call.output;
    PF_ParamDef def{};
    PF_Pixel8* address = nullptr;
    PF_PixelFormat format = 0;
    PF_PixelFloat color{};
    void const* table = nullptr;
    std::string wrong;
    auto const expectBad = [&](char const* what, PF_Err code) {
        if (code != PF_Err_BAD_CALLBACK_PARAM) wrong += std::string(what) + " ";
    };
    --shrunk.width;
    in.pica_basicP->AcquireSuite(kPFWorldSuite, kPFWorldSuiteVersion2, &table);
    PF_WorldSuite2 const suite = *static_cast<PF_WorldSuite2 const*>(table);
    in.pica_basicP->AcquireSuite(kPFColorParamSuite, kPFColorParamSuiteVersion1, &table);
    PF_ColorParamSuite1 const colors = *static_cast<PF_ColorParamSuite1 const*>(table);
    utils.new_world(ref, 2, 2, PF_NewWorldFlag_DEEP_PIXELS, &made);
    stale = made;

    expectBad("null reference", utils.fill(nullptr, nullptr, nullptr, call.output));
    expectBad("unknown reference", in.inter.abort(reinterpret_cast<PF_ProgPtr>(&unknown)));
    std::thread([&] { expectBad("thread", in.inter.progress(ref, 0, 1)); }).join();
    expectBad("fill null", utils.fill(ref, nullptr, nullptr, nullptr));
    expectBad("fill unknown", utils.fill(ref, nullptr, nullptr, &unknown));
    expectBad("fill changed", utils.fill(ref, nullptr, nullptr, &shrunk));
    expectBad("copy from null", utils.copy(ref, nullptr, call.output, nullptr, nullptr));
    expectBad("copy depths", utils.copy(ref, &made, call.output, nullptr, nullptr));
    expectBad("new null", utils.new_world(ref, 1, 1, 0, nullptr));
    expectBad("new large", utils.new_world(ref, 32768, 1, 0, &unknown));
    expectBad("new negative", utils.new_world(ref, 1, -1, 0, &unknown));
    expectBad("data of null", utils.get_pixel_data8(nullptr, nullptr, &address));
    expectBad("data to null", utils.get_pixel_data16(call.output, nullptr, nullptr));
    expectBad("format of null", suite.PF_GetPixelFormat(nullptr, &format));
    expectBad("format to null", suite.PF_GetPixelFormat(call.output, nullptr));
    expectBad("no format", suite.PF_NewWorld(ref, 1, 1, 0, 0, &unknown));
    expectBad("color of null", colors.PF_GetFloatingPointColorFromColorDef(ref, nullptr, &color));
    expectBad("color of point",
              colors.PF_GetFloatingPointColorFromColorDef(ref, call.params[kProbePoint], &color));
    expectBad("checkout null", in.inter.checkout_param(ref, 1, 0, 1, 1, nullptr));
    expectBad("add late", in.inter.add_param(ref, -1, &def));
    expectBad("register null", in.inter.register_ui(ref, nullptr));
    expectBad("acquire null", in.pica_basicP->AcquireSuite(nullptr, 2, &table));
    expectBad("acquire to null", in.pica_basicP->AcquireSuite(kPFWorldSuite, 2, nullptr));
    expectBad("acquire version", in.pica_basicP->AcquireSuite(kPFWorldSuite, 1, &table));
    if (table) wrong += "suite in spite of refusal ";
    // From here on each is a mistake of the effect's that the host has to note.
    expectBad("checkin", in.inter.checkin_param(ref, &def));
    expectBad("dispose null", utils.dispose_world(ref, nullptr));
    expectBad("dispose output", utils.dispose_world(ref, call.output));
    utils.dispose_world(ref, &made);
    expectBad("dispose again", utils.dispose_world(ref, &made));
    expectBad("dispose stale", suite.PF_DisposeWorld(ref, &stale));
    in.pica_basicP->ReleaseSuite(kPFColorParamSuite, 1);
    in.pica_basicP->ReleaseSuite(kPFWorldSuite, 2);
    expectBad("release again", in.pica_basicP->ReleaseSuite(kPFWorldSuite, 2));
    utils.host_unlock_handle(nullptr);
    utils.host_dispose_handle(reinterpret_cast<PF_Handle>(&unknown));
    return report(call, "wrong: %s", wrong.c_str());
}

PF_Err longText(Call const& call) {
    std::string const text(1000, 'x');
    call.in->utils->ansi.sprintf(call.out->return_msg, "%s", text.c_str());
    call.in->utils->ansi.strcpy(call.out->return_msg + 10, text.c_str());
    return PF_Err_NONE;
}

PF_Err render(Call const& call) {
    switch (call.params[kProbeReport]->u.sd.value) {
        case kReportClock:
            return reportClock(call);
        case kReportGeometry:
            return reportGeometry(call);
        case kReportParams:
            return reportParams(call);
        case kReportImages:
            return reportImages(call);
        case kReportUseEverything:
            return useEverything(call);
        case kReportLeak:
            return leak(call);
        case kReportBadCalls:
            return badCalls(call);
        case kReportThrow:
            throw 516;
        case kReportLongText:
            return longText(call);
    }
    return PF_Err_NONE;
}

}  // namespace

PROBE_EXPORT PF_Err EntryPointFunc(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef** params,
                                   PF_LayerDef* output, void*) {
    Call const call{in, out, params, output};
    lastInter = in->inter;
    lastRef = in->effect_ref;
    switch (cmd) {
        case PF_Cmd_ABOUT:
            return in->utils->ansi.strcpy(out->return_msg, "probe") ? 0 : 1;
        case PF_Cmd_GLOBAL_SETUP:
            return globalSetup(call);
        case PF_Cmd_GLOBAL_SETDOWN:
            return globalSetdown(call);
        case PF_Cmd_PARAMS_SETUP:
            return paramsSetup(call);
        case PF_Cmd_RENDER:
            return render(call);
        default:
            return PF_Err_NONE;
    }
}
