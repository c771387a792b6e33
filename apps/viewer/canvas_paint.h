// What the composition panel draws, part by part. All in panel pixels, with a painter whose unit
// that is; `density` of them are a unit of line width and text.
#pragma once

#include <QImage>
#include <QPainter>
#include <QString>
#include <vector>

#include "apps/viewer/model/pin_tool.h"
#include "apps/viewer/model/shown_pixels.h"

namespace zelk {

/// Pixels of a picture, and where they lie in it.
struct ShownImage {
    QImage pixels;
    QPointF scale = {1, 1};  ///< pixels of the picture to one of these, each way
    QPointF corner;          ///< of the first one, picture pixels
    bool isOpaque = true;
    double screenZoom = 0;  ///< of the view, where it has just the pixels of the screen
    bool isNull() const { return pixels.isNull(); }
};

/// Where the picture lies in the panel.
QRectF pictureRect(ViewMap const& map);
void drawBackdrop(QPainter& painter, QRectF const& picture, Backdrop backdrop, double density);
/// Enlarged pixels are squares, at 1:1 they are the screen's.
void drawImage(QPainter& painter, ViewMap const& map, ShownImage const& image);
/// Lines between pixels, from kGridZoom on.
void drawPixelGrid(QPainter& painter, ViewMap const& map);
void drawWipe(QPainter& painter, ViewMap const& map, double atX, double density);

struct PinColors {
    QColor to, from;
};
void drawMotionPath(QPainter& painter, ViewMap const& map, MotionPath const& path,
                    QColor const& color, double density);
void drawHandles(QPainter& painter, std::vector<PinHandle> const& handles, PinColors const& colors,
                 double density);
void drawSnap(QPainter& painter, QPointF at, double density);
void drawSelectionBox(QPainter& painter, QRectF const& box, double density);
/// What a loupe shows, the lowest image first; one that is null is not there.
struct LoupeView {
    Backdrop backdrop = Backdrop::kChecker;
    std::vector<ShownImage const*> images;
};
/// The picture around a pin, enlarged, beside it.
void drawLoupe(QPainter& painter, ViewMap const& map, LoupeView const& view, PinHandle const& pin,
               double density);
/// The pixels of a picture around a pin that the loupe shows.
PixelRect loupePart(PanelPoint pin, PicturePlace const& place);
/// A sentence in the panel's middle.
void drawSentence(QPainter& painter, QRectF const& panel, QString const& sentence, double density);

}  // namespace zelk
