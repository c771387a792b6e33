// All controls of the effect, checked out of the host at the command's time.
#pragma once

#include <array>
#include <memory>

#include "params/ParamIndex.h"
#include "platform/effect_api/effect_commands.h"

class CheckedOutParams {
public:
    /// Checks out the first control to the last in rising order, up to the first that the host
    /// refuses: see error(). The slot of the input layer is zeroed and not checked out.
    explicit CheckedOutParams(PF_InData* in_data);
    ~CheckedOutParams() { giveBack(); }
    CheckedOutParams(CheckedOutParams const&) = delete;
    CheckedOutParams& operator=(CheckedOutParams const&) = delete;

    PF_Err error() const { return m_err; }
    /// One record for each ParamIndex.
    PF_ParamDef** array() { return m_pointers.data(); }
    PF_ParamDef& operator[](ParamIndex index) { return *m_defs[index]; }

    /// Checks in what was checked out, in rising order; the destructor does it else.
    void giveBack();

private:
    static constexpr int kFirst = kParamInputLayer + 1;

    PF_InData* m_in_data;
    std::array<std::unique_ptr<PF_ParamDef>, kParamCount> m_defs;
    std::array<PF_ParamDef*, kParamCount> m_pointers{};
    int m_end = kFirst;  ///< index after the last one that is checked out
    PF_Err m_err = PF_Err_NONE;
};
