// A drawing port that writes down what is drawn, one line each: "line 1,2 3,4 ffff00" and
// "text 5,6 NAME ffff00", colours as the upper halves of their channels.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "platform/services/DrawingPort.h"

namespace zelk_test {

class RecordingPort {
public:
    RecordingPort() : m_outer(installDrawingPortBackend(&m_backend)) {}
    ~RecordingPort() { installDrawingPortBackend(m_outer); }
    RecordingPort(RecordingPort const&) = delete;
    RecordingPort& operator=(RecordingPort const&) = delete;

    std::vector<std::string> calls;

    static constexpr short kTextWidth = 40;

private:
    template <class... Numbers>
    void note(RGBColor const& color, char const* format, Numbers... numbers) {
        char text[400], hex[8];
        std::snprintf(text, sizeof text, format, numbers...);
        std::snprintf(hex, sizeof hex, " %02x%02x%02x", color.red >> 8, color.green >> 8,
                      color.blue >> 8);
        calls.push_back(std::string(text) + hex);
    }

    DrawingPortBackend m_backend = {
        this,
        [](void* self, short x0, short y0, short x1, short y1, RGBColor const* color) {
            static_cast<RecordingPort*>(self)->note(*color, "line %d,%d %d,%d", x0, y0, x1, y1);
        },
        [](void* self, short x, short y, char const* text, int length, RGBColor const* color) {
            static_cast<RecordingPort*>(self)->note(*color, "text %d,%d %.*s", x, y, length, text);
            return kTextWidth;
        }};
    DrawingPortBackend const* m_outer;
};

}  // namespace zelk_test
