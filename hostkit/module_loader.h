// An effect module: a shared object with one exported function, and the resource that names it.
#pragma once

#include <filesystem>

#include "hostkit/module_resource.h"
#include "platform/effect_api/effect_commands.h"

namespace zelk {

/// A loaded module. Its code stays mapped until the process ends: threads that its runtime keeps
/// may outlive the last command.
class Module {
public:
    /// Throws HostError when the file is not there, has no sound resource, does not load or exports
    /// no entry. Nothing of a file without a resource is run.
    explicit Module(std::filesystem::path const& file);

    std::filesystem::path const& file() const { return m_file; }
    ModuleResource const& resource() const { return m_resource; }
    PF_EntryPoint entry() const { return m_entry; }

private:
    std::filesystem::path m_file;
    ModuleResource m_resource;
    PF_EntryPoint m_entry = nullptr;
};

}  // namespace zelk
