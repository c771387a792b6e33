// Loading by dlopen, with every symbol kept to the module itself.
#include "hostkit/module_loader.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include "hostkit/error.h"

namespace zelk {

Module::Module(std::filesystem::path const& file) : m_file(file) {
    std::error_code ignored;
    if (!std::filesystem::exists(file, ignored))
        throw HostError(
            fmt::format("{}: there is no such file, expected an effect module", file.string()));
    m_resource = readModuleResource(file);
    // An absolute path: a bare name would be searched for in the system's folders.
    void* const handle =
        dlopen(std::filesystem::absolute(file).c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (!handle)
        throw HostError(fmt::format("{}: does not load ({}), expected an effect module",
                                    file.string(), dlerror()));
    m_entry = reinterpret_cast<PF_EntryPoint>(dlsym(handle, m_resource.entryPoint.c_str()));
    dlclose(handle);
    if (!m_entry)
        throw HostError(fmt::format("{}: exports no function \"{}\", expected an effect module",
                                    file.string(), m_resource.entryPoint));
}

}  // namespace zelk
