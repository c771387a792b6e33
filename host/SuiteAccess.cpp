// Acquisition and release through SPBasicSuite, with the message to the user on failure.
#include "host/SuiteAccess.h"

namespace {

PF_Err reportFailure(PF_InData* in_data, PF_OutData* out_data, char const* message) {
    out_data->out_flags |= PF_OutFlag_DISPLAY_ERROR_MESSAGE;
    in_data->utils->ansi.sprintf(out_data->return_msg, message);
    return PF_Err_BAD_CALLBACK_PARAM;
}

}  // namespace

PF_Err AEFX_AcquireSuite(PF_InData* in_data, PF_OutData* out_data, char const* name, int version,
                         char const* error, void** suite) {
    *suite = nullptr;
    if (SPBasicSuite const* basic = in_data->pica_basicP) {
        void const* table = nullptr;
        // The table alone decides: hosts are known to answer a status beside a usable table.
        basic->AcquireSuite(name, version, &table);
        *suite = const_cast<void*>(table);
        if (table) return PF_Err_NONE;
    }
    return reportFailure(in_data, out_data, error ? error : "Not able to acquire AEFX Suite.");
}

PF_Err AEFX_ReleaseSuite(PF_InData* in_data, PF_OutData* out_data, char const* name, int version,
                         char const* error) {
    if (SPBasicSuite const* basic = in_data->pica_basicP) {
        basic->ReleaseSuite(name, version);
        return PF_Err_NONE;
    }
    return reportFailure(in_data, out_data, error ? error : "Not able to release AEFX Suite.");
}
