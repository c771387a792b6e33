// A modal window of the desktop system: a picture and two lines of text that wait for the user.
//
// The record says what to show; an application installs what shows it. Lengths are pixels, y down.
// Everything here belongs to the one thread that draws.
#pragma once

#include <cstdint>

#include "platform/services/Export.h"

extern "C" {

/// One line of plain text, the start of its baseline measured from the window's lower left corner.
struct ModalWindowLine {
    char text[256];  ///< ends with a zero byte
    int leftPx, aboveBottomPx;
};

struct ModalWindow {
    int widthPx, heightPx;
    std::intptr_t pictureId;  ///< of a picture resource that fills the window but for the inset
    int pictureInsetPx;
    char const* fontFamily;
    int fallbackFont;  ///< number of the font where the family isn't found
    int fontSizePt;
    int textColor;       ///< number in the system's palette of eight
    int closingKeys[2];  ///< characters that close the window, as a mouse press does
    ModalWindowLine lines[2];
};

/// Upper left corner of a window on its screen.
struct ModalWindowPlace {
    int leftPx, topPx;
};

/// Centred horizontally, a third of the free height above; 0 where the screen is too small.
ZELK_SERVICES_API ModalWindowPlace placeOfModalWindow(ModalWindow const* window, int screenWidthPx,
                                                      int screenHeightPx);

/// Shows a window and returns when a mouse press or one of its keys closed it.
struct ModalWindowBackend {
    void* context;
    void (*show)(void* context, ModalWindow const* window);
};

/// `backend` stays the caller's and is used until another, or null, takes its place.
ZELK_SERVICES_API void installModalWindowBackend(ModalWindowBackend const* backend);

/// By the installed backend; with none it returns at once.
ZELK_SERVICES_API void showModalWindow(ModalWindow const* window);
}
