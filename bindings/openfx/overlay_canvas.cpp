// The two canvases. OpenGL is looked up in the process, so that a farm needs none.
#include "bindings/openfx/overlay_canvas.h"

#include <dlfcn.h>

#include <string>

namespace zelk::bindings {

namespace {

class DrawSuiteCanvas final : public OverlayCanvas {
public:
    explicit DrawSuiteCanvas(OfxDrawContextHandle context) : m_context(context) {
        suites().draw->setLineWidth(m_context, 0);
    }
    void setColor(OfxRGBAColourF const& color) override {
        suites().draw->setColour(m_context, &color);
    }
    void line(OfxPointD const& from, OfxPointD const& to) override {
        OfxPointD const ends[] = {from, to};
        suites().draw->draw(m_context, kOfxDrawPrimitiveLines, ends, 2);
    }
    void text(OfxPointD const& at, std::string_view text) override {
        suites().draw->drawText(m_context, std::string(text).c_str(), &at,
                                kOfxDrawTextAlignmentLeft | kOfxDrawTextAlignmentBaseline);
    }

private:
    OfxDrawContextHandle m_context;
};

/// The functions of OpenGL 1.1 that lines need.
struct OpenGl {
    void (*pushAttrib)(unsigned) = nullptr;
    void (*popAttrib)() = nullptr;
    void (*disable)(unsigned) = nullptr;
    void (*lineWidth)(float) = nullptr;
    void (*color)(float, float, float, float) = nullptr;
    void (*begin)(unsigned) = nullptr;
    void (*end)() = nullptr;
    void (*vertex)(double, double) = nullptr;
};

template <class Function>
bool find(void* library, char const* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    return function != nullptr;
}

OpenGl const* openGl() {
    static OpenGl gl;
    static bool const isThere = [] {
        void* const library = dlopen("libGL.so.1", RTLD_LAZY | RTLD_NOLOAD);
        return library && find(library, "glPushAttrib", gl.pushAttrib) &&
               find(library, "glPopAttrib", gl.popAttrib) &&
               find(library, "glDisable", gl.disable) &&
               find(library, "glLineWidth", gl.lineWidth) && find(library, "glColor4f", gl.color) &&
               find(library, "glBegin", gl.begin) && find(library, "glEnd", gl.end) &&
               find(library, "glVertex2d", gl.vertex);
    }();
    return isThere ? &gl : nullptr;
}

/// The letters of the labels, in strokes on a grid of 4 by 6, y up, two digits a point, a blank
/// between strokes.
struct Glyph {
    char letter;
    char const* strokes;
};
constexpr Glyph kGlyphs[] = {
    {'F', "000646 0333"},
    {'T', "0646 2620"},
    {'P', "00063645443303"},
    {'U', "060110304146"},
    {'L', "060040"},
    {'R', "00063645443303 2340"},
    {'-', "1333"},
    {'r', "0004 021434"},
    {'o', "0103143443413010 1001"},
    {'m', "0004 03142320 23344340"},
    {'i', "2024 2526"},
    {'n', "0004 0314344340"},
};

class OpenGlCanvas final : public OverlayCanvas {
public:
    OpenGlCanvas(OpenGl const& gl, OfxPointD const& pixel) : m_gl(gl), m_pixel(pixel) {
        constexpr unsigned kAllAttributes = 0x000FFFFF, kTexture2d = 0x0DE1, kLighting = 0x0B50,
                           kDepthTest = 0x0B71;
        m_gl.pushAttrib(kAllAttributes);
        for (unsigned const state : {kTexture2d, kLighting, kDepthTest}) m_gl.disable(state);
        m_gl.lineWidth(1);
    }
    ~OpenGlCanvas() override { m_gl.popAttrib(); }
    void setColor(OfxRGBAColourF const& color) override {
        m_gl.color(color.r, color.g, color.b, color.a);
    }
    void line(OfxPointD const& from, OfxPointD const& to) override {
        constexpr unsigned kLines = 0x0001;
        m_gl.begin(kLines);
        m_gl.vertex(from.x, from.y);
        m_gl.vertex(to.x, to.y);
        m_gl.end();
    }
    void text(OfxPointD const& at, std::string_view text) override {
        constexpr double kAdvancePx = 7, kGridPx = 1.5;
        OfxPointD pen = at;
        for (char const letter : text) {
            for (Glyph const& glyph : kGlyphs)
                if (glyph.letter == letter)
                    strokes(glyph.strokes, pen, {kGridPx * m_pixel.x, kGridPx * m_pixel.y});
            pen.x += kAdvancePx * m_pixel.x;
        }
    }

private:
    void strokes(char const* digits, OfxPointD const& corner, OfxPointD const& grid);

    OpenGl const& m_gl;
    OfxPointD m_pixel;
};

void OpenGlCanvas::strokes(char const* digits, OfxPointD const& corner, OfxPointD const& grid) {
    OfxPointD last{};
    bool hasLast = false;
    while (*digits) {
        if (*digits == ' ') {
            hasLast = false;
            ++digits;
            continue;
        }
        OfxPointD const point = {corner.x + (digits[0] - '0') * grid.x,
                                 corner.y + (digits[1] - '0') * grid.y};
        if (hasLast) line(last, point);
        last = point;
        hasLast = true;
        digits += 2;
    }
}

}  // namespace

std::unique_ptr<OverlayCanvas> drawSuiteCanvas(OfxDrawContextHandle context) {
    return std::make_unique<DrawSuiteCanvas>(context);
}

std::unique_ptr<OverlayCanvas> openGlCanvas(OfxPointD const& pixel) {
    OpenGl const* const gl = openGl();
    return gl ? std::make_unique<OpenGlCanvas>(*gl, pixel) : nullptr;
}

}  // namespace zelk::bindings
