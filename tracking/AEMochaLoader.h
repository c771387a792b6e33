// Tracking samples as keyframes on the effect's own point parameters, through the host's suites.
//
// Lives on the stack for one import. Points are layer pixels, y down; the time of a key counts
// frames of the call from the project's first displayed frame. A missing suite leaves each of these
// functions as the exception of AEGP_SuiteHandler.
#pragma once

#include "platform/effect_api/aegp_suites.h"
#include "tracking/MochaLoader.h"

class PluginHost_API;

class AEMochaLoader final : public MochaLoader {
public:
    /// Asks the project for its first frame, but in Premiere Pro, where no import runs.
    explicit AEMochaLoader(PluginHost_API* host);

    /// Opens the stream of the parameter at `paramIndex`. The host's code.
    int startLoadProperty(int paramIndex, int diskId) override;
    /// Sets a key. 1 with no stream open, else the host's first code.
    int setValue(double x, double y, double frame) override;
    /// Gives back the effect and the stream. The host's first code.
    int finishLoadProperty() override;
    void setResolution(int width, int height) override;

private:
    void readStartFrame();

    PluginHost_API* m_host;
    AEGP_StreamRefH m_stream = nullptr;  ///< of the open pin
    PF_InData* m_inData;
    PF_OutData* m_outData;
    PF_ParamDef** m_params;
    PF_LayerDef* m_output;
    AEGP_EffectRefH m_effect = nullptr;  ///< this instance, while a pin is open
    /// What a sample's fractions are multiplied by, pixels.
    A_long m_width = 720, m_height = 480;
    A_long m_reserved = 0;
    A_long m_startFrame = 0;  ///< the project's first displayed frame
};
