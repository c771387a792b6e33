// The parameter list as text and as JSON; see params_command.h.
#include "apps/zelk/params_command.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "hostkit/fixed_point.h"
#include "zelk/files/standard_output.h"
#include "zelk/render/load_module.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/parameter_values.h"

namespace zelk {

namespace {

using Json = nlohmann::ordered_json;

/// A flag's bit and its name in lists.
struct FlagName {
    A_long bit;
    char const* name;
};

constexpr FlagName kFlags[] = {
    {PF_ParamFlag_CANNOT_TIME_VARY, "cannot-time-vary"},
    {PF_ParamFlag_COLLAPSE_TWIRLY, "collapsed"},
    {PF_ParamFlag_SUPERVISE, "supervised"},
};
constexpr FlagName kUiFlags[] = {{PF_PUI_NO_ECW_UI, "hidden"}, {PF_PUI_DISABLED, "disabled"}};

std::vector<std::string> flagNames(PF_ParamDef const& def) {
    std::vector<std::string> names;
    for (FlagName const& flag : kFlags) {
        if (def.flags & flag.bit) names.emplace_back(flag.name);
    }
    for (FlagName const& flag : kUiFlags) {
        if (def.ui_flags & flag.bit) names.emplace_back(flag.name);
    }
    return names;
}

std::string_view nameOf(Parameter const& parameter) { return nameOfParameter(parameter.index); }

/// Of every control that has a value.
std::string_view unitOf(Parameter const& parameter) {
    switch (parameter.type()) {
        case PF_Param_POPUP:
            return "entry";
        case PF_Param_CHECKBOX:
            return "on or off";
        case PF_Param_COLOR:
            return "#rrggbb";
        default:
            return unitOfParameter(parameter.index);
    }
}

bool hasRange(Parameter const& parameter) {
    bool const isList = parameter.type() == PF_Param_POPUP || parameter.type() == PF_Param_CHECKBOX;
    ValueRange const range = validRange(parameter);
    return !isList && range.min != range.max;
}

Json rangeJson(ValueRange const& range) { return {{"min", range.min}, {"max", range.max}}; }

Json defaultJson(Parameter const& parameter) {
    auto const& def = parameter.registered;
    switch (parameter.type()) {
        case PF_Param_CHECKBOX:
            return defaultNumberOf(def) != 0;
        case PF_Param_POPUP:
            return static_cast<int>(defaultNumberOf(def));
        case PF_Param_COLOR:
            return colorText(def.u.cd.dephault);
        case PF_Param_POINT:
            return {{"xPercent", fixedToReal(def.u.td.x_dephault)},
                    {"yPercent", fixedToReal(def.u.td.y_dephault)}};
        default:
            return defaultNumberOf(def);
    }
}

Json parameterJson(Parameter const& parameter) {
    Json json = {{"index", parameter.index},
                 {"name", nameOf(parameter)},
                 {"displayName", parameter.displayName()},
                 {"kind", kindName(parameter.type())}};
    if (parameter.type() != PF_Param_LAYER) {
        json["diskId"] = parameter.diskId();
        json["flags"] = flagNames(parameter.registered);
    }
    if (std::string_view const unit = unitOf(parameter); !unit.empty()) json["unit"] = unit;
    if (parameter.hasValue()) json["default"] = defaultJson(parameter);
    if (hasRange(parameter)) {
        json["valid"] = rangeJson(validRange(parameter));
        json["slider"] = rangeJson(sliderRange(parameter));
    }
    if (!parameter.choices.empty()) json["choices"] = parameter.choices;
    return json;
}

std::string rangeText(Parameter const& parameter) {
    if (!hasRange(parameter)) return {};
    ValueRange const valid = validRange(parameter);
    ValueRange const slider = sliderRange(parameter);
    std::string text = fmt::format("{} to {}", valid.min, valid.max);
    if (slider.min != valid.min || slider.max != valid.max) {
        text += fmt::format(" (slider {} to {})", slider.min, slider.max);
    }
    return text;
}

std::string choicesText(Parameter const& parameter) {
    std::string text;
    for (std::size_t i = 0; i < parameter.choices.size(); ++i) {
        if (isSeparator(parameter.choices[i])) continue;
        text += fmt::format("{}{} {}", text.empty() ? "" : ", ", i + 1, parameter.choices[i]);
    }
    return text;
}

constexpr char const* kRowFormat =
    "{:>5}  {:<28}  {:<22}  {:<12}  {:>7}  {:<13}  {:<19}  {:<33}  {}\n";

std::string parameterRow(Parameter const& parameter) {
    std::string const choices = choicesText(parameter);
    std::string const id =
        parameter.type() == PF_Param_LAYER ? "" : std::to_string(parameter.diskId());
    std::string row = fmt::format(fmt::runtime(kRowFormat), parameter.index, nameOf(parameter),
                                  parameter.displayName(), kindName(parameter.type()), id,
                                  defaultText(parameter), unitOf(parameter), rangeText(parameter),
                                  fmt::join(flagNames(parameter.registered), " "));
    row.erase(row.find_last_not_of(" \n") + 1);
    row += '\n';
    if (!choices.empty()) row += fmt::format("{:7}choices: {}\n", "", choices);
    return row;
}

Json resourceJson(ModuleResource const& resource) {
    return {{"name", resource.name},          {"matchName", resource.matchName},
            {"category", resource.category},  {"entryPoint", resource.entryPoint},
            {"version", resource.version},    {"outFlags", resource.outFlags},
            {"outFlags2", resource.outFlags2}};
}

std::string resourceText(ModuleResource const& resource) {
    Json const values = resourceJson(resource);
    std::string text;
    for (auto const& [key, value] : values.items()) {
        text += value.is_string() ? fmt::format("{:<10}  {}\n", key, value.get<std::string>())
                                  : fmt::format("{:<10}  {:#x}\n", key, value.get<A_u_long>());
    }
    return text;
}

}  // namespace

namespace {

std::string listText(Host const& host, bool isIntroduced) {
    std::string text = isIntroduced ? resourceText(host.resource()) + "\n" : "";
    text += fmt::format(fmt::runtime(kRowFormat), "index", "name", "display name", "kind",
                        "disk id", "default", "unit", "range", "flags");
    for (Parameter const& parameter : host.parameters()) text += parameterRow(parameter);
    return text;
}

Json listJson(Host const& host) {
    Json list = Json::array();
    for (Parameter const& parameter : host.parameters()) list.push_back(parameterJson(parameter));
    return list;
}

}  // namespace

CommandInfo const ParamsCommand::kInfo = {"params", "List the effect's parameters", "[OPTIONS]",
                                          "Examples:\n"
                                          "  zelk params\n"
                                          "  zelk params --json --host KeyG\n"};

void ParamsCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    add.flag("Output", "--json", m_json, "As a JSON array");
    add.flag("Output", "--resource", m_resource,
             "The module's name, version and flags alone, as --module puts them before\n"
             "the table (with --json a JSON object)");
    m_scene.add(add, {"host", "module"});
}

ExitCode ParamsCommand::run(Invocation const&) {
    Scene const scene = m_scene.edited({});
    auto const host = loadModule(scene);
    if (m_resource && m_json)
        print(resourceJson(host->resource()).dump(2) + "\n");
    else if (m_resource)
        print(resourceText(host->resource()));
    else if (m_json)
        print(listJson(*host).dump(2) + "\n");
    else
        print(listText(*host, !scene.module.empty()));
    return ExitCode::kDone;
}

}  // namespace zelk
