// One suite handler a call, and what is had given back by it; see AEMochaLoader.h.
#include "tracking/AEMochaLoader.h"

#include "Transform/Common/SaturatingCast.h"
#include "host/AEGP_SuiteHandler.h"
#include "host/PluginHost_AE_Impl.h"

namespace {

/// The effect doesn't register with the host as a plug-in of this kind; 0 is what calls that take
/// an id receive.
constexpr AEGP_PluginID S_my_id = 0;

}  // namespace

AEMochaLoader::AEMochaLoader(PluginHost_API* host) : m_host(host) {
    PluginHost_AE_Impl* const ae = host->getAEHost();
    m_inData = ae->in_data;
    m_outData = ae->out_data;
    m_params = ae->params;
    m_output = ae->output;
    if (m_output) setResolution(m_output->width, m_output->height);
    if (!host->isApplication(kAppPremierePro)) readStartFrame();
}

void AEMochaLoader::readStartFrame() {
    AEGP_SuiteHandler suites(m_inData->pica_basicP);
    A_long count = 0;
    AEGP_ProjectH project = nullptr;
    AEGP_TimeDisplay display{};
    if (suites.get(&AEGP_SuiteHandler::ProjSuite7)->AEGP_GetNumProjects(&count)) return;
    if (suites.get(&AEGP_SuiteHandler::ProjSuite7)->AEGP_GetProjectByIndex(0, &project)) return;
    if (!project) return;
    if (suites.get(&AEGP_SuiteHandler::ProjSuite7)->AEGP_GetProjectTimeDisplay(project, &display))
        return;
    m_startFrame = display.starting_frame;
}

int AEMochaLoader::startLoadProperty(int paramIndex, int) {
    AEGP_SuiteHandler suites(m_inData->pica_basicP);
    const A_Err err = suites.get(&AEGP_SuiteHandler::PFInterfaceSuite1)
                          ->AEGP_GetNewEffectForEffect(S_my_id, m_inData->effect_ref, &m_effect);
    if (err) return err;
    return suites.get(&AEGP_SuiteHandler::StreamSuite7)
        ->AEGP_GetNewEffectStreamByIndex(S_my_id, m_effect, paramIndex, &m_stream);
}

int AEMochaLoader::setValue(double x, double y, double frame) {
    if (!m_stream) return 1;
    AEGP_SuiteHandler suites(m_inData->pica_basicP);
    const A_Time time = {truncatedToInt32(m_host->getTimeStep() * (frame - m_startFrame)),
                         static_cast<A_u_long>(m_host->getTimeScale())};
    A_long index = 0;
    AEGP_StreamValue value{};
    A_Err err = suites.get(&AEGP_SuiteHandler::KeyframeSuite3)
                    ->AEGP_InsertKeyframe(m_stream, AEGP_LTimeMode_LayerTime, &time, &index);
    bool hasValue = false;
    if (!err) {
        err = suites.get(&AEGP_SuiteHandler::KeyframeSuite3)
                  ->AEGP_GetNewKeyframeValue(S_my_id, m_stream, index, &value);
        hasValue = !err;
    }
    value.val.two_d.x = m_width * x;
    value.val.two_d.y = m_height * y;
    if (!err)
        err = suites.get(&AEGP_SuiteHandler::KeyframeSuite3)
                  ->AEGP_SetKeyframeValue(m_stream, index, &value);
    if (!hasValue) return err;
    const A_Err disposed =
        suites.get(&AEGP_SuiteHandler::StreamSuite7)->AEGP_DisposeStreamValue(&value);
    return err ? err : disposed;
}

int AEMochaLoader::finishLoadProperty() {
    if (!m_effect && !m_stream) return PF_Err_NONE;
    AEGP_SuiteHandler suites(m_inData->pica_basicP);
    A_Err err = PF_Err_NONE;
    if (m_effect) err = suites.get(&AEGP_SuiteHandler::EffectSuite2)->AEGP_DisposeEffect(m_effect);
    if (m_stream) {
        const A_Err disposed =
            suites.get(&AEGP_SuiteHandler::StreamSuite7)->AEGP_DisposeStream(m_stream);
        if (!err) err = disposed;
    }
    m_effect = nullptr;
    m_stream = nullptr;
    return err;
}

void AEMochaLoader::setResolution(int width, int height) {
    m_width = width;
    m_height = height;
}
