// Cells, labels and checkerboards; see contact_sheet.h for the looks.
#include "apps/zelk-demo/contact_sheet.h"

#include <algorithm>
#include <stdexcept>

#include "apps/drawing/canvas.h"
#include "apps/drawing/screen_picture.h"
#include "zelk/pictures/writer.h"

namespace zelk {

namespace {

constexpr int kCellWidth = 480, kCellHeight = 320;  // multiples of kZoom
constexpr int kGap = 12;
constexpr int kLabelPx = 15, kLabelHeight = 22;
constexpr int kZoom = 8;
constexpr int kCheckPx = 10;

constexpr CanvasColor kPaper{33, 33, 36}, kInk{237, 237, 230};
constexpr CanvasColor kDarkCheck{107, 107, 107}, kLightCheck{148, 148, 148};

void drawChecks(Canvas& canvas, CanvasPoint corner) {
    canvas.rectangle(corner, kCellWidth, kCellHeight, kLightCheck);
    for (int y = 0; y < kCellHeight; y += kCheckPx)
        for (int x = y / kCheckPx % 2 * kCheckPx; x < kCellWidth; x += 2 * kCheckPx)
            canvas.rectangle({corner.x + x, corner.y + y}, kCheckPx, kCheckPx, kDarkCheck);
}

/// The whole picture, brought to fit the cell.
void drawWhole(Canvas& canvas, CanvasPoint corner, World const& picture) {
    double const zoom =
        std::min(double(kCellWidth) / picture.width(), double(kCellHeight) / picture.height());
    canvas.picture(picture,
                   {corner.x + (kCellWidth - zoom * picture.width()) / 2,
                    corner.y + (kCellHeight - zoom * picture.height()) / 2},
                   zoom);
}

/// The piece around a place, every pixel a square.
void drawCloseup(Canvas& canvas, CanvasPoint corner, World const& picture, Closeup const& closeup) {
    World piece({kCellWidth / kZoom, kCellHeight / kZoom, picture.depth()});
    int const bytes = pixelBytes(picture.depth());
    for (int y = 0; y < piece.height(); ++y) {
        int const fromY = closeup.y - piece.height() / 2 + y;
        for (int x = 0; x < piece.width(); ++x) {
            int const fromX = closeup.x - piece.width() / 2 + x;
            if (fromX < 0 || fromY < 0 || fromX >= picture.width() || fromY >= picture.height())
                continue;
            std::copy_n(picture.row(fromY) + bytes * fromX, bytes, piece.row(y) + bytes * x);
        }
    }
    canvas.picture(piece, corner, kZoom);
}

int cellsIn(SheetRow const& row) {
    int cells = 0;
    for (SheetPicture const& picture : row) cells += 1 + static_cast<int>(picture.closeups.size());
    return cells;
}

void drawRow(Canvas& canvas, double top, SheetRow const& row) {
    CanvasPoint corner{kGap, top + kLabelHeight};
    auto const nextCell = [&](std::string const& label) {
        CanvasPoint const cell = corner;
        canvas.text({cell.x, cell.y - 6}, label, kLabelPx, kInk);
        drawChecks(canvas, cell);
        corner.x += kCellWidth + kGap;
        return cell;
    };
    for (SheetPicture const& shown : row) {
        World const picture = screenPicture(shown.file);
        drawWhole(canvas, nextCell(shown.label), picture);
        for (Closeup const& closeup : shown.closeups)
            drawCloseup(canvas, nextCell(closeup.label), picture, closeup);
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
                  kGap + static_cast<int>(rows.size()) * kRowHeight, kPaper);
    int top = kGap;
    for (SheetRow const& row : rows) {
        drawRow(canvas, top, row);
        top += kRowHeight;
    }
    WriteRequest opaque;
    opaque.opaque = true;
    writePicture(canvas.toWorld(), file, opaque);
}

}  // namespace zelk
