// Rows of a name and what there is; see version_text.h.
#include "apps/zelk/version_text.h"

#include <fmt/format.h>

#include <filesystem>
#include <iterator>

#include "apps/drawing/canvas.h"
#include "zelk/render/library_versions.h"
#include "zelk/render/load_module.h"
#include "zelk/scene/words.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

std::string row(char const* name, std::string const& text) {
    return fmt::format("{:<13}{}\n", name, text);
}

std::string buildText() {
#if defined(__clang__)
    std::string const compiler = "Clang " __clang_version__;
#else
    std::string const compiler = "GCC " __VERSION__;
#endif
    return fmt::format("{}, {}, {}", ZELK_BUILD_TYPE, compiler, ZELK_PROCESSOR);
}

std::string librariesText() {
    std::string text;
    for (NamedVersion const& each : libraryVersions())
        text += fmt::format("{} {}, ", each.name, each.version);
    std::string const ffmpeg = ffmpegVersion();
    return text + fmt::format("Cairo {}, ffmpeg {}", Canvas::libraryVersion(),
                              ffmpeg.empty() ? "not found" : ffmpeg);
}

std::string moduleText() {
    try {
        auto const host = loadModule(Scene());
        auto const version = host->resource().version;
        return fmt::format("{} ({:#x})", defaultModule().string(), version);
    } catch (UserError const& error) {
        return error.what();
    }
}

/// A plug-in for other programs, by its place under the prefix of this one.
struct PlugIn {
    char const *host, *place;
};
constexpr PlugIn kPlugIns[] = {{"OpenFX", ZELK_OFX_FOLDER "/ZelkCornerPin.ofx.bundle"},
                               {"frei0r", "lib/frei0r-1/zelk_corner_pin.so"}};

std::string plugInsText() {
    // From PREFIX/lib.../zelk, where the module is.
    fs::path const libraries(ZELK_LIBRARY_FOLDER);
    fs::path prefix = defaultModule().parent_path().parent_path();
    for (auto each = libraries.begin(); each != libraries.end(); ++each)
        prefix = prefix.parent_path();
    std::string text;
    for (PlugIn const& each : kPlugIns) {
        fs::path const file = (prefix / each.place).lexically_normal();
        std::error_code fault;
        if (!fs::exists(file, fault)) continue;
        text += fmt::format("{}{} {}", text.empty() ? "" : ", ", each.host, file.string());
    }
    return text.empty() ? "none installed" : text;
}

std::string hostsText() {
    std::string text;
    for (Choice<HostApp> const& each : kHostWords)
        text += (text.empty() ? "" : ", ") + std::string(each.word);
    return text;
}

}  // namespace

std::string versionText() {
    return "zelk " ZELK_VERSION "\n" + row("build", buildText()) +
           row("instructions", instructionSet()) + row("libraries", librariesText()) +
           row("module", moduleText()) + row("hosts", hostsText()) + row("plug-ins", plugInsText());
}

}  // namespace zelk
