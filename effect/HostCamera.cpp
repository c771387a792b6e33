// The camera query; see the header.
#include "effect/HostCamera.h"

#include "host/AEGP_SuiteHandler.h"
#include "host/PluginHost_AE_Impl.h"

namespace {

/// Walks the first project's items, in the host's order, up to the first composition.
bool projectHasComp(SPBasicSuite const* basic) {
    AEGP_SuiteHandler suites(basic);
    AEGP_ProjectH project = nullptr;
    if (suites.get(&AEGP_SuiteHandler::ProjSuite7)->AEGP_GetProjectByIndex(0, &project))
        return false;
    auto const* items = suites.get(&AEGP_SuiteHandler::ItemSuite7);
    AEGP_ItemH item = nullptr;
    A_Err err = items->AEGP_GetFirstProjItem(project, &item);
    AEGP_ItemType type = AEGP_ItemType_NONE;
    while (!err && item) {
        err = items->AEGP_GetItemType(item, &type);
        if (err || type == AEGP_ItemType_COMP) break;
        AEGP_ItemH next = nullptr;
        err = items->AEGP_GetNextProjItem(project, item, &next);
        item = next;
    }
    if (err || !item) return false;

    // That the composition can be had is the whole test; its size serves nothing else.
    A_long width = 0, height = 0;
    if (suites.get(&AEGP_SuiteHandler::ItemSuite10)->AEGP_GetItemDimensions(item, &width, &height))
        return false;
    AEGP_CompH comp = nullptr;
    err = suites.get(&AEGP_SuiteHandler::CompSuite11)->AEGP_GetCompFromItem(item, &comp);
    return !err && comp;
}

}  // namespace

int GetCameraMatrix(PluginHost_API* host, QV_Matrix4* matrix, long time, long timeScale,
                    bool& found, double* zoom, int, int, int& planeWidth, int& planeHeight,
                    double& planeDistance) {
    *zoom = 1.0;
    found = false;
    PluginHost_AE_Impl* ae = host->getAEHost();
    if (!ae || ae->isApplication(kAppPremierePro)) return 0;

    SPBasicSuite const* basic = ae->in_data->pica_basicP;
    AEGP_SuiteHandler suites(basic);
    auto const* effects = suites.get(&AEGP_SuiteHandler::PFInterfaceSuite1);
    PF_ProgPtr effect = ae->in_data->effect_ref;
    A_Time compTime{};
    if (effects->AEGP_ConvertEffectToCompTime(effect, static_cast<A_long>(time),
                                              static_cast<A_u_long>(timeScale), &compTime))
        return 0;
    AEGP_LayerH camera = nullptr;
    if (effects->AEGP_GetEffectCamera(effect, &compTime, &camera) || !camera) return 0;
    A_short width = 0, height = 0;
    A_FpLong distance = 0;
    const A_Err err =
        effects->AEGP_GetEffectCameraMatrix(effect, &compTime, matrix, &distance, &width, &height);
    planeWidth = width;
    planeHeight = height;
    planeDistance = distance;
    if (err) return 0;

    AEGP_StreamVal value{};
    if (suites.get(&AEGP_SuiteHandler::StreamSuite4)
            ->AEGP_GetLayerStreamValue(camera, AEGP_LayerStream_ZOOM, AEGP_LTimeMode_CompTime,
                                       &compTime, false, &value, nullptr))
        return 0;
    if (!projectHasComp(basic)) return 0;
    *zoom = value.one_d;
    found = true;
    return 0;
}
