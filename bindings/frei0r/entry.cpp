// The functions that a frei0r host calls, for the plug-in that this file is compiled for: with a
// plate (a mixer of two, the plate first) or without (a filter).
//
// Nothing thrown leaves them: hosts are written in C.
#pragma GCC visibility push(default)
extern "C" {
#include <frei0r.h>
}
#pragma GCC visibility pop

#include "bindings/frei0r/instance.h"

namespace {

constexpr bool kHasPlate = ZELK_FREI0R_HAS_PLATE;

zelk::bindings::Frei0rInstance* instanceOf(f0r_instance_t instance) {
    return static_cast<zelk::bindings::Frei0rInstance*>(instance);
}

}  // namespace

/// The lists are made here, once, so that no later question of a host can lack memory for them.
int f0r_init() try {
    zelk::bindings::frei0rParameters(kHasPlate);
    zelk::bindings::defaultControlValues();
    return 1;
} catch (...) {
    return 0;
}

void f0r_deinit() {}

void f0r_get_plugin_info(f0r_plugin_info_t* info) try {
    *info = {};
    *info = zelk::bindings::frei0rPluginInfo(kHasPlate);
} catch (...) {
}

void f0r_get_param_info(f0r_param_info_t* info, int position) try {
    *info = {};
    auto const& parameters = zelk::bindings::frei0rParameters(kHasPlate);
    if (position < 0 || position >= static_cast<int>(parameters.size())) return;
    zelk::bindings::Frei0rParameter const& parameter =
        parameters[static_cast<std::size_t>(position)];
    info->name = parameter.name.c_str();
    info->type = parameter.type;
    info->explanation = parameter.help.c_str();
} catch (...) {
}

f0r_instance_t f0r_construct(unsigned width, unsigned height) try {
    constexpr unsigned kMost = (1 << 15) - 1;  // what a corner's 16.16 holds
    if (!width || !height || width > kMost || height > kMost) return nullptr;
    return new zelk::bindings::Frei0rInstance(static_cast<int>(width), static_cast<int>(height),
                                              kHasPlate);
} catch (...) {
    return nullptr;
}

// Some hosts go on with the null of an instance that could not be made.

void f0r_destruct(f0r_instance_t instance) { delete instanceOf(instance); }

void f0r_set_param_value(f0r_instance_t instance, f0r_param_t value, int position) try {
    if (instance) instanceOf(instance)->set(position, value);
} catch (...) {
}

void f0r_get_param_value(f0r_instance_t instance, f0r_param_t value, int position) {
    if (instance) instanceOf(instance)->get(position, value);
}

void f0r_update2(f0r_instance_t instance, double, uint32_t const* first, uint32_t const* second,
                 uint32_t const*, uint32_t* output) {
    if (!instance) return;
    if (kHasPlate)
        instanceOf(instance)->render(second, first, output);
    else
        instanceOf(instance)->render(first, nullptr, output);
}

void f0r_update(f0r_instance_t instance, double time, uint32_t const* frame, uint32_t* output) {
    f0r_update2(instance, time, frame, nullptr, nullptr, output);
}
