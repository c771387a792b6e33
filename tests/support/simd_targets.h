// Every instruction set that this machine and Highway share, forced in turn.
#pragma once

#include <gtest/gtest.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "Transform/Common/Transform_Core_Render/LineFuncSimd.h"

namespace zelk {

/// To the bit; not a number equals not a number.
template <class T>
bool same(std::vector<T> const& a, std::vector<T> const& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](T p, T q) {
        return std::memcmp(&p, &q, sizeof(T)) == 0 || (p != p && q != q);
    });
}

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
