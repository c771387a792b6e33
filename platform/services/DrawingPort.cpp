// The current port: its backend, its pen and its colours.
#include "platform/services/DrawingPort.h"

namespace {

constexpr RGBColor kBlack = {0, 0, 0};
constexpr RGBColor kWhite = {65535, 65535, 65535};

struct Port {
    DrawingPortBackend const* backend = nullptr;
    RGBColor fore = kBlack, back = kWhite;
    short penX = 0, penY = 0;
};
Port port;

}  // namespace

DrawingPortBackend const* installDrawingPortBackend(DrawingPortBackend const* backend) {
    DrawingPortBackend const* const former = port.backend;
    port = {};
    port.backend = backend;
    return former;
}

void RGBForeColor(RGBColor const* color) { port.fore = *color; }
void RGBBackColor(RGBColor const* color) { port.back = *color; }
void GetForeColor(RGBColor* color) { *color = port.fore; }
void GetBackColor(RGBColor* color) { *color = port.back; }

void MoveTo(short x, short y) {
    port.penX = x;
    port.penY = y;
}

void LineTo(short x, short y) {
    if (DrawingPortBackend const* const b = port.backend)
        b->line(b->context, port.penX, port.penY, x, y, &port.fore);
    MoveTo(x, y);
}

void DrawString(unsigned char const* pascalString) {
    DrawingPortBackend const* const b = port.backend;
    if (!b) return;
    auto const* const text = reinterpret_cast<char const*>(pascalString + 1);
    port.penX = static_cast<short>(
        port.penX + b->text(b->context, port.penX, port.penY, text, pascalString[0], &port.fore));
}
