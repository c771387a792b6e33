// The way to all suites, and those of images and colours. One row of a table for each suite that
// hostkit offers; the others are in files of their own.
#include <cstring>

#include "hostkit/host_impl.h"

namespace zelk {
namespace {

bool specOfFormat(PF_PixelFormat format, WorldSpec& spec) {
    struct Row {
        PF_PixelFormat format;
        Depth depth;
        bool bgra;
    };
    constexpr Row kRows[] = {
        {PF_PixelFormat_ARGB32, Depth::k8, false},
        {PF_PixelFormat_BGRA32, Depth::k8, true},
        {PF_PixelFormat_ARGB64, Depth::k16, false},
        {PF_PixelFormat_ARGB128, Depth::kFloat, false},
    };
    for (Row const& row : kRows) {
        if (row.format != format) continue;
        spec.depth = row.depth;
        spec.bgra = row.bgra;
        return true;
    }
    return false;
}

PF_Err suiteNewWorld(PF_ProgPtr effectRef, A_long width, A_long height, PF_Boolean clear,
                     PF_PixelFormat format, PF_EffectWorld* record) {
    return answerCall("PF World Suite 2/PF_NewWorld", effectRef, [&](Host::Impl& host) -> PF_Err {
        WorldSpec wanted;
        if (!specOfFormat(format, wanted) || !host.options.identity.isModern())
            return PF_Err_BAD_CALLBACK_PARAM;
        WorldSpec spec = host.worldSpec(width, height, wanted.depth);
        spec.bgra = wanted.bgra;
        return host.makeWorld(spec, clear != 0, record);
    });
}

PF_Err suiteDisposeWorld(PF_ProgPtr effectRef, PF_EffectWorld* record) {
    return answerCall("PF World Suite 2/PF_DisposeWorld", effectRef, [&](Host::Impl& host) {
        return host.disposeWorld("PF_DisposeWorld", record);
    });
}

PF_Err suitePixelFormat(PF_EffectWorld const* record, PF_PixelFormat* format) {
    return answerCall("PF World Suite 2/PF_GetPixelFormat", [&](Host::Impl& host) -> PF_Err {
        World const* const world = host.worlds.find(record);
        if (!world || !format) return PF_Err_BAD_CALLBACK_PARAM;
        *format = world->pixelFormat();
        return PF_Err_NONE;
    });
}

PF_Err suiteFloatColor(PF_ProgPtr effectRef, PF_ParamDef const* def, PF_PixelFloat* result) {
    return answerCall(
        "PF ColorParamSuite 1/PF_GetFloatingPointColorFromColorDef", effectRef,
        [&](Host::Impl&) -> PF_Err {
            if (!def || !result || def->param_type != PF_Param_COLOR)
                return PF_Err_BAD_CALLBACK_PARAM;
            auto const unit = [](A_u_char c) { return static_cast<float>(c) / 255; };
            PF_Pixel const color = def->u.cd.value;
            *result = {unit(color.alpha), unit(color.red), unit(color.green), unit(color.blue)};
            return PF_Err_NONE;
        });
}

constexpr PF_WorldSuite2 kWorldSuite = {suiteNewWorld, suiteDisposeWorld, suitePixelFormat};
constexpr PF_ColorParamSuite1 kColorParamSuite = {suiteFloatColor};

constexpr OfferedSuite kImageSuites[] = {
    {kPFWorldSuite, kPFWorldSuiteVersion2, &kWorldSuite, true},
    {kPFColorParamSuite, kPFColorParamSuiteVersion1, &kColorParamSuite},
};

void const* offeredSuite(Host::Impl const& host, char const* name, A_long version) {
    for (std::span<OfferedSuite const> const list :
         {std::span<OfferedSuite const>(kImageSuites), projectSuites(), keyframeSuites(),
          toolSuites(), controlSuites()})
        for (OfferedSuite const& suite : list)
            if (suite.version == version && std::strcmp(suite.name, name) == 0)
                return suite.modernOnly && !host.options.identity.isModern() ? nullptr
                                                                             : suite.table;
    return nullptr;
}

std::string callName(char const* verb, char const* name, A_long version) {
    return std::string(verb) + " " + (name ? name : "(null)") + " " + std::to_string(version);
}

A_long acquireSuite(char const* name, A_long version, void const** suite) {
    if (suite) *suite = nullptr;
    return answerCall(callName("AcquireSuite", name, version), [&](Host::Impl& host) -> PF_Err {
        void const* const table = name && suite ? offeredSuite(host, name, version) : nullptr;
        if (!table) return PF_Err_BAD_CALLBACK_PARAM;
        *suite = table;
        ++host.heldSuites[{name, version}];
        ++host.monitor.outstanding.suites;
        return PF_Err_NONE;
    });
}

A_long releaseSuite(char const* name, A_long version) {
    std::string const call = callName("ReleaseSuite", name, version);
    return answerCall(call, [&](Host::Impl& host) -> PF_Err {
        auto const held = host.heldSuites.find({name ? name : "", version});
        if (held == host.heldSuites.end()) {
            host.monitor.noteMistake(call + ": not acquired");
            return PF_Err_BAD_CALLBACK_PARAM;
        }
        if (--held->second == 0) host.heldSuites.erase(held);
        --host.monitor.outstanding.suites;
        return PF_Err_NONE;
    });
}

constexpr SPBasicSuite kBasicSuite = {acquireSuite, releaseSuite};

}  // namespace

SPBasicSuite const* basicSuite() { return &kBasicSuite; }

}  // namespace zelk
