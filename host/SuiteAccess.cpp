// Acquisition and release through SPBasicSuite, with the message to the user on failure.
#include "host/SuiteAccess.h"

namespace {

/// `format` has a "%s" for the name, or no format characters at all.
PF_Err reportFailure(PF_InData* in_data, PF_OutData* out_data, char const* format,
                     char const* name) {
    out_data->out_flags |= PF_OutFlag_DISPLAY_ERROR_MESSAGE;
    in_data->utils->ansi.sprintf(out_data->return_msg, format, name);
    return PF_Err_BAD_CALLBACK_PARAM;
}

/// Whether the host lent a table. The table alone decides: hosts are known to answer a status
/// beside a usable one.
bool acquire(PF_InData const* in_data, char const* name, int version, void** suite) {
    void const* table = nullptr;
    if (SPBasicSuite const* basic = in_data->pica_basicP)
        basic->AcquireSuite(name, version, &table);
    *suite = const_cast<void*>(table);
    return table != nullptr;
}

bool release(PF_InData const* in_data, char const* name, int version) {
    SPBasicSuite const* const basic = in_data->pica_basicP;
    if (basic) basic->ReleaseSuite(name, version);
    return basic != nullptr;
}

constexpr A_long kFirstMajorWithTransformSuites = 12;

}  // namespace

PF_Err AEFX_AcquireSuite(PF_InData* in_data, PF_OutData* out_data, char const* name, int version,
                         char const* error, void** suite) {
    if (acquire(in_data, name, version, suite)) return PF_Err_NONE;
    return reportFailure(in_data, out_data, error ? error : "Not able to acquire AEFX Suite.",
                         name);
}

PF_Err AEFX_ReleaseSuite(PF_InData* in_data, PF_OutData* out_data, char const* name, int version,
                         char const* error) {
    if (release(in_data, name, version)) return PF_Err_NONE;
    return reportFailure(in_data, out_data, error ? error : "Not able to release AEFX Suite.",
                         name);
}

PF_Err Transform_AcquireSuite(PF_InData* in_data, PF_OutData* out_data, char const* name,
                              int version, void** suite, bool silent) {
    *suite = nullptr;
    if (in_data->version.major < kFirstMajorWithTransformSuites) return PF_Err_BAD_CALLBACK_PARAM;
    if (acquire(in_data, name, version, suite)) return PF_Err_NONE;
    return silent ? PF_Err_BAD_CALLBACK_PARAM
                  : reportFailure(in_data, out_data, "Not able to acquire %s", name);
}

PF_Err Transform_ReleaseSuite(PF_InData* in_data, PF_OutData* out_data, char const* name,
                              int version, bool silent) {
    if (in_data->version.major < kFirstMajorWithTransformSuites) return PF_Err_BAD_CALLBACK_PARAM;
    if (release(in_data, name, version)) return PF_Err_NONE;
    return silent ? PF_Err_BAD_CALLBACK_PARAM
                  : reportFailure(in_data, out_data, "Not able to release %s", name);
}
