// The streams of the effect's parameters, and the keyframes in them.
//
// Values at this interface: a point in layer pixels at full resolution, a colour's channels from 0
// to 1, any other kind as one number in users' units.
#include <new>

#include "hostkit/host_impl.h"

namespace zelk {
namespace {

constexpr double kWhite = 255;  // of a colour's channels in a track

AEGP_StreamVal streamValOf(PF_ParamType type, KeyValue const& value) {
    AEGP_StreamVal val{};
    if (type == PF_Param_POINT)
        val.two_d = {value[0], value[1]};
    else if (type == PF_Param_COLOR)
        val.color = {value[0] / kWhite, value[1] / kWhite, value[2] / kWhite, value[3] / kWhite};
    else
        val.one_d = value[0];
    return val;
}

KeyValue keyValueOfStream(PF_ParamType type, AEGP_StreamVal const& val) {
    if (type == PF_Param_POINT) return {val.two_d.x, val.two_d.y};
    if (type == PF_Param_COLOR)
        return {val.color.alpha * kWhite, val.color.red * kWhite, val.color.green * kWhite,
                val.color.blue * kWhite};
    return {val.one_d};
}

/// The parameter that may vary in time at `index`; null for any other.
Parameter* varyingParameter(Host::Impl& host, A_long index) {
    Parameter* const parameter = findParameter(host.parameters, index);
    return parameter && parameter->canVaryInTime() ? parameter : nullptr;
}

/// `body(host, parameter)` for the parameter of an open stream. What a track refuses is a code.
template <class Body>
PF_Err answerStreamCall(std::string_view name, AEGP_StreamRefH stream, Body&& body) {
    return answerCall(name, [&](Host::Impl& host) -> PF_Err {
        Parameter* const parameter =
            varyingParameter(host, host.project.parameterOf(stream).value_or(-1));
        if (!parameter) return kRefused;
        try {
            return body(host, *parameter);
        } catch (HostError const&) {
            return kRefused;
        } catch (std::bad_alloc const&) {
            return PF_Err_OUT_OF_MEMORY;
        }
    });
}

A_Err getNewEffectStreamByIndex(AEGP_PluginID, AEGP_EffectRefH effect, A_long index,
                                AEGP_StreamRefH* stream) {
    return answerCall("AEGP Stream Suite 7/AEGP_GetNewEffectStreamByIndex",
                      [&](Host::Impl& host) -> PF_Err {
                          if (!stream || !host.project.isOpen(effect)) return kRefused;
                          if (!varyingParameter(host, index)) return kRefused;
                          *stream = host.project.openStream(index);
                          return PF_Err_NONE;
                      });
}

A_Err disposeStream(AEGP_StreamRefH stream) {
    return answerCall("AEGP Stream Suite 7/AEGP_DisposeStream", [&](Host::Impl& host) {
        return host.project.closeStream("AEGP_DisposeStream", stream);
    });
}

A_Err disposeStreamValue(AEGP_StreamValue* value) {
    return answerCall("AEGP Stream Suite 7/AEGP_DisposeStreamValue", [&](Host::Impl& host) {
        return host.project.takeValue("AEGP_DisposeStreamValue", value);
    });
}

A_Err insertKeyframe(AEGP_StreamRefH stream, AEGP_LTimeMode mode, A_Time const* time,
                     A_long* index) {
    return answerStreamCall("AEGP Keyframe Suite 3/AEGP_InsertKeyframe", stream,
                            [&](Host::Impl&, Parameter& parameter) -> PF_Err {
                                // Comp time is this clock only where a layer starts at 0.
                                if (mode != AEGP_LTimeMode_LayerTime || !time || !index)
                                    return kRefused;
                                *index = static_cast<A_long>(parameter.editTrack().insert(
                                    {time->value, time->scale}, keyValueOf(parameter.current)));
                                return PF_Err_NONE;
                            });
}

A_Err getNewKeyframeValue(AEGP_PluginID, AEGP_StreamRefH stream, A_long index,
                          AEGP_StreamValue* value) {
    return answerStreamCall(
        "AEGP Keyframe Suite 3/AEGP_GetNewKeyframeValue", stream,
        [&](Host::Impl& host, Parameter& parameter) -> PF_Err {
            auto const& keys = parameter.track().keys();
            if (!value || index < 0 || static_cast<std::size_t>(index) >= keys.size())
                return kRefused;
            Keyframe const& key = keys[static_cast<std::size_t>(index)];
            *value = {stream, streamValOf(parameter.type(), key.value)};
            host.project.lendValue(value);
            return PF_Err_NONE;
        });
}

A_Err setKeyframeValue(AEGP_StreamRefH stream, A_long index, AEGP_StreamValue const* value) {
    return answerStreamCall("AEGP Keyframe Suite 3/AEGP_SetKeyframeValue", stream,
                            [&](Host::Impl&, Parameter& parameter) -> PF_Err {
                                if (!value || value->stream != stream || index < 0) return kRefused;
                                parameter.editTrack().setValue(
                                    static_cast<std::size_t>(index),
                                    keyValueOfStream(parameter.type(), value->val));
                                return PF_Err_NONE;
                            });
}

constexpr AEGP_StreamSuite7 kStreamSuite7 = {getNewEffectStreamByIndex, disposeStream,
                                             disposeStreamValue};
constexpr AEGP_KeyframeSuite3 kKeyframeSuite = {insertKeyframe, getNewKeyframeValue,
                                                setKeyframeValue};

constexpr OfferedSuite kKeyframeSuites[] = {
    {kAEGPStreamSuite, kAEGPStreamSuiteVersion7, &kStreamSuite7},
    {kAEGPKeyframeSuite, kAEGPKeyframeSuiteVersion3, &kKeyframeSuite},
};

}  // namespace

std::span<OfferedSuite const> keyframeSuites() { return kKeyframeSuites; }

}  // namespace zelk
