// Values that change at a moment.
#include "hostkit/changed_values.h"

#include "hostkit/host_impl.h"

namespace zelk {

void setValueAt(Parameter& parameter, KeyTime const& moment, KeyValue const& value) {
    if (parameter.track().empty()) {
        setKeyValue(parameter.current, value);
        return;
    }
    KeyframeTrack& track = parameter.editTrack();
    track.setValue(track.insert(moment, value), value);
}

void Host::Impl::takeBackChanges(PF_ParamDef* const* values) {
    if (!values) return;
    FrameRequest const& frame = running.scene->frame;
    KeyTime const moment = keyTimeOf(frame.time, frame.timeBase.scale);
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        PF_ParamDef def = *values[i];
        if (!parameters[i].hasValue() || !(def.uu.change_flags & PF_ChangeFlag_CHANGED_VALUE))
            continue;
        def.param_type = parameters[i].type();
        setValueAt(parameters[i], moment, keyValueOf(def));
    }
}

}  // namespace zelk
