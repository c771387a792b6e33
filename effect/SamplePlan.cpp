// The motion blur decision; see the header.
#include "effect/SamplePlan.h"

#include "Transform/Common/SaturatingCast.h"
#include "platform/effect_api/effect_types.h"

SamplePlan planSamples(PluginHost_API* host, RenderArguments const& args, std::int32_t motionBlur) {
    int const now = host->getCurrentTime();
    int const timeStep = host->getTimeStep();
    SamplePlan plan;
    plan.start = now;
    if (motionBlur == kMotionBlurOff) return plan;

    double angle = args.shutterAngle / 360, phase = args.shutterPhase / 360;
    if (motionBlur == kMotionBlurComp && host->getAEHost() &&
        host->isApplication(kAppAfterEffects)) {
        angle = host->getShutterAngle();
        phase = host->getShutterPhase();
    }
    int const samples = truncatedToInt32(args.samples + 0.5);
    plan.start = truncatedToInt32(now + timeStep * phase);
    plan.blurOn = angle != 0 && samples >= 2;
    plan.readsAtTime = plan.blurOn || plan.start != now;
    if (plan.blurOn) {
        plan.samples = samples;
        plan.step = angle * timeStep / samples;
    }
    return plan;
}
