// Reads, writes and adds over the host's parameter records. Every kind's record starts with its
// value; but for float sliders that is a 32-bit word.
#include "params/ParameterDef.h"

#include <cstring>

#include "params/FixedPoint.h"
#include "platform/effect_api/effect_events.h"

namespace QVS {

namespace {

A_long valueWord(PF_ParamDef const& def) {
    A_long word;
    std::memcpy(&word, &def.u, sizeof word);
    return word;
}

void setValueWord(PF_ParamDef& def, A_long word) { std::memcpy(&def.u, &word, sizeof word); }

void markChanged(PF_ParamDef& def) { def.uu.change_flags = PF_ChangeFlag_CHANGED_VALUE; }

A_short displayFlags(bool pixel, bool percent) {
    return static_cast<A_short>((percent ? PF_ValueDisplayFlag_PERCENT : 0) |
                                (pixel ? PF_ValueDisplayFlag_PIXEL : 0));
}

}  // namespace

bool ParameterDef::storesDouble(bool isFixed) const {
    return !isFixed && in_data->appl_id != kAppFinalCutPro;
}

// Reads.

float ParameterDef::GetFixedValue(int index) const {
    return static_cast<float>(GetFloatValue(index, true));
}

double ParameterDef::GetFloatValue(int index, bool isFixed) const {
    return params ? GetFloatValue(params[index], isFixed) : 0.0;
}

double ParameterDef::GetFloatValue(PF_ParamDef const* def, bool isFixed) const {
    return storesDouble(isFixed) ? def->u.fs_d.value : fixedToDouble(valueWord(*def));
}

int ParameterDef::GetIntValue(int index) const { return params ? valueWord(*params[index]) : 0; }

bool ParameterDef::GetBoolValue(int index) const { return GetIntValue(index) != 0; }

int ParameterDef::GetMenuValue(int index) const { return GetIntValue(index); }

QVPointT<double> ParameterDef::GetPoint(int index) const {
    if (!params) return {0.0, 0.0};
    PF_PointDef const& point = params[index]->u.td;
    QVPointT<double> result{fixedToDouble(point.x_value), fixedToDouble(point.y_value)};
    bool const isFullResolution = in_data->appl_id == kAppPremierePro &&
                                  in_data->version.major == 12 && in_data->version.minor == 4;
    if (isFullResolution) {
        result.x *= ratio(in_data->downsample_x);
        result.y *= ratio(in_data->downsample_y);
    }
    return result;
}

A_u_long ParameterDef::GetPFColor(int index) const {
    if (!params) return 0;
    PF_Pixel const& color = params[index]->u.cd.value;
    return static_cast<A_u_long>(color.alpha) | (static_cast<A_u_long>(color.red) << 8) |
           (static_cast<A_u_long>(color.green) << 16) | (static_cast<A_u_long>(color.blue) << 24);
}

PixelARGB<unsigned char> ParameterDef::GetColor(int index) const {
    if (!params) return {0, 0, 0, 0};
    PF_Pixel const& color = params[index]->u.cd.value;
    return {color.alpha, color.red, color.green, color.blue};
}

int ParameterDef::GetPathID(int index) const { return params ? valueWord(*params[index]) : -1; }

PF_Handle ParameterDef::GetArbData(int index) const {
    return params ? params[index]->u.arb_d.value : nullptr;
}

double ParameterDef::GetAngleValue(int index) const {
    return fixedToDouble(valueWord(*params[index]));
}

// Writes.

void ParameterDef::SetIntValue(int index, int value) {
    setValueWord(*params[index], value);
    markChanged(*params[index]);
}

void ParameterDef::SetBoolValue(int index, bool value) { SetIntValue(index, value ? 1 : 0); }

void ParameterDef::SetMenuValue(int index, int value) {
    if (params) SetIntValue(index, value);
}

void ParameterDef::SetPoint(int index, QVPointT<double> const& point) {
    if (!params) return;
    PF_PointDef& target = params[index]->u.td;
    target.x_value = doubleToFixed(point.x);
    target.y_value = doubleToFixed(point.y);
    markChanged(*params[index]);
}

void ParameterDef::SetColor(int index, PixelARGB<unsigned char> const& color) {
    if (!params) return;
    PF_Pixel& target = params[index]->u.cd.value;
    target.red = color.red;
    target.green = color.green;
    target.blue = color.blue;
    markChanged(*params[index]);
}

void ParameterDef::SetAngleValue(int index, double degrees) {
    if (params) SetIntValue(index, doubleToFixed(degrees));
}

void ParameterDef::SetFloatValue(int index, double value, bool isFixed) {
    if (!params) return;
    SetFloatValue(params[index], value, isFixed);
    markChanged(*params[index]);
}

void ParameterDef::SetFloatValue(PF_ParamDef* def, double value, bool isFixed) const {
    if (storesDouble(isFixed))
        def->u.fs_d.value = value;
    else
        setValueWord(*def, doubleToFixed(value));
}

// Adds.

PF_ParamDef ParameterDef::newRecord(PF_ParamType type, char const* name, int id) const {
    PF_ParamDef def;
    std::memset(&def, 0, sizeof def);
    def.ui_flags |= uiFlags;
    def.flags |= paramFlags;
    def.param_type = type;
    if (name) in_data->utils->ansi.strcpy(def.name, name);
    def.uu.id = id;
    return def;
}

PF_Err ParameterDef::append(PF_ParamDef& def) {
    const PF_Err err = in_data->inter.add_param(in_data->effect_ref, -1, &def);
    if (err) return err;
    ++count;
    uiFlags = 0;
    paramFlags = 0;
    return 0;
}

PF_Err ParameterDef::appendFixedSlider(char const* name, SliderNumbers const& numbers,
                                       A_short display, int id, PF_Fixed (*toFixed)(double)) {
    PF_ParamDef def = newRecord(PF_Param_FIX_SLIDER, name, id);
    fillFixedSlider(def.u.fd, numbers, toFixed);
    def.u.fd.display_flags = display;
    return append(def);
}

PF_Err ParameterDef::appendFloatSlider(char const* name, SliderNumbers const& numbers,
                                       A_short display, int id, PF_Fixed (*toFixed)(double)) {
    if (!storesDouble(false)) return appendFixedSlider(name, numbers, display, id, toFixed);
    PF_ParamDef def = newRecord(PF_Param_FLOAT_SLIDER, name, id);
    fillFloatSlider(def.u.fs_d, numbers);
    def.u.fs_d.display_flags = display;
    return append(def);
}

PF_Err ParameterDef::AddFixedSlider(char const* name, float min, float max, float sliderMax,
                                    float defaultValue, int id, int precision, bool pixel,
                                    bool percent) {
    return appendFixedSlider(
        name, {min, max, min, sliderMax, defaultValue, static_cast<A_short>(precision)},
        displayFlags(pixel, percent), id, truncateToFixed);
}

PF_Err ParameterDef::AddIntSlider(char const* name, int min, int max, int sliderMax,
                                  int defaultValue, int id, int flags) {
    PF_ParamDef def = newRecord(PF_Param_SLIDER, name, id);
    def.flags |= flags;
    PF_SliderDef& slider = def.u.sd;
    slider.valid_min = slider.slider_min = min;
    slider.valid_max = max;
    slider.slider_max = sliderMax;
    slider.value = slider.dephault = defaultValue;
    return append(def);
}

PF_Err ParameterDef::AddCheckbox(char const* name, char const* label, bool defaultValue, int id) {
    PF_ParamDef def = newRecord(PF_Param_CHECKBOX, name, id);
    def.u.bd.value = def.u.bd.dephault = defaultValue ? 1 : 0;
    def.u.bd.u.nameptr = label;
    return append(def);
}

PF_Err ParameterDef::AddPopup(char const* name, int entryCount, int defaultValue,
                              char const* entries, int id) {
    PF_ParamDef def = newRecord(PF_Param_POPUP, name, id);
    fillPopup(def.u.pd, entryCount, defaultValue, entries);
    return append(def);
}

PF_Err ParameterDef::AddPopup(char const* name, int defaultValue, char const* entries, int id) {
    return AddPopup(name, popupEntryCount(entries), defaultValue, entries, id);
}

PF_Err ParameterDef::AddPoint(char const* name, float x, float y, bool restrictBounds, int id) {
    PF_ParamDef def = newRecord(PF_Param_POINT, name, id);
    fillPoint(def.u.td, x, y);
    def.u.td.restrict_bounds = restrictBounds ? 1 : 0;
    return append(def);
}

PF_Err ParameterDef::AddColor(char const* name, PixelARGB<unsigned char> const& color, int id,
                              int uiWidth, int uiHeight) {
    PF_ParamDef def = newRecord(PF_Param_COLOR, name, id);
    fillColor(def.u.cd, {255, color.red, color.green, color.blue});
    if (uiWidth != -1) def.ui_width = static_cast<A_short>(uiWidth);
    if (uiHeight != -1) def.ui_height = static_cast<A_short>(uiHeight);
    return append(def);
}

PF_Err ParameterDef::AddLayer(char const* name, int id) {
    PF_ParamDef def = newRecord(PF_Param_LAYER, name, id);
    return append(def);
}

PF_Err ParameterDef::AddGroupStart(char const* name, int id) {
    PF_ParamDef def = newRecord(PF_Param_GROUP_START, name, id);
    return append(def);
}

PF_Err ParameterDef::AddGroupEnd(int id) {
    PF_ParamDef def = newRecord(PF_Param_GROUP_END, nullptr, id);
    return append(def);
}

PF_Err ParameterDef::AddPathList(char const* name, int id) {
    PF_ParamDef def = newRecord(PF_Param_PATH, name, id);
    append(def);
    uiFlags = paramFlags = 0;
    return 0;
}

PF_Err ParameterDef::AddCustomParam(char const* name, short uiWidth, short uiHeight, int id) {
    PF_ParamDef def = newRecord(PF_Param_NO_DATA, name, id);
    def.ui_width = uiWidth;
    def.ui_height = uiHeight;
    return append(def);
}

PF_Err ParameterDef::AddFloatSliderEx(char const* name, float min, float max, float sliderMin,
                                      float sliderMax, float defaultValue, int id, int precision,
                                      bool pixel, bool percent) {
    return appendFloatSlider(
        name, {min, max, sliderMin, sliderMax, defaultValue, static_cast<A_short>(precision)},
        displayFlags(pixel, percent), id, truncateToFixed);
}

PF_Err ParameterDef::AddFloatSlider(char const* name, float min, float max, float sliderMax,
                                    float defaultValue, int id, int precision, bool pixel,
                                    bool percent) {
    return AddFloatSliderEx(name, min, max, min, sliderMax, defaultValue, id, precision, pixel,
                            percent);
}

PF_Err ParameterDef::AddFloatSliderOld(char const* name, float min, float max, float sliderMax,
                                       float defaultValue, int id, int precision, bool pixel,
                                       bool percent) {
    return appendFloatSlider(
        name, {min, max, min, sliderMax, defaultValue, static_cast<A_short>(precision)},
        displayFlags(pixel, percent), id, doubleToFixed);
}

PF_Err ParameterDef::AddArbitraryParam(char const* name, int id, int dataKind, char** defaultData,
                                       int uiWidth, int uiHeight, void* refcon) {
    PF_ParamDef def = newRecord(PF_Param_ARBITRARY_DATA, name, id);
    def.ui_width = static_cast<A_short>(uiWidth);
    def.ui_height = static_cast<A_short>(uiHeight);
    def.u.arb_d.id = static_cast<A_short>(dataKind);
    def.u.arb_d.dephault = reinterpret_cast<PF_Handle>(defaultData);
    def.u.arb_d.refconPV = refcon;
    return append(def);
}

PF_Err ParameterDef::RegisterCustomUI(int events) {
    PF_CustomUIInfo info{};
    info.events = events;
    return in_data->inter.register_ui(in_data->effect_ref, &info);
}

}  // namespace QVS
