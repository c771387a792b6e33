// The installed backend and the window's place.
#include "platform/services/ModalWindow.h"

#include <algorithm>

namespace {
ModalWindowBackend const* installed = nullptr;
}

ModalWindowPlace placeOfModalWindow(ModalWindow const* window, int screenWidthPx,
                                    int screenHeightPx) {
    return {std::max(0, (screenWidthPx - window->widthPx) / 2),
            std::max(0, (screenHeightPx - window->heightPx) / 3)};
}

void installModalWindowBackend(ModalWindowBackend const* backend) { installed = backend; }

void showModalWindow(ModalWindow const* window) {
    if (installed) installed->show(installed->context, window);
}
