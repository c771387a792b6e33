// The border of the binary: no exception crosses it, every one becomes a status that the action may
// answer.
#pragma once

#include <new>
#include <string_view>

#include "bindings/openfx/suites.h"

namespace zelk::bindings {

template <class Body>
OfxStatus guarded(Body const& body) noexcept {
    try {
        return body();
    } catch (OfxFailure const& failure) {
        return failure.status;
    } catch (std::bad_alloc const&) {
        return kOfxStatErrMemory;
    } catch (...) {
        return kOfxStatFailed;
    }
}

/// What an action answers for a body's status. Hosts know Memory of the image effect's own actions,
/// of the describe actions and of new instances, MissingHostFeature of the describe actions; pens,
/// keys and the focus can't fail: they are left to others.
inline OfxStatus answerOf(std::string_view action, OfxStatus status) {
    if (status == kOfxStatOK || status == kOfxStatReplyDefault) return status;
    if (action.starts_with("OfxInteractAction") && action != kOfxInteractActionDraw)
        return kOfxStatReplyDefault;
    bool const describes =
        action == kOfxActionDescribe || action == kOfxImageEffectActionDescribeInContext;
    if (status == kOfxStatErrMissingHostFeature && describes) return status;
    if (status == kOfxStatErrMemory && (describes || action == kOfxActionCreateInstance ||
                                        action.starts_with("OfxImageEffectAction")))
        return status;
    return kOfxStatFailed;
}

}  // namespace zelk::bindings
