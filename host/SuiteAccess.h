// Single acquisitions of the host's suites: tables of functions that the host hands out by name
// and version. A failure is told to the user through the command's return message.
//
// A suite pointer is valid for the command that acquired it; nothing is kept between commands.
// Each acquisition that gave 0 is matched by one release with the same name and version.
#pragma once

#include "platform/effect_api/effect_suites.h"

/// 0 with a table in `*suite`, else PF_Err_BAD_CALLBACK_PARAM (516), with `error`, or a sentence of
/// its own when that is null, as the message to the user. `error` is a format string without
/// arguments.
PF_Err AEFX_AcquireSuite(PF_InData* in_data, PF_OutData* out_data, char const* name, int version,
                         char const* error, void** suite);

/// 0, or 516 with the message when the host has no suites at all.
PF_Err AEFX_ReleaseSuite(PF_InData* in_data, PF_OutData* out_data, char const* name, int version,
                         char const* error);

/// Like AEFX_AcquireSuite, but optional: interfaces before major version 12 give 516 without a
/// message, and later ones too when `silent`. The message names the suite.
PF_Err Transform_AcquireSuite(PF_InData* in_data, PF_OutData* out_data, char const* name,
                              int version, void** suite, bool silent);

/// 0, or 516 as above.
PF_Err Transform_ReleaseSuite(PF_InData* in_data, PF_OutData* out_data, char const* name,
                              int version, bool silent);

/// What a single acquisition names.
struct SuiteName {
    char const* name;
    int version;
    char const* acquireError;
    char const* releaseError;
};

/// Holds a suite for one operation; releases it at the end of the scope when it was had.
template <class Suite>
class ScopedSuite {
public:
    ScopedSuite(PF_InData* in_data, PF_OutData* out_data, SuiteName const& which)
        : m_in_data(in_data), m_out_data(out_data), m_which(which) {
        void* table = nullptr;
        m_err = AEFX_AcquireSuite(in_data, out_data, which.name, which.version, which.acquireError,
                                  &table);
        m_suite = static_cast<Suite const*>(table);
    }
    ~ScopedSuite() {
        if (m_err == PF_Err_NONE)
            AEFX_ReleaseSuite(m_in_data, m_out_data, m_which.name, m_which.version,
                              m_which.releaseError);
    }
    ScopedSuite(ScopedSuite const&) = delete;
    ScopedSuite& operator=(ScopedSuite const&) = delete;

    PF_Err error() const { return m_err; }
    Suite const* operator->() const { return m_suite; }

private:
    PF_InData* m_in_data;
    PF_OutData* m_out_data;
    SuiteName m_which;
    Suite const* m_suite = nullptr;
    PF_Err m_err;
};
