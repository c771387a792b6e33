// Drawing of the sheet in float, white 1.0; see contact_sheet.h for its looks.
#include "apps/zelk-demo/contact_sheet.h"

#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>

#include <algorithm>
#include <array>
#include <stdexcept>

#include "apps/zelk-demo/bitmap_font.h"

namespace zelk {

namespace {

constexpr int kCellWidth = 480, kCellHeight = 320;  // multiples of kZoom
constexpr int kGap = 12;
constexpr int kLabelScale = 2;
constexpr int kLabelHeight = kGlyphHeight * kLabelScale + 8;
constexpr int kZoom = 8;
constexpr int kCheckPx = 10;

using Color = std::array<float, 3>;
constexpr Color kPaper = {0.13f, 0.13f, 0.14f};
constexpr Color kInk = {0.93f, 0.93f, 0.90f};

/// The sheet's pixels.
class Canvas {
public:
    Canvas(int width, int height)
        : m_image(OIIO::ImageSpec(width, height, 3, OIIO::TypeDesc::FLOAT)) {
        OIIO::ImageBufAlgo::fill(m_image, kPaper);
    }

    void set(int x, int y, Color const& color) { m_image.setpixel(x, y, color.data()); }

    void label(int left, int top, std::string const& text) {
        for (std::size_t i = 0; i < text.size(); ++i) {
            int const x0 = left + static_cast<int>(i) * kGlyphAdvance * kLabelScale;
            for (int y = 0; y < kGlyphHeight * kLabelScale; ++y) {
                for (int x = 0; x < kGlyphWidth * kLabelScale; ++x) {
                    if (glyphDot(text[i], x / kLabelScale, y / kLabelScale)) {
                        set(x0 + x, top + y, kInk);
                    }
                }
            }
        }
    }

    void write(std::string const& file) const {
        if (!m_image.write(file, OIIO::TypeDesc::UINT8)) {
            throw std::runtime_error(file + ": " + m_image.geterror());
        }
    }

private:
    OIIO::ImageBuf m_image;
};

/// Four channels, colour times alpha.
OIIO::ImageBuf readPicture(std::string const& file) {
    OIIO::ImageBuf stored(file);
    if (!stored.read(0, 0, true, OIIO::TypeDesc::FLOAT)) {
        throw std::runtime_error(file + ": " + stored.geterror());
    }
    if (stored.nchannels() == 4) return stored;
    bool const isGrey = stored.nchannels() < 3;
    int const order[4] = {0, isGrey ? 0 : 1, isGrey ? 0 : 2, -1};
    float const fill[4] = {0, 0, 0, 1};
    return OIIO::ImageBufAlgo::channels(stored, 4, order, fill);
}

/// `over` (times alpha) above the checkerboard at a place of the sheet.
Color aboveChecks(std::array<float, 4> const& over, int x, int y) {
    float const check = (x / kCheckPx + y / kCheckPx) % 2 == 0 ? 0.42f : 0.58f;
    Color color;
    for (std::size_t c = 0; c < 3; ++c) color[c] = over[c] + check * (1 - over[3]);
    return color;
}

/// The whole picture, brought to fit the cell.
void drawWhole(Canvas& canvas, int left, int top, OIIO::ImageBuf const& picture) {
    OIIO::ROI const cell(0, kCellWidth, 0, kCellHeight, 0, 1, 0, 4);
    OIIO::ImageBuf const small = OIIO::ImageBufAlgo::fit(picture, "", 0, "", false, cell);
    for (int y = 0; y < kCellHeight; ++y) {
        for (int x = 0; x < kCellWidth; ++x) {
            std::array<float, 4> pixel{};
            small.getpixel(x, y, 0, pixel.data(), 4);
            canvas.set(left + x, top + y, aboveChecks(pixel, x, y));
        }
    }
}

/// The piece around a place, every pixel a square.
void drawCloseup(Canvas& canvas, int left, int top, OIIO::ImageBuf const& picture,
                 Closeup const& closeup) {
    int const firstX = closeup.x - kCellWidth / kZoom / 2;
    int const firstY = closeup.y - kCellHeight / kZoom / 2;
    for (int y = 0; y < kCellHeight; ++y) {
        for (int x = 0; x < kCellWidth; ++x) {
            std::array<float, 4> pixel{};
            picture.getpixel(firstX + x / kZoom, firstY + y / kZoom, 0, pixel.data(), 4);
            canvas.set(left + x, top + y, aboveChecks(pixel, x, y));
        }
    }
}

int cellsIn(SheetRow const& row) {
    int cells = 0;
    for (SheetPicture const& picture : row) cells += 1 + static_cast<int>(picture.closeups.size());
    return cells;
}

void drawRow(Canvas& canvas, int top, SheetRow const& row) {
    int left = kGap;
    auto const nextCell = [&](std::string const& label) {
        canvas.label(left, top, label);
        int const cell = left;
        left += kCellWidth + kGap;
        return cell;
    };
    for (SheetPicture const& picture : row) {
        OIIO::ImageBuf const pixels = readPicture(picture.file);
        drawWhole(canvas, nextCell(picture.label), top + kLabelHeight, pixels);
        for (Closeup const& closeup : picture.closeups) {
            drawCloseup(canvas, nextCell(closeup.label), top + kLabelHeight, pixels, closeup);
        }
    }
}

std::vector<std::string> split(std::string const& text, char mark) {
    std::vector<std::string> parts(1);
    for (char c : text) {
        if (c == mark) {
            parts.emplace_back();
        } else {
            parts.back() += c;
        }
    }
    return parts;
}

Closeup parseCloseup(std::string const& text) {
    auto const at = text.find('@');
    auto const comma = text.find(',', at);
    if (at == std::string::npos || comma == std::string::npos) {
        throw std::runtime_error("closeup \"" + text + "\", expected LABEL@X,Y");
    }
    return {text.substr(0, at), std::stoi(text.substr(at + 1, comma - at - 1)),
            std::stoi(text.substr(comma + 1))};
}

}  // namespace

SheetRow parseRow(std::string const& text) {
    SheetRow row;
    for (std::string const& entry : split(text, ';')) {
        auto const parts = split(entry, ':');
        if (parts.size() < 2) {
            throw std::runtime_error("picture \"" + entry + "\", expected LABEL:FILE");
        }
        SheetPicture picture{parts[0], parts[1], {}};
        for (std::size_t i = 2; i < parts.size(); ++i) {
            picture.closeups.push_back(parseCloseup(parts[i]));
        }
        row.push_back(std::move(picture));
    }
    return row;
}

void writeSheet(std::string const& file, std::vector<SheetRow> const& rows) {
    int cells = 1;
    for (SheetRow const& row : rows) cells = std::max(cells, cellsIn(row));
    constexpr int kRowHeight = kLabelHeight + kCellHeight + kGap;
    Canvas canvas(kGap + cells * (kCellWidth + kGap),
                  kGap + static_cast<int>(rows.size()) * kRowHeight);
    int top = kGap;
    for (SheetRow const& row : rows) {
        drawRow(canvas, top, row);
        top += kRowHeight;
    }
    canvas.write(file);
}

}  // namespace zelk
