// The one exception of hostkit: a sentence that a user can be shown.
#pragma once

#include <stdexcept>
#include <string>

#include "platform/effect_api/effect_types.h"

namespace zelk {

/// Something that the host side could not do: a module that does not load, memory that is not
/// there, a command that the effect refused. `code` is the effect's PF_Err when there is one.
class HostError : public std::runtime_error {
public:
    explicit HostError(std::string const& what, PF_Err code = PF_Err_NONE)
        : std::runtime_error(what), m_code(code) {}
    PF_Err code() const { return m_code; }

private:
    PF_Err m_code;
};

}  // namespace zelk
