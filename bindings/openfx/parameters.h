// The effect's controls as parameters of an OpenFX host: one row a control, made from the effect's
// own records.
//
// Names are those of kParameterNames. Points are canonical, angles degrees, popups choices without
// their separators, colours from 0 to 1; all else are the numbers that users see.
#pragma once

#include <array>
#include <vector>

#include "bindings/openfx/suites.h"
#include "host/PluginHost_Memory_Impl.h"
#include "params/ParamIndex.h"

namespace zelk::bindings {

enum class ParameterKind { kNone, kGroup, kPoint, kDouble, kInteger, kBoolean, kChoice, kColor };

struct ParameterRow {
    ParameterKind kind = ParameterKind::kNone;
    /// Of a choice's options, in their order, the popup's entries from 0.
    std::vector<int> entries;
};

/// By parameter index; kNone for what has no parameter here: the layer, which is a clip, ends of
/// groups, the import's popup, which is a file and buttons, and the home host's camera.
std::array<ParameterRow, kParamCount> const& parameterRows();

// Parameters that no control is.
constexpr char kTrackFileName[] = "track-file";
constexpr char kTrackOffsetName[] = "track-frame-offset";
constexpr char kLoadToPinsName[] = "load-to-pins";
constexpr char kLoadFromPinsName[] = "load-from-pins";
constexpr char kFitFromPinsName[] = "fit-from-pins";

/// Of the describe actions. Throws OfxFailure.
void defineParameters(OfxImageEffectHandle descriptor);

/// Handles of an instance's parameters.
class ParameterSet {
public:
    explicit ParameterSet(OfxImageEffectHandle effect);

    OfxParamSetHandle set() const { return m_set; }
    OfxParamHandle operator[](int index) const {
        return m_handles[static_cast<std::size_t>(index)];
    }
    /// Of a parameter that no control is. Throws OfxFailure.
    OfxParamHandle named(char const* name) const;

    /// The value at a time, canonical; a popup's entry from 0, the last for an option beyond them.
    /// Zeros for what has no parameter. Throws OfxFailure.
    PluginHost_Memory_Impl::Value at(int index, double time) const;
    int entryAt(int index, double time) const { return static_cast<int>(at(index, time).x); }
    /// Sets a pin: as a key at `time` where it has keys, else as its value. Throws OfxFailure.
    void setPin(int index, double time, OfxPointD const& point) const;
    void enable(int index, bool isEnabled) const;
    /// Pins whose host took the fractions of their defaults for canonical units: those that still
    /// have them go to the corners of the rectangle. Only while an instance is made. Throws
    /// OfxFailure.
    void placeDefaultPins(OfxRectD const& rectangle) const;

private:
    OfxParamSetHandle m_set = nullptr;
    std::array<OfxParamHandle, kParamCount> m_handles{};
};

/// One undo step for its scope.
class EditStep {
public:
    EditStep(ParameterSet const& parameters, char const* label) : m_set(parameters.set()) {
        m_isOpen = suites().parameter->paramEditBegin(m_set, label) == kOfxStatOK;
    }
    ~EditStep() {
        if (m_isOpen) suites().parameter->paramEditEnd(m_set);
    }
    EditStep(EditStep const&) = delete;
    EditStep& operator=(EditStep const&) = delete;

private:
    OfxParamSetHandle m_set;
    bool m_isOpen;
};

}  // namespace zelk::bindings
