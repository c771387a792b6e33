// Drawing of the desktop system: coloured lines and text in the current port.
//
// Space: pixels of the port, y down. The port has a pen, a foreground and a background colour; an
// application makes a port current by installing what draws in it. With none installed the pen and
// the colours work and nothing is drawn.
// Everything here belongs to the one thread that draws.
#pragma once

#include "platform/services/Export.h"

extern "C" {

/// A colour of 16 bits a channel, white 65535.
struct RGBColor {
    unsigned short red, green, blue;
};

/// How a port draws.
struct DrawingPortBackend {
    void* context;
    /// Both ends included.
    void (*line)(void* context, short fromX, short fromY, short toX, short toY,
                 RGBColor const* color);
    /// `length` bytes that end nowhere else, their baseline starting at x, y. Answers how far the
    /// pen moves to the right, pixels.
    short (*text)(void* context, short x, short y, char const* text, int length,
                  RGBColor const* color);
};

/// Makes a port current: its pen at 0, 0, its foreground black, its background white. `backend`
/// stays the caller's and is used until another, or null, takes its place. Answers the former one.
ZELK_SERVICES_API DrawingPortBackend const* installDrawingPortBackend(
    DrawingPortBackend const* backend);

ZELK_SERVICES_API void RGBForeColor(RGBColor const* color);
ZELK_SERVICES_API void RGBBackColor(RGBColor const* color);
ZELK_SERVICES_API void GetForeColor(RGBColor* color);
ZELK_SERVICES_API void GetBackColor(RGBColor* color);

/// Moves the pen.
ZELK_SERVICES_API void MoveTo(short x, short y);
/// Draws a line in the foreground colour from the pen to a point, where the pen stays.
ZELK_SERVICES_API void LineTo(short x, short y);
/// Draws a length byte's number of characters at the pen, which moves to their end.
ZELK_SERVICES_API void DrawString(unsigned char const* pascalString);
}
