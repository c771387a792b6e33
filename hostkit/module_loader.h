// An effect module: a shared object with one exported function.
#pragma once

#include <filesystem>

#include "platform/effect_api/effect_commands.h"

namespace zelk {

/// A loaded module. Its code stays mapped until the process ends: threads that its runtime keeps
/// may outlive the last command.
class Module {
public:
    /// Throws HostError when the file is not there, does not load or exports no entry.
    explicit Module(std::filesystem::path const& file);

    std::filesystem::path const& file() const { return m_file; }
    PF_EntryPoint entry() const { return m_entry; }

private:
    std::filesystem::path m_file;
    PF_EntryPoint m_entry = nullptr;
};

}  // namespace zelk
