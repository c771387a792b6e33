// The suites that lead about the project: its items, the composition, the effect in it and the
// camera that looks at the effect's layer.
#include <algorithm>
#include <cmath>

#include "hostkit/host_impl.h"

namespace zelk {
namespace {

/// The place of a valid item.
template <class Body>
PF_Err answerItemCall(std::string_view name, AEGP_ItemH item, Body&& body) {
    return answerCall(name, [&](Host::Impl& host) -> PF_Err {
        auto const place = host.project.placeOf(item);
        return place ? body(host, *place) : kRefused;
    });
}

A_Err getNumProjects(A_long* count) {
    return answerCall("AEGP Proj Suite 7/AEGP_GetNumProjects", [&](Host::Impl&) -> PF_Err {
        if (!count) return kRefused;
        *count = 1;
        return PF_Err_NONE;
    });
}

A_Err getProjectByIndex(A_long index, AEGP_ProjectH* project) {
    return answerCall("AEGP Proj Suite 7/AEGP_GetProjectByIndex", [&](Host::Impl& host) -> PF_Err {
        if (index != 0 || !project) return kRefused;
        *project = host.project.project();
        return PF_Err_NONE;
    });
}

A_Err getProjectTimeDisplay(AEGP_ProjectH project, AEGP_TimeDisplay* display) {
    return answerCall(
        "AEGP Proj Suite 7/AEGP_GetProjectTimeDisplay", [&](Host::Impl& host) -> PF_Err {
            if (project != host.project.project() || !display) return kRefused;
            constexpr double kMostFrames = 127;  // what the record's field holds
            TimeBase const& clock = host.comp.timeBase;
            *display = {};
            display->timebase = static_cast<A_char>(
                std::clamp(std::round(double(clock.scale) / clock.step), 1.0, kMostFrames));
            display->starting_frame = host.comp.startFrame;
            return PF_Err_NONE;
        });
}

A_Err getFirstProjItem(AEGP_ProjectH project, AEGP_ItemH* item) {
    return answerCall("AEGP Item Suite 7/AEGP_GetFirstProjItem", [&](Host::Impl& host) -> PF_Err {
        if (project != host.project.project() || !item) return kRefused;
        *item = host.project.items().front().reference;
        return PF_Err_NONE;
    });
}

A_Err getNextProjItem(AEGP_ProjectH project, AEGP_ItemH item, AEGP_ItemH* next) {
    return answerItemCall("AEGP Item Suite 7/AEGP_GetNextProjItem", item,
                          [&](Host::Impl& host, std::size_t place) -> PF_Err {
                              if (project != host.project.project() || !next) return kRefused;
                              auto const& items = host.project.items();
                              *next =
                                  place + 1 < items.size() ? items[place + 1].reference : nullptr;
                              return PF_Err_NONE;
                          });
}

A_Err getItemType(AEGP_ItemH item, AEGP_ItemType* type) {
    return answerItemCall("AEGP Item Suite 7/AEGP_GetItemType", item,
                          [&](Host::Impl& host, std::size_t place) -> PF_Err {
                              if (!type) return kRefused;
                              *type = host.project.items()[place].type;
                              return PF_Err_NONE;
                          });
}

A_Err getItemDimensions(AEGP_ItemH item, A_long* width, A_long* height) {
    return answerItemCall("AEGP Item Suite 10/AEGP_GetItemDimensions", item,
                          [&](Host::Impl& host, std::size_t place) -> PF_Err {
                              bool const hasSize =
                                  host.project.items()[place].type != AEGP_ItemType_FOLDER;
                              if (!hasSize || !width || !height) return kRefused;
                              *width = host.comp.width;
                              *height = host.comp.height;
                              return PF_Err_NONE;
                          });
}

A_Err getCompFromItem(AEGP_ItemH item, AEGP_CompH* comp) {
    return answerItemCall("AEGP Comp Suite 11/AEGP_GetCompFromItem", item,
                          [&](Host::Impl& host, std::size_t place) -> PF_Err {
                              if (!comp) return kRefused;
                              bool const isComp =
                                  host.project.items()[place].type == AEGP_ItemType_COMP;
                              *comp = isComp ? host.project.comp() : nullptr;
                              return PF_Err_NONE;
                          });
}

bool isMoment(A_Time const* time) { return time && time->scale > 0; }

A_Err convertEffectToCompTime(PF_ProgPtr effectRef, A_long time, A_u_long scale, A_Time* compTime) {
    return answerCall("AEGP PF Interface Suite 1/AEGP_ConvertEffectToCompTime", effectRef,
                      [&](Host::Impl& host) -> PF_Err {
                          if (!compTime) return kRefused;
                          KeyTime const moment = host.keyTimeOf(time, scale);
                          *compTime = {moment.value, moment.scale};
                          return PF_Err_NONE;
                      });
}

A_Err getEffectCamera(PF_ProgPtr effectRef, A_Time const* compTime, AEGP_LayerH* camera) {
    return answerCall("AEGP PF Interface Suite 1/AEGP_GetEffectCamera", effectRef,
                      [&](Host::Impl& host) -> PF_Err {
                          if (!isMoment(compTime) || !camera) return kRefused;
                          *camera = host.project.camera();
                          return PF_Err_NONE;
                      });
}

A_Err getEffectCameraMatrix(PF_ProgPtr effectRef, A_Time const* compTime, QV_Matrix4* matrix,
                            A_FpLong* planeDistance, A_short* planeWidth, A_short* planeHeight) {
    return answerCall("AEGP PF Interface Suite 1/AEGP_GetEffectCameraMatrix", effectRef,
                      [&](Host::Impl& host) -> PF_Err {
                          bool const asked = isMoment(compTime) && matrix && planeDistance &&
                                             planeWidth && planeHeight;
                          if (!asked || !host.camera) return kRefused;
                          *matrix = host.camera->matrix;
                          *planeDistance = host.camera->planeDistance;
                          *planeWidth = host.camera->planeWidth;
                          *planeHeight = host.camera->planeHeight;
                          return PF_Err_NONE;
                      });
}

A_Err getNewEffectForEffect(AEGP_PluginID, PF_ProgPtr effectRef, AEGP_EffectRefH* effect) {
    return answerCall("AEGP PF Interface Suite 1/AEGP_GetNewEffectForEffect", effectRef,
                      [&](Host::Impl& host) -> PF_Err {
                          if (!effect) return kRefused;
                          *effect = host.project.openEffect();
                          return PF_Err_NONE;
                      });
}

A_Err disposeEffect(AEGP_EffectRefH effect) {
    return answerCall("AEGP Effect Suite 2/AEGP_DisposeEffect", [&](Host::Impl& host) {
        return host.project.closeEffect("AEGP_DisposeEffect", effect);
    });
}

/// Layer time and comp time are one clock here.
bool isTimeMode(AEGP_LTimeMode mode) {
    return mode == AEGP_LTimeMode_LayerTime || mode == AEGP_LTimeMode_CompTime;
}

A_Err getLayerStreamValue(AEGP_LayerH layer, AEGP_LayerStream which, AEGP_LTimeMode mode,
                          A_Time const* time, PF_Boolean, AEGP_StreamVal* value,
                          A_long* streamType) {
    return answerCall(
        "AEGP Stream Suite 4/AEGP_GetLayerStreamValue", [&](Host::Impl& host) -> PF_Err {
            bool const isCamera = layer && layer == host.project.camera() && host.camera;
            if (!isCamera || which != AEGP_LayerStream_ZOOM || !isMoment(time) || !value ||
                streamType || !isTimeMode(mode))
                return kRefused;
            *value = {};
            value->one_d = host.camera->zoom;
            return PF_Err_NONE;
        });
}

constexpr AEGP_ProjSuite7 kProjSuite = {getNumProjects, getProjectByIndex, getProjectTimeDisplay};
constexpr AEGP_ItemSuite7 kItemSuite7 = {getFirstProjItem, getNextProjItem, getItemType};
constexpr AEGP_ItemSuite10 kItemSuite10 = {getItemDimensions};
constexpr AEGP_CompSuite11 kCompSuite = {getCompFromItem};
constexpr AEGP_PFInterfaceSuite1 kInterfaceSuite = {convertEffectToCompTime, getEffectCamera,
                                                    getEffectCameraMatrix, getNewEffectForEffect};
constexpr AEGP_EffectSuite2 kEffectSuite = {disposeEffect};
constexpr AEGP_StreamSuite4 kStreamSuite4 = {getLayerStreamValue};

constexpr OfferedSuite kProjectSuites[] = {
    {kAEGPProjSuite, kAEGPProjSuiteVersion7, &kProjSuite},
    {kAEGPItemSuite, kAEGPItemSuiteVersion7, &kItemSuite7},
    {kAEGPItemSuite, kAEGPItemSuiteVersion10, &kItemSuite10},
    {kAEGPCompSuite, kAEGPCompSuiteVersion11, &kCompSuite},
    {kAEGPPFInterfaceSuite, kAEGPPFInterfaceSuiteVersion1, &kInterfaceSuite},
    {kAEGPEffectSuite, kAEGPEffectSuiteVersion2, &kEffectSuite},
    {kAEGPStreamSuite, kAEGPStreamSuiteVersion4, &kStreamSuite4},
};

}  // namespace

std::span<OfferedSuite const> projectSuites() { return kProjectSuites; }

}  // namespace zelk
