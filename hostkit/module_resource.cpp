// Reading of a module's resource; see the header.
#include "hostkit/module_resource.h"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>

#include "hostkit/error.h"
#include "platform/effect_api/plugin_resource.h"

namespace zelk {
namespace {

using Json = nlohmann::json;

constexpr std::size_t kMostBytes = 1 << 16;
constexpr std::size_t kMostNameBytes = kParamNameSize - 1;
constexpr std::size_t kMostSymbolBytes = 255;

/// One resource's values by key; a value that is not sound throws.
class Reader {
public:
    Reader(std::filesystem::path const& module, Json const& json)
        : m_module(module), m_json(json) {}

    std::string text(char const* key, std::size_t mostBytes) const {
        auto const found = m_json.find(key);
        if (found != m_json.end() && found->is_string()) {
            std::string const value = *found;
            bool const isPrintable = std::none_of(
                value.begin(), value.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; });
            if (!value.empty() && value.size() <= mostBytes && isPrintable) return value;
        }
        refuse(key, fmt::format("a printable string of 1 to {} bytes", mostBytes));
    }

    A_u_long word(char const* key) const {
        auto const found = m_json.find(key);
        if (found != m_json.end() && found->is_number_unsigned()) {
            auto const value = found->get<std::uint64_t>();
            if (value <= std::numeric_limits<A_u_long>::max()) return static_cast<A_u_long>(value);
        }
        refuse(key, "a whole number of 32 bits");
    }

private:
    [[noreturn]] void refuse(char const* key, std::string const& expected) const {
        throw HostError(fmt::format("{}: its resource \"{}{}\" has no sound \"{}\", expected {}",
                                    m_module.string(), m_module.filename().string(),
                                    kPluginResourceSuffix, key, expected));
    }

    std::filesystem::path const& m_module;
    Json const& m_json;
};

}  // namespace

ModuleResource readModuleResource(std::filesystem::path const& module) {
    std::string const name = module.filename().string() + kPluginResourceSuffix;
    std::ifstream file(module.string() + kPluginResourceSuffix, std::ios::binary);
    if (!file)
        throw HostError(fmt::format("{}: no file \"{}\" next to it, expected an effect module",
                                    module.string(), name));
    std::string text(kMostBytes + 1, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    Json const json = Json::parse(text, nullptr, false);
    if (text.size() > kMostBytes || !json.is_object())
        throw HostError(fmt::format(
            "{}: its resource \"{}\" is not sound, expected a JSON object of at most {} "
            "bytes",
            module.string(), name, kMostBytes));
    Reader const reader(module, json);
    return {reader.text("name", kMostNameBytes),
            reader.text("matchName", kMostNameBytes),
            reader.text("category", kMostNameBytes),
            reader.text("entryPoint", kMostSymbolBytes),
            reader.word("version"),
            reader.word("outFlags"),
            reader.word("outFlags2")};
}

void requireStatedAnswer(std::filesystem::path const& module, ModuleResource const& stated,
                         SetUpAnswer const& answer) {
    auto const require = [&](char const* what, A_u_long answered, A_u_long expected) {
        if (answered == expected) return;
        throw HostError(fmt::format(
            "{}: answers {} {:#x}, expected {:#x} as in its resource \"{}{}\"", module.string(),
            what, answered, expected, module.filename().string(), kPluginResourceSuffix));
    };
    require("version", answer.version, stated.version);
    require("out_flags", answer.outFlags & ~answer.initialOutFlags,
            stated.outFlags & ~answer.initialOutFlags);
    require("out_flags2", answer.outFlags2 & ~answer.initialOutFlags2,
            stated.outFlags2 & ~answer.initialOutFlags2);
}

}  // namespace zelk
