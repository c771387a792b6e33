// The utils table: images, handle memory and text.
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

#include "hostkit/compositing.h"
#include "hostkit/host_impl.h"
#include "hostkit/pixel_ops.h"

namespace zelk {
namespace {

PF_Err copyImage(PF_ProgPtr effectRef, PF_EffectWorld* from, PF_EffectWorld* to, PF_Rect* fromRect,
                 PF_Rect* toRect) {
    return answerCall("copy", effectRef, [&](Host::Impl& host) -> PF_Err {
        World const* const source = host.worlds.find(from);
        World* const target = host.worlds.find(to);
        bool const done = source && target && copyPixels(*source, *target, fromRect, toRect);
        return done ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
    });
}

PF_Err fillImage(PF_ProgPtr effectRef, PF_Pixel const* color, PF_Rect const* rect,
                 PF_EffectWorld* record) {
    return answerCall("fill", effectRef, [&](Host::Impl& host) -> PF_Err {
        World* const world = host.worlds.find(record);
        if (!world) return PF_Err_BAD_CALLBACK_PARAM;
        fillPixels(*world, color, rect);
        return PF_Err_NONE;
    });
}

PF_Err newWorld(PF_ProgPtr effectRef, A_long width, A_long height, A_long flags,
                PF_EffectWorld* record) {
    return answerCall("new_world", effectRef, [&](Host::Impl& host) {
        Depth const depth = flags & PF_NewWorldFlag_DEEP_PIXELS ? Depth::k16 : Depth::k8;
        return host.makeWorld(host.worldSpec(width, height, depth),
                              flags & PF_NewWorldFlag_CLEAR_PIXELS, record);
    });
}

PF_Err disposeWorld(PF_ProgPtr effectRef, PF_EffectWorld* record) {
    return answerCall("dispose_world", effectRef,
                      [&](Host::Impl& host) { return host.disposeWorld("dispose_world", record); });
}

/// PF_Err_BAD_CALLBACK_PARAM when `compose()` answers false; a lack of memory is a code, too.
template <class Compose>
PF_Err composed(Compose&& compose) {
    try {
        return compose() ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
    } catch (std::bad_alloc const&) {
        return PF_Err_OUT_OF_MEMORY;
    } catch (HostError const& error) {
        return error.code();
    }
}

/// Neither quality nor field nor flags matter: whole frames of straight colour, pixel on pixel.
PF_Err transferRect(PF_ProgPtr effectRef, A_long /*quality*/, A_long /*modeFlags*/,
                    A_long /*field*/, PF_Rect const* sourceRect, PF_EffectWorld const* source,
                    PF_CompositeMode const* mode, PF_MaskWorld const* mask, A_long x, A_long y,
                    PF_EffectWorld* destination) {
    return answerCall("transfer_rect", effectRef, [&](Host::Impl& host) {
        World const* const from = host.worlds.find(source);
        World* const to = host.worlds.find(destination);
        return composed([&] {
            return from && to && mode && !mask &&
                   transferPixels(*from, sourceRect, *mode, x, y, *to);
        });
    });
}

PF_Err transformWorld(PF_ProgPtr effectRef, A_long quality, A_long /*modeFlags*/, A_long /*field*/,
                      PF_EffectWorld const* source, PF_CompositeMode const* mode,
                      PF_MaskWorld const* mask, PF_FloatMatrix const* matrices, A_long matrixCount,
                      PF_Boolean sourceToDestination, PF_Rect const* rect,
                      PF_EffectWorld* destination) {
    return answerCall("transform_world", effectRef, [&](Host::Impl& host) -> PF_Err {
        World const* const from = host.worlds.find(source);
        World* const to = host.worlds.find(destination);
        if (!from || !to || !mode || mask || !matrices || matrixCount != 1)
            return PF_Err_BAD_CALLBACK_PARAM;
        auto const map = pixelMap(*matrices, sourceToDestination != 0);
        auto const sampling = quality == PF_Quality_HI ? Sampling::kBilinear : Sampling::kNearest;
        return composed(
            [&] { return map && transformPixels(*from, *map, sampling, *mode, rect, *to); });
    });
}

template <class Pixel>
PF_Err pixelData(std::string_view name, Depth depth, PF_EffectWorld* record, void* pixels,
                 Pixel** address) {
    if (address) *address = nullptr;
    return answerCall(name, [&](Host::Impl& host) -> PF_Err {
        World* const world = host.worlds.find(record);
        if (!world || !address) return PF_Err_BAD_CALLBACK_PARAM;
        if (world->depth() == depth) *address = static_cast<Pixel*>(pixels ? pixels : record->data);
        return PF_Err_NONE;
    });
}

PF_Err getPixelData8(PF_EffectWorld* record, void* pixels, PF_Pixel8** address) {
    return pixelData("get_pixel_data8", Depth::k8, record, pixels, address);
}

PF_Err getPixelData16(PF_EffectWorld* record, void* pixels, PF_Pixel16** address) {
    return pixelData("get_pixel_data16", Depth::k16, record, pixels, address);
}

PF_Handle newHandle(std::uint64_t bytes) {
    PF_Handle handle = nullptr;
    answerCall("host_new_handle", [&](Host::Impl& host) {
        handle = host.handles.make(bytes);
        return PF_Err_NONE;
    });
    return handle;
}

void* lockHandle(PF_Handle handle) {
    void* address = nullptr;
    answerCall("host_lock_handle", [&](Host::Impl& host) {
        address = host.handles.lock(handle);
        return PF_Err_NONE;
    });
    return address;
}

void unlockHandle(PF_Handle handle) {
    answerCall("host_unlock_handle", [&](Host::Impl& host) {
        // Without host_new_handle an effect's blocks are the system's, unknown here.
        if (!host.handles.unlock(handle) && host.options.offerHandleCallbacks)
            host.monitor.noteMistake("host_unlock_handle: not a handle of the host's");
        return PF_Err_NONE;
    });
}

void disposeHandle(PF_Handle handle) {
    answerCall("host_dispose_handle", [&](Host::Impl& host) {
        if (!host.handles.dispose(handle))
            host.monitor.noteMistake("host_dispose_handle: not a handle of the host's");
        return PF_Err_NONE;
    });
}

/// Bytes that a text at `to` may take: known for the two texts of the command's PF_OutData.
std::size_t roomAt(Host::Impl const& host, A_char const* to) {
    constexpr std::size_t kUnknown = 1u << 30;
    auto const left = [to](auto const& text, std::size_t otherwise) {
        A_char const* const end = text + sizeof text;
        return to >= text && to < end ? static_cast<std::size_t>(end - to) : otherwise;
    };
    return left(host.running.outData->return_msg, left(host.running.outData->name, kUnknown));
}

void noteCutText(Host::Impl& host, std::string_view name) {
    host.monitor.noteMistake(std::string(name) + ": a text longer than its place, cut");
}

A_char* copyText(A_char* to, A_char const* from) {
    A_char* result = nullptr;
    answerCall("strcpy", [&](Host::Impl& host) -> PF_Err {
        if (!to || !from) return PF_Err_BAD_CALLBACK_PARAM;
        std::size_t const room = roomAt(host, to);
        std::size_t length = std::strlen(from);
        if (length >= room) {
            noteCutText(host, "strcpy");
            length = room - 1;
        }
        std::memmove(to, from, length);
        to[length] = 0;
        result = to;
        return PF_Err_NONE;
    });
    return result;
}

int printText(A_char* to, A_char const* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    int length = -1;
    PF_Err const code = answerCall("sprintf", [&](Host::Impl& host) -> PF_Err {
        if (!to || !format) return PF_Err_BAD_CALLBACK_PARAM;
        std::size_t const room = roomAt(host, to);
        length = std::vsnprintf(to, room, format, arguments);
        if (length >= 0 && static_cast<std::size_t>(length) >= room) noteCutText(host, "sprintf");
        return PF_Err_NONE;
    });
    va_end(arguments);
    return code == PF_Err_NONE ? length : code;
}

}  // namespace

PF_UtilCallbacks utilCallbacks(HostOptions const& options) {
    PF_UtilCallbacks utils{};
    utils.copy = copyImage;
    utils.fill = fillImage;
    utils.new_world = newWorld;
    utils.dispose_world = disposeWorld;
    utils.transfer_rect = transferRect;
    utils.transform_world = transformWorld;
    utils.get_pixel_data8 = getPixelData8;
    utils.get_pixel_data16 = getPixelData16;
    if (options.offerHandleCallbacks) {
        utils.host_new_handle = newHandle;
        utils.host_lock_handle = lockHandle;
        utils.host_dispose_handle = disposeHandle;
    }
    if (options.offerUnlockCallback) utils.host_unlock_handle = unlockHandle;
    utils.ansi.strcpy = copyText;
    utils.ansi.sprintf = printText;
    return utils;
}

}  // namespace zelk
