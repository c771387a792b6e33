// Every instruction set that this machine and Highway share, forced in turn.
#pragma once

#include <gtest/gtest.h>
#include <hwy/highway.h>

#include "Transform/Common/Transform_Core_Render/LineFuncSimd.h"

namespace zelk {

/// Calls `check` with each target forced, and fails where another one answers.
template <class Check>
void onEveryTarget(Check check) {
    for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
        SCOPED_TRACE(hwy::TargetName(target));
        hwy::SetSupportedTargetsForTest(target);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
        EXPECT_STREQ(lineFuncSimdTarget(), hwy::TargetName(target));
        check();
    }
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

}  // namespace zelk
