// The border of the binary: no exception crosses it, every one becomes a status.
#pragma once

#include <new>

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

}  // namespace zelk::bindings
