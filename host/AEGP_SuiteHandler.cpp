// The suite list as fields, look-up and release: one list, so that the three can't disagree.
#include "host/AEGP_SuiteHandler.h"

AEGP_SuiteHandler::AEGP_SuiteHandler(SPBasicSuite const* basic) : i_pica_basicP(basic) {
    if (!basic) MissingSuiteError();
}

AEGP_SuiteHandler::~AEGP_SuiteHandler() { ReleaseAllSuites(); }

AEGP_SuiteHandler::SuiteKey AEGP_SuiteHandler::keyOf(void const* slot) const {
#define AEGP_SUITE(type, field, name, version) \
    if (slot == &field) return {name, version};
#include "host/AEGP_SuiteList.inc"
    MissingSuiteError();
}

void AEGP_SuiteHandler::ReleaseSuite(char const* name, int version) {
    i_pica_basicP->ReleaseSuite(name, version);
}

void AEGP_SuiteHandler::ReleaseAllSuites() {
#define AEGP_SUITE(type, field, name, version) \
    if (field) {                               \
        ReleaseSuite(name, version);           \
        field = nullptr;                       \
    }
#include "host/AEGP_SuiteList.inc"
}

void AEGP_SuiteHandler::MissingSuiteError() const {
    throw static_cast<int>(PF_Err_BAD_CALLBACK_PARAM);
}
