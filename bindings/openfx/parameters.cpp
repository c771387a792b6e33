// Rows, their descriptions, and reading by the variadic functions of the parameter suite.
#include "bindings/openfx/parameters.h"

#include <algorithm>
#include <string>

#include "bindings/common/effect_controls.h"
#include "bindings/openfx/plane.h"
#include "params/FixedPoint.h"
#include "params/ParameterNames.h"

namespace zelk::bindings {

namespace {

char const* nameOf(int index) { return kParameterNames[static_cast<std::size_t>(index)].data(); }

bool isSeparator(std::string_view entry) { return entry == "(-"; }

/// In an expression a hyphen is a minus.
std::string scriptName(std::string name) {
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

/// What is drawn on screen alone, and changes no pixel.
bool isOfOverlay(int index) {
    return index == kParamOverlayMode || index == kParamWireframe ||
           index == kParamToWireframeColor || index == kParamFromWireframeColor;
}

ParameterKind kindOf(int index, PF_ParamDef const& def) {
    if (index == kParamMochaImport || index == kParamUseCompCamera) return ParameterKind::kNone;
    switch (def.param_type) {
        case PF_Param_GROUP_START:
            return ParameterKind::kGroup;
        case PF_Param_POINT:
            return ParameterKind::kPoint;
        case PF_Param_SLIDER:
            return ParameterKind::kInteger;
        case PF_Param_FIX_SLIDER:
        case PF_Param_FLOAT_SLIDER:
        case PF_Param_ANGLE:
            return ParameterKind::kDouble;
        case PF_Param_CHECKBOX:
            return ParameterKind::kBoolean;
        case PF_Param_POPUP:
            return ParameterKind::kChoice;
        case PF_Param_COLOR:
            return ParameterKind::kColor;
        default:
            return ParameterKind::kNone;
    }
}

std::array<ParameterRow, kParamCount> makeRows() {
    EffectControls controls;
    std::array<ParameterRow, kParamCount> rows;
    for (int index = 1; index < kParamCount; ++index) {
        ParameterRow& row = rows[static_cast<std::size_t>(index)];
        row.kind = kindOf(index, controls[index]);
        if (row.kind != ParameterKind::kChoice) continue;
        forEachEntry(controls[index], [&row](int entry, std::string_view text) {
            if (!isSeparator(text)) row.entries.push_back(entry);
        });
    }
    return rows;
}

/// Ranges, default and precision of a slider's record as users see them.
struct Range {
    double min, max, displayMin, displayMax, defaultValue;
    int digits;
};

template <class Record, class Convert>
Range rangeOf(Record const& record, int digits, Convert const& convert) {
    return {convert(record.valid_min),  convert(record.valid_max), convert(record.slider_min),
            convert(record.slider_max), convert(record.dephault),  digits};
}

Range rangeOf(PF_ParamDef const& def) {
    auto const plain = [](auto number) { return static_cast<double>(number); };
    switch (def.param_type) {
        case PF_Param_SLIDER:
            return rangeOf(def.u.sd, 0, plain);
        case PF_Param_FIX_SLIDER:
            return rangeOf(def.u.fd, def.u.fd.precision, QVS::fixedToDouble);
        default:
            return rangeOf(def.u.fs_d, def.u.fs_d.precision, plain);
    }
}

class Definer {
public:
    explicit Definer(OfxImageEffectHandle descriptor) {
        require(suites().effect->getParamSet(descriptor, &m_set));
    }

    void all() {
        for (int index = 1; index < kParamCount; ++index) {
            if (index == kParamMochaImport) {
                defineImport();
            } else if (m_controls[index].param_type == PF_Param_GROUP_END) {
                m_groups.pop_back();
            } else {
                defineControl(index);
            }
        }
        definePage();
    }

private:
    Properties define(char const* type, char const* name, std::string const& label,
                      std::string const& hint) {
        OfxPropertySetHandle set = nullptr;
        require(suites().parameter->paramDefine(m_set, type, name, &set));
        Properties const p(set);
        p.set(kOfxPropLabel, label);
        p.offer(kOfxParamPropScriptName, scriptName(name).c_str());
        if (!hint.empty()) p.offer(kOfxParamPropHint, hint.c_str());
        if (!m_groups.empty())
            p.set(kOfxParamPropParent, m_groups.back());
        else
            m_top.push_back(name);
        return p;
    }

    Properties define(char const* type, int index) {
        std::string hint(helpOfParameter(index));
        std::string_view const unit = unitOfParameter(index);
        if (!unit.empty()) hint.append(" Unit: ").append(unit).append(".");
        Properties const p = define(type, nameOf(index), m_controls[index].name, hint);
        bool const isGrey = (m_controls[index].ui_flags & PF_PUI_DISABLED) != 0;
        // Outside of its home the frame is the binding's to grow.
        if (isGrey && index != kParamGrowBounds) p.offer(kOfxParamPropEnabled, 0);
        return p;
    }

    /// Where the host has no keys for a type it takes no notice.
    Properties defineValue(char const* type, int index) {
        Properties const p = define(type, index);
        p.offer(kOfxParamPropAnimates,
                (m_controls[index].flags & PF_ParamFlag_CANNOT_TIME_VARY) ? 0 : 1);
        if (isOfOverlay(index)) p.offer(kOfxParamPropEvaluateOnChange, 0);
        return p;
    }

    void defineControl(int index) {
        PF_ParamDef const& def = m_controls[index];
        switch (parameterRows()[static_cast<std::size_t>(index)].kind) {
            case ParameterKind::kGroup:
                define(kOfxParamTypeGroup, index)
                    .offer(kOfxParamPropGroupOpen,
                           def.flags & PF_ParamFlag_COLLAPSE_TWIRLY ? 0 : 1);
                m_groups.push_back(nameOf(index));
                break;
            case ParameterKind::kPoint:
                definePin(index, def.u.td);
                break;
            case ParameterKind::kDouble:
                defineDouble(index, def);
                break;
            case ParameterKind::kInteger:
                defineInteger(index, rangeOf(def));
                break;
            case ParameterKind::kBoolean:
                defineValue(kOfxParamTypeBoolean, index)
                    .set(kOfxParamPropDefault, def.u.bd.dephault ? 1 : 0);
                break;
            case ParameterKind::kChoice:
                defineChoice(index, def);
                break;
            case ParameterKind::kColor: {
                Properties const p = defineValue(kOfxParamTypeRGB, index);
                PF_Pixel const color = def.u.cd.dephault;
                int i = 0;
                for (int const channel : {color.red, color.green, color.blue})
                    p.set(kOfxParamPropDefault, channel / 255.0, i++);
                break;
            }
            case ParameterKind::kNone:
                break;
        }
    }

    /// Defaults are percent of the layer, y down.
    void definePin(int index, PF_PointDef const& point) {
        Properties const p = defineValue(kOfxParamTypeDouble2D, index);
        p.offer(kOfxParamPropDoubleType, kOfxParamDoubleTypeXYAbsolute);
        p.offer(kOfxParamPropDefaultCoordinateSystem, kOfxParamCoordinatesNormalised);
        p.set(kOfxParamPropDefault, QVS::fixedToDouble(point.x_dephault) / 100, 0);
        p.set(kOfxParamPropDefault, 1 - QVS::fixedToDouble(point.y_dephault) / 100, 1);
        // Overlay Mode says when From Pins are shown: their handles are ours.
        if (index < kParamFromPinsGroup) p.offer(kOfxParamPropUseHostOverlayHandle, 1);
    }

    void defineDouble(int index, PF_ParamDef const& def) {
        Properties const p = defineValue(kOfxParamTypeDouble, index);
        if (def.param_type == PF_Param_ANGLE) {
            p.offer(kOfxParamPropDoubleType, kOfxParamDoubleTypeAngle);
            p.set(kOfxParamPropDefault, 0.0);
            p.offer(kOfxParamPropDisplayMin, -180.0);
            p.offer(kOfxParamPropDisplayMax, 180.0);
            return;
        }
        bool const isFactor = unitOfParameter(index) == "factor";
        Range const range = rangeOf(def);
        p.offer(kOfxParamPropDoubleType,
                isFactor ? kOfxParamDoubleTypeScale : kOfxParamDoubleTypePlain);
        setRange(p, range.min, range.max, range.displayMin, range.displayMax, range.defaultValue);
        p.offer(kOfxParamPropDigits, range.digits);
        p.offer(kOfxParamPropIncrement, range.digits > 1 ? 0.01 : range.digits == 1 ? 0.1 : 1.0);
    }

    void defineInteger(int index, Range const& range) {
        auto const whole = [](double number) { return static_cast<int>(number); };
        setRange(defineValue(kOfxParamTypeInteger, index), whole(range.min), whole(range.max),
                 whole(range.displayMin), whole(range.displayMax), whole(range.defaultValue));
    }

    /// The display range comes after the range, which sets it.
    template <class T>
    static void setRange(Properties const& p, T min, T max, T displayMin, T displayMax, T value) {
        p.set(kOfxParamPropMin, min);
        p.set(kOfxParamPropMax, max);
        p.set(kOfxParamPropDisplayMin, displayMin);
        p.set(kOfxParamPropDisplayMax, displayMax);
        p.set(kOfxParamPropDefault, value);
    }

    void defineChoice(int index, PF_ParamDef const& def) {
        Properties const p = defineValue(kOfxParamTypeChoice, index);
        int option = 0;
        forEachEntry(def, [&](int entry, std::string_view text) {
            if (isSeparator(text)) return;
            if (entry == def.u.pd.dephault - 1) p.set(kOfxParamPropDefault, option);
            p.set(kOfxParamPropChoiceOption, std::string(text), option++);
        });
    }

    void defineImport() {
        PF_ParamDef const& popup = m_controls[kParamMochaImport];
        define(kOfxParamTypeGroup, nameOf(kParamMochaImport), popup.name,
               std::string(helpOfParameter(kParamMochaImport)))
            .offer(kOfxParamPropGroupOpen, 0);
        m_groups.push_back(nameOf(kParamMochaImport));
        Properties const file = define(kOfxParamTypeString, kTrackFileName, "Track File",
                                       "A planar tracker's text file with four corners.");
        file.set(kOfxParamPropStringMode, kOfxParamStringIsFilePath);
        file.offer(kOfxParamPropEvaluateOnChange, 0);
        file.offer(kOfxParamPropAnimates, 0);
        Properties const offset =
            define(kOfxParamTypeInteger, kTrackOffsetName, "Frame Offset",
                   "Added to the file's frame numbers to get the time of a key.");
        // The range is all whole numbers; a slider over that is of no use.
        offset.offer(kOfxParamPropDisplayMin, -1000);
        offset.offer(kOfxParamPropDisplayMax, 1000);
        offset.offer(kOfxParamPropEvaluateOnChange, 0);
        offset.offer(kOfxParamPropAnimates, 0);
        forEachEntry(popup, [&](int entry, std::string_view text) {
            if (entry == 0) return;
            bool const isTo = entry == 1;
            define(kOfxParamTypePushButton, isTo ? kLoadToPinsName : kLoadFromPinsName,
                   std::string(text),
                   isTo ? "Replaces the To Pins by keys from the track file."
                        : "Replaces the From Pins by keys from the track file.");
        });
        define(kOfxParamTypePushButton, kFitFromPinsName, "Fit From Pins To Layer",
               "Sets the From Pins to the corners of the layer.");
        m_groups.pop_back();
    }

    /// For hosts that show parameters in pages; others have none.
    void definePage() {
        if (hostProperties().integerOr(kOfxParamHostPropMaxPages, 0) == 0) return;
        OfxPropertySetHandle set = nullptr;
        if (suites().parameter->paramDefine(m_set, kOfxParamTypePage, "controls", &set)) return;
        Properties const page(set);
        page.set(kOfxPropLabel, "Controls");
        int child = 0;
        for (std::string const& name : m_top) page.set(kOfxParamPropPageChild, name, child++);
    }

    OfxParamSetHandle m_set = nullptr;
    EffectControls m_controls;
    std::vector<std::string> m_groups;  ///< that are open, outermost first
    std::vector<std::string> m_top;     ///< names outside of any group
};

}  // namespace

std::array<ParameterRow, kParamCount> const& parameterRows() {
    static std::array<ParameterRow, kParamCount> const kRows = makeRows();
    return kRows;
}

void defineParameters(OfxImageEffectHandle descriptor) { Definer(descriptor).all(); }

ParameterSet::ParameterSet(OfxImageEffectHandle effect) {
    require(suites().effect->getParamSet(effect, &m_set));
    for (int index = 0; index < kParamCount; ++index) {
        auto const i = static_cast<std::size_t>(index);
        if (parameterRows()[i].kind == ParameterKind::kNone) continue;
        require(suites().parameter->paramGetHandle(m_set, nameOf(index), &m_handles[i], nullptr));
    }
}

OfxParamHandle ParameterSet::named(char const* name) const {
    OfxParamHandle handle = nullptr;
    require(suites().parameter->paramGetHandle(m_set, name, &handle, nullptr));
    return handle;
}

PluginHost_Memory_Impl::Value ParameterSet::at(int index, double time) const {
    auto const read = suites().parameter->paramGetValueAtTime;
    ParameterRow const& row = parameterRows()[static_cast<std::size_t>(index)];
    OfxParamHandle const handle = (*this)[index];
    PluginHost_Memory_Impl::Value value;
    int whole = 0;
    switch (row.kind) {
        case ParameterKind::kPoint:
            require(read(handle, time, &value.x, &value.y));
            break;
        case ParameterKind::kColor:
            require(read(handle, time, &value.x, &value.y, &value.z));
            break;
        case ParameterKind::kDouble:
            require(read(handle, time, &value.x));
            break;
        case ParameterKind::kInteger:
        case ParameterKind::kBoolean:
            require(read(handle, time, &whole));
            value.x = whole;
            break;
        case ParameterKind::kChoice: {
            require(read(handle, time, &whole));
            auto const last = static_cast<int>(row.entries.size()) - 1;
            value.x = row.entries[static_cast<std::size_t>(std::clamp(whole, 0, last))];
            break;
        }
        case ParameterKind::kGroup:
        case ParameterKind::kNone:
            break;
    }
    return value;
}

void ParameterSet::setPin(int index, double time, OfxPointD const& point) const {
    OfxParameterSuiteV1 const& suite = *suites().parameter;
    unsigned keys = 0;
    suite.paramGetNumKeys((*this)[index], &keys);
    if (keys)
        require(suite.paramSetValueAtTime((*this)[index], time, point.x, point.y));
    else
        require(suite.paramSetValue((*this)[index], point.x, point.y));
}

void ParameterSet::placeDefaultPins(OfxRectD const& rectangle) const {
    if (isEmpty(rectangle)) return;
    constexpr int kPins[] = {kParamToUpperLeft,   kParamToUpperRight,  kParamToLowerLeft,
                             kParamToLowerRight,  kParamFromUpperLeft, kParamFromUpperRight,
                             kParamFromLowerLeft, kParamFromLowerRight};
    for (int i = 0; i < 8; ++i) {
        OfxPropertySetHandle set = nullptr;
        require(suites().parameter->paramGetPropertySet((*this)[kPins[i]], &set));
        std::string const system = Properties(set).textOr(kOfxParamPropDefaultCoordinateSystem, "");
        if (system == kOfxParamCoordinatesNormalised) continue;
        double const x = i % 2, y = i / 2 % 2;  // y down
        auto const value = at(kPins[i], 0);
        if (value.x == x && value.y == 1 - y) setPin(kPins[i], 0, placeWithin(rectangle, x, y));
    }
}

void ParameterSet::enable(int index, bool isEnabled) const {
    OfxPropertySetHandle set = nullptr;
    if (!(*this)[index] || suites().parameter->paramGetPropertySet((*this)[index], &set)) return;
    Properties(set).offer(kOfxParamPropEnabled, isEnabled ? 1 : 0);
}

}  // namespace zelk::bindings
