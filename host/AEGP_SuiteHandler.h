// AEGP_SuiteHandler: a lazily filled table of the host's suites, for functions that call many of
// them. It lives on the stack of one function and holds nothing beyond it.
//
//     AEGP_SuiteHandler suites(in_data->pica_basicP);
//     suites.get(&AEGP_SuiteHandler::KeyframeSuite3)->AEGP_InsertKeyframe(...);
//
// A suite that the host does not have ends the function with the integer 516 as an exception; what
// was had goes back on the way.
#pragma once

#include "platform/effect_api/aegp_suites.h"

class AEGP_SuiteHandler {
public:
    /// A null `basic` is a missing suite.
    explicit AEGP_SuiteHandler(SPBasicSuite const* basic);
    ~AEGP_SuiteHandler();
    AEGP_SuiteHandler(AEGP_SuiteHandler const&) = delete;
    AEGP_SuiteHandler& operator=(AEGP_SuiteHandler const&) = delete;

    /// The table behind one of the fields below, acquired on first use; never null. It belongs to
    /// the handler.
    template <class Suite>
    Suite const* get(Suite const* AEGP_SuiteHandler::*field) {
        Suite const*& slot = this->*field;
        if (slot) return slot;
        const SuiteKey key = keyOf(&slot);
        void const* table = nullptr;
        const A_long status = i_pica_basicP->AcquireSuite(key.name, key.version, &table);
        // Kept beside a bad status too: the host counts it as lent, so it goes back with the rest.
        slot = static_cast<Suite const*>(table);
        if (status != 0 || !slot) MissingSuiteError();
        return slot;
    }

    void ReleaseSuite(char const* name, int version);
    /// Gives back what is held, in the order of the fields.
    void ReleaseAllSuites();
    /// Throws the int PF_Err_BAD_CALLBACK_PARAM (516).
    [[noreturn]] void MissingSuiteError() const;

    SPBasicSuite const* i_pica_basicP;
#define AEGP_SUITE(type, field, name, version) type const* field = nullptr;
#include "host/AEGP_SuiteList.inc"

private:
    struct SuiteKey {
        char const* name;
        A_long version;
    };
    /// `slot` is the address of one of the fields.
    SuiteKey keyOf(void const* slot) const;
};
