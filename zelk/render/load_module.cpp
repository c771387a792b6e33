// Opening of the module, with words for a user; see load_module.h.
#include "zelk/render/load_module.h"

#include <dlfcn.h>

#include <fmt/format.h>

#include <string_view>

#include "platform/services/FileChooser.h"

#include "zelk/scene/parameter_names.h"
#include "zelk/scene/refusal.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

A_u_long applIdOf(HostApp app) {
    switch (app) {
        case HostApp::kPremierePro:
            return kAppPremierePro;
        case HostApp::kFinalCutPro:
            return kAppFinalCutPro;
        case HostApp::kMotion:
            return kAppMotion;
        default:
            return kAppAfterEffects;
    }
}

/// A host's sentence without the file that this program's own sentence starts with.
std::string reasonOf(HostError const& error, std::string const& file) {
    std::string const text = error.what();
    std::string const prefix = file + ": ";
    return text.starts_with(prefix) ? text.substr(prefix.size()) : text;
}

}  // namespace

std::filesystem::path defaultModule() {
    static std::filesystem::path const found = [] {  // once: a small picture takes little longer
        Dl_info library{};
        ::dladdr(reinterpret_cast<void const*>(&installFileChooserBackend), &library);
        std::error_code fault;
        auto const file =
            std::filesystem::canonical(library.dli_fname ? library.dli_fname : "", fault);
        return file.parent_path() / "zelk/ZelkCornerPin.so";
    }();
    return found;
}

std::unique_ptr<Host> loadModule(Scene const& scene) {
    std::filesystem::path const module = scene.module.empty() ? defaultModule() : scene.module;
    std::string const file = module.string();
    std::error_code fault;
    if (!std::filesystem::is_regular_file(module, fault)) {
        throw UserError(ExitCode::kInput, fmt::format("{}: no such module: give it by {}", file,
                                                      spelled(scene, "module")));
    }
    HostOptions options;
    options.identity.applId = applIdOf(scene.hostApp());
    std::unique_ptr<Host> host;
    try {
        host = std::make_unique<Host>(module, options);
    } catch (HostError const& error) {
        bool const isRefusal = error.code() != PF_Err_NONE;
        bool const tellsMore =
            std::string_view(error.what()).find(", expected ") != std::string_view::npos;
        char const* const expected = tellsMore ? "" : "the effect's module";
        throw UserError(isRefusal ? ExitCode::kRenderFailed : ExitCode::kInput,
                        {file, "cannot be loaded: " + reasonOf(error, file), "", expected});
    }
    if (host->parameters().size() != kParameterCount) {
        throw UserError(ExitCode::kInput, {file, "is another effect, by its number of parameters:",
                                           std::to_string(host->parameters().size()),
                                           std::to_string(kParameterCount)});
    }
    return host;
}

}  // namespace zelk
