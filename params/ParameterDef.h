// QVS::ParameterDef: reads and writes parameter values of a host call in ordinary units, and
// appends parameters of any kind.
//
// It hides 16.16 numbers and the form of a slider: controls that are float sliders on most hosts
// are fixed sliders on Final Cut Pro ("KeyG"), which has no others. Popup entries keep the host's
// count from 1. Points are layer pixels. Built on the stack where it is needed; it owns nothing.
#pragma once

#include "params/ControlRecords.h"
#include "params/ParameterTypes.h"
#include "platform/effect_api/effect_commands.h"

namespace QVS {

class ParameterDef {
public:
    ParameterDef(PF_InData* inData, PF_ParamDef** parameters)
        : in_data(inData), params(parameters) {}

    // Reads of parameter `index`, a ParamIndex. Without a parameter array each gives 0, but for
    // GetPathID (-1) and GetAngleValue, which needs the array.
    float GetFixedValue(int index) const;
    /// `isFixed`: the control is a 16.16 slider on every host.
    double GetFloatValue(int index, bool isFixed) const;
    double GetFloatValue(PF_ParamDef const* def, bool isFixed) const;
    int GetIntValue(int index) const;
    bool GetBoolValue(int index) const;
    int GetMenuValue(int index) const;  ///< from 1
    /// Layer pixels at the call's resolution. Premiere Pro 12.4 hands out full resolution points,
    /// which are scaled down here.
    QVPointT<double> GetPoint(int index) const;
    /// Alpha in bits 0 to 7, red 8 to 15, green 16 to 23, blue 24 to 31.
    A_u_long GetPFColor(int index) const;
    PixelARGB<unsigned char> GetColor(int index) const;
    int GetPathID(int index) const;
    PF_Handle GetArbData(int index) const;
    double GetAngleValue(int index) const;  ///< degrees

    // Writes. Each marks the record as changed, so that the host takes the value over. Without a
    // parameter array nothing happens, but SetIntValue and SetBoolValue need the array.
    void SetIntValue(int index, int value);
    void SetBoolValue(int index, bool value);
    void SetMenuValue(int index, int value);  ///< from 1
    void SetPoint(int index, QVPointT<double> const& point);
    /// The control's alpha stays.
    void SetColor(int index, PixelARGB<unsigned char> const& color);
    void SetAngleValue(int index, double degrees);
    void SetFloatValue(int index, double value, bool isFixed);
    /// On a record that the caller holds; it is not marked as changed.
    void SetFloatValue(PF_ParamDef* def, double value, bool isFixed) const;

    // Adds: append one parameter and answer the host's code. uiFlags and paramFlags go into the
    // record and are cleared once the host has taken it. `id` is the disk id.
    PF_Err AddFixedSlider(char const* name, float min, float max, float sliderMax,
                          float defaultValue, int id, int precision, bool pixel, bool percent);
    PF_Err AddIntSlider(char const* name, int min, int max, int sliderMax, int defaultValue, int id,
                        int flags);
    PF_Err AddCheckbox(char const* name, char const* label, bool defaultValue, int id);
    PF_Err AddPopup(char const* name, int entryCount, int defaultValue, char const* entries,
                    int id);
    /// Counts the entries of `entries`, which '|' separates.
    PF_Err AddPopup(char const* name, int defaultValue, char const* entries, int id);
    /// x and y in percent of the layer.
    PF_Err AddPoint(char const* name, float x, float y, bool restrictBounds, int id);
    /// A size of -1 leaves the record's own.
    PF_Err AddColor(char const* name, PixelARGB<unsigned char> const& color, int id, int uiWidth,
                    int uiHeight);
    PF_Err AddLayer(char const* name, int id);
    PF_Err AddGroupStart(char const* name, int id);
    PF_Err AddGroupEnd(int id);
    /// Always 0: a host without paths may refuse the control.
    PF_Err AddPathList(char const* name, int id);
    PF_Err AddCustomParam(char const* name, short uiWidth, short uiHeight, int id);
    PF_Err AddFloatSliderEx(char const* name, float min, float max, float sliderMin,
                            float sliderMax, float defaultValue, int id, int precision, bool pixel,
                            bool percent);
    PF_Err AddFloatSlider(char const* name, float min, float max, float sliderMax,
                          float defaultValue, int id, int precision, bool pixel, bool percent);
    /// As AddFloatSlider, but numbers of the fixed form are rounded rather than truncated.
    PF_Err AddFloatSliderOld(char const* name, float min, float max, float sliderMax,
                             float defaultValue, int id, int precision, bool pixel, bool percent);
    /// `dataKind` is the effect's own mark of the data, `defaultData` a host handle.
    PF_Err AddArbitraryParam(char const* name, int id, int dataKind, char** defaultData,
                             int uiWidth, int uiHeight, void* refcon);
    /// `events`: PF_CustomEFlag_*.
    PF_Err RegisterCustomUI(int events);

    PF_InData* in_data;
    PF_ParamDef** params;  ///< null in commands that have no parameter array
    A_long uiFlags = 0;    ///< of the next parameter that is added
    A_long paramFlags = 0;
    A_long count = 0;  ///< parameters added by this object

private:
    bool storesDouble(bool isFixed) const;
    PF_ParamDef newRecord(PF_ParamType type, char const* name, int id) const;
    PF_Err append(PF_ParamDef& def);
    PF_Err appendFixedSlider(char const* name, SliderNumbers const& numbers, A_short display,
                             int id, PF_Fixed (*toFixed)(double));
    PF_Err appendFloatSlider(char const* name, SliderNumbers const& numbers, A_short display,
                             int id, PF_Fixed (*toFixed)(double));
};

}  // namespace QVS
