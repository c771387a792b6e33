// Handle memory of the desktop system, for hosts that lend no handle callbacks.
//
// A handle is the address of a pointer to the bytes. Blocks never move here, locked or not, so a
// lock only keeps the pairing that callers owe on systems where they do.
#pragma once

#include <cstddef>

#include "platform/services/Export.h"

extern "C" {

/// A block of `bytes` zero bytes, or null when there is no memory. DisposeHandle gives it back.
ZELK_SERVICES_API void** NewHandle(std::size_t bytes);
/// From here to HUnlock `*handle` stays where it is. A null handle is let pass, here as below.
ZELK_SERVICES_API void HLock(void** handle);
ZELK_SERVICES_API void HUnlock(void** handle);
ZELK_SERVICES_API void DisposeHandle(void** handle);
}
