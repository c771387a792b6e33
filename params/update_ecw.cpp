// The import's corner arrays and the table of greyed controls; see update_ecw.h.
#include "params/update_ecw.h"

#include "Transform/Common/PopupEntries.h"
#include "host/PluginHost_AE_Impl.h"
#include "host/SuiteAccess.h"
#include "params/DiskId.h"
#include "params/ParamIndex.h"
#include "tracking/AEMochaLoader.h"
#include "tracking/LoadMochaFile.h"

namespace {

/// Acquires the suite that shows controls; null, with the message to the user, when there is none.
PF_ParamUtilsSuite1 const* acquireParamUtils(PF_InData* in_data, PF_OutData* out_data) {
    void* table = nullptr;
    AEFX_AcquireSuite(in_data, out_data, kPFParamUtilsSuite, kPFParamUtilsSuiteVersion1,
                      "Failed to acquire suite.", &table);
    return static_cast<PF_ParamUtilsSuite1 const*>(table);
}

void releaseParamUtils(PF_InData* in_data, PF_OutData* out_data) {
    AEFX_ReleaseSuite(in_data, out_data, kPFParamUtilsSuite, kPFParamUtilsSuiteVersion1,
                      "Failed to release suite.");
}

/// A file's corner sections, in its order, and the pins that they go to: the second section is the
/// upper right pin's, the third the lower left's.
struct ImportTarget {
    constexpr ImportTarget(ParamIndex upperLeft, ParamIndex upperRight, ParamIndex lowerLeft,
                           ParamIndex lowerRight)
        : paramIndices{upperLeft, upperRight, lowerLeft, lowerRight},
          diskIds{diskIdOf(upperLeft), diskIdOf(upperRight), diskIdOf(lowerLeft),
                  diskIdOf(lowerRight)} {}

    int paramIndices[4];
    int diskIds[4];
};
constexpr ImportTarget kToTarget = {kParamToUpperLeft, kParamToUpperRight, kParamToLowerLeft,
                                    kParamToLowerRight};
constexpr ImportTarget kFromTarget = {kParamFromUpperLeft, kParamFromUpperRight,
                                      kParamFromLowerLeft, kParamFromLowerRight};

std::int32_t entryAt(PF_ParamDef* const* params, ParamIndex popup) {
    return entryOfHost(params[popup]->u.pd.value);
}

/// The popup's record goes back to "...", and the host is told to take and show it.
void resetImportPopup(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef& popup) {
    PF_ParamUtilsSuite1 const* const suite = acquireParamUtils(in_data, out_data);
    if (!suite) return;
    popup.u.pd.value = hostEntry(kImportNothing);
    const PF_ParamDef copy = popup;
    popup.uu.change_flags |= PF_ChangeFlag_CHANGED_VALUE;
    suite->PF_UpdateParamUI(in_data->effect_ref, kParamMochaImport, &copy);
    releaseParamUtils(in_data, out_data);
}

void importTracking(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef** params,
                    PF_UserChangedParamExtra const& extra, PF_LayerDef* output) {
    if (extra.param_index != kParamMochaImport) return;
    if (in_data->appl_id == kAppPremierePro) return;
    PluginHost_AE_Impl host(in_data, out_data, params, output);
    AEMochaLoader loader(&host);
    const std::int32_t entry = entryAt(params, kParamMochaImport);
    if (entry != kImportToPins && entry != kImportFromPins) return;
    ImportTarget target = entry == kImportToPins ? kToTarget : kFromTarget;
    LoadMochaFile(&host, target.paramIndices, target.diskIds, &loader);
    resetImportPopup(in_data, out_data, *params[kParamMochaImport]);
}

// ---- Greyed controls

class ControlStates {
public:
    ControlStates(PF_InData* in_data, PF_ParamDef** params, PF_ParamUtilsSuite1 const* suite)
        : m_inData(in_data), m_params(params), m_suite(suite) {}

    void set(int index, bool isGrey) const {
        PF_ParamDef copy = *m_params[index];
        copy.ui_flags = isGrey ? PF_PUI_DISABLED : 0;
        m_suite->PF_UpdateParamUI(m_inData->effect_ref, index, &copy);
    }
    void setAll(int first, int last, bool isGrey) const {
        for (int index = first; index <= last; ++index) set(index, isGrey);
    }

private:
    PF_InData* m_inData;
    PF_ParamDef** m_params;
    PF_ParamUtilsSuite1 const* m_suite;
};

/// The popups that decide, as they were before the suite was asked for.
struct DecidingValues {
    std::int32_t transferMode, overlayMode, motionBlur;
};

void showControls(PF_InData* in_data, PF_ParamDef** params, DecidingValues const& values,
                  ControlStates const& controls) {
    controls.set(kParamSourceOpacity, values.transferMode == kTransferNone);
    bool const isShutterGrey = in_data->appl_id == kAppPremierePro
                                   ? values.motionBlur == kMotionBlurOff
                                   : values.motionBlur != kMotionBlurOn;
    controls.set(kParamShutterAngle, isShutterGrey);
    controls.set(kParamShutterPhase, isShutterGrey);
    controls.set(kParamSamples, values.motionBlur == kMotionBlurOff);
    // Both ranges leave out the outer group's end.
    controls.setAll(kParamFromPinsGroup, kParamFromWireframeColor,
                    values.overlayMode == kShowToPins);
    controls.setAll(kParamToPinsGroup, kParamToWireframeColor, values.overlayMode == kShowFromPins);
    bool const isSoftnessGrey = entryAt(params, kParamQuality) != kQualitySuperSample;
    controls.set(kParamSuperSampleSoftness, isSoftnessGrey);
    controls.set(kParamSuperSampleEdge, isSoftnessGrey);
}

void updateControls(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef** params) {
    const DecidingValues values = {entryAt(params, kParamTransferMode),
                                   entryAt(params, kParamOverlayMode),
                                   entryAt(params, kParamMotionBlur)};
    if (PF_ParamUtilsSuite1 const* const suite = acquireParamUtils(in_data, out_data)) {
        showControls(in_data, params, values, {in_data, params, suite});
        out_data->out_flags |= PF_OutFlag_REFRESH_UI;
    }
    // The release is owed in both cases: a host that gave nothing is told so too.
    releaseParamUtils(in_data, out_data);
}

}  // namespace

void UpdateECW(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef** params, bool changed,
               PF_UserChangedParamExtra* extra, PF_LayerDef* output) {
    if (!params || (changed && !extra)) return;
    if (changed)
        importTracking(in_data, out_data, params, *extra, output);
    else
        updateControls(in_data, out_data, params);
}
