// What is asked for, and what is painted; mouse and keys stand in canvas_input.cpp.
#include "apps/viewer/composition_canvas.h"

#include <QPaintEvent>
#include <algorithm>
#include <cmath>

#include "apps/viewer/model/pin_names.h"
#include "apps/viewer/model/readout.h"
#include "apps/viewer/painter_port.h"
#include "apps/viewer/pin_field.h"
#include "zelk/render/scene_colors.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/text/errors.h"

namespace zelk {
namespace {

constexpr QColor kAround(38, 38, 38);
constexpr int kRestMs = 120;

/// 8 bits of any depth: cut, not rounded, as a screen's own tables do.
World eightBits(World const& picture) {
    World result({picture.width(), picture.height(), Depth::k8});
    for (int y = 0; y < picture.height(); ++y) {
        auto* to = result.rowAs<std::uint8_t>(y);
        for (int i = 0; i < 4 * picture.width(); ++i)
            to[i] = static_cast<std::uint8_t>(
                picture.depth() == Depth::k16
                    ? (picture.rowAs<std::uint16_t>(y)[i] * 255u + 16384) / 32768
                    : std::lround(std::clamp(picture.rowAs<float>(y)[i], 0.0f, 1.0f) * 255));
    }
    return result;
}

QColor colorOf(KeyValue const& value) {
    return {static_cast<int>(value[1]), static_cast<int>(value[2]), static_cast<int>(value[3])};
}

bool isWhole(PictureView const& view) { return view.reduce == 1 && !view.part && !view.isDraft; }

}  // namespace

CompositionCanvas::CompositionCanvas(Document& document, QWidget* parent)
    : QWidget(parent),
      m_document(document),
      m_pins(document, m_map),
      m_feed([this](SharedFrame const& frame) { take(frame); }) {
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(160, 120);
    setAccessibleName("Composition");
    m_rest.setSingleShot(true);
    m_rest.setInterval(kRestMs);
    connect(&m_rest, &QTimer::timeout, this, [this] { ask(false); });
    document.onChange([this](DocumentChange const& change) { hear(change); });
}

CompositionCanvas::~CompositionCanvas() = default;

// --- What is asked for

void CompositionCanvas::hear(DocumentChange const& change) {
    if (change.inputs) settleMap();
    if (change.inputs || change.values || change.frame) {
        ask(m_document.isActing());
        update();
        if (onView) onView();
    } else if (change.state && m_feed.asked() && m_feed.asked()->isDraft) {
        m_rest.start();
    }
}

void CompositionCanvas::settleMap() {
    if (!m_document.isOpen()) return;
    bool const isLayer = m_look.shows == ShownPicture::kLayer;
    m_map.setPicture(isLayer ? m_document.layerSize() : m_document.frameSize());
    m_pins.setShown(m_look.shows);
}

PictureView CompositionCanvas::restView() const {
    PictureView view;
    view.shows = m_look.shows;
    view.reduce = m_map.reduce();
    if (m_look.usesConfigView) view.displayView = kDefaultView;
    return view;
}

void CompositionCanvas::ask(bool isDraft) {
    if (!m_document.isOpen()) return;
    PictureView view = restView();
    m_rest.stop();
    if (isDraft) {
        m_rest.start();
        view.isDraft = true;
        view.part = m_map.part(view.reduce);
        if (view.part->right <= view.part->left || view.part->bottom <= view.part->top) return;
        askLoupe();
    }
    m_feed.ask(m_document.snapshot(), view);
    askBeside(isDraft);
}

ShownPicture CompositionCanvas::besidePicture() const {
    return m_document.isOpen() && m_document.scene().plate ? ShownPicture::kPlate
                                                           : ShownPicture::kLayer;
}

/// No draft: what a drag changes is not in it.
void CompositionCanvas::askBeside(bool isDraft) {
    bool const isNeeded = m_look.hasWipe || m_look.pixels.backdrop == Backdrop::kPlate;
    if (!isNeeded || isDraft) return;
    if (!m_besideFeed)
        m_besideFeed = std::make_unique<PictureFeed>([this](SharedFrame const& frame) {
            m_beside = frame;
            remakeImages();
        });
    PictureView view = restView();
    view.shows = besidePicture();
    m_besideFeed->ask(m_document.snapshot(), view);
}

/// Of a reduced picture the loupe would show too little.
void CompositionCanvas::askLoupe() {
    auto const pin = m_pins.draggedPin();
    if (!pin || m_map.reduce() == 1) return;
    auto const handle = m_pins.handleOf(*pin);
    if (!handle) return;
    if (!m_loupeFeed)
        m_loupeFeed = std::make_unique<PictureFeed>([this](SharedFrame const& frame) {
            m_loupe = frame;
            remakeImages();
        });
    PictureView view = restView();
    view.reduce = 1;
    view.isDraft = true;
    view.part = loupePart(handle->value, m_map.picture());
    if (view.part->right > view.part->left && view.part->bottom > view.part->top)
        m_loupeFeed->ask(m_document.snapshot(), view);
}

/// Values of the file, where what is shown is coarser than it.
void CompositionCanvas::askValues() {
    if (!m_isHovered || !isAtRest() || isWhole(m_shown->view)) return;
    if (m_values && m_values->revision == m_shown->revision && m_values->frame == m_shown->frame &&
        m_values->view.shows == m_look.shows)
        return;
    PictureView view = restView();
    view.reduce = 1;
    m_feed.ask(m_document.snapshot(), view);
}

bool CompositionCanvas::isAtRest() const {
    if (!m_document.isOpen() || !m_shown || m_rest.isActive()) return false;
    SceneSnapshot const now = m_document.snapshot();
    return m_shown->revision == now.revision && m_shown->frame == now.frame &&
           m_shown->view == restView();
}

void CompositionCanvas::take(SharedFrame const& frame) {
    if (frame->error.empty() && isWhole(frame->view)) m_values = frame;
    bool const isForValues = isWhole(frame->view) && frame->view != restView();
    if (!isForValues) m_shown = frame;
    if (!frame->warnings.empty() && onFailure)
        onFailure(QString::fromStdString(frame->warnings.front()));
    remakeImages();
    askValues();
    tellReadout();
}

ShownImage CompositionCanvas::imageOf(SharedFrame const& frame, PixelLook const& look) const {
    ShownImage image;
    if (!frame || !frame->error.empty() || frame->display.width() < 1) return image;
    World own;
    if (frame->display.depth() != Depth::k8) own = eightBits(frame->display);
    World const& display = own.width() > 0 ? own : frame->display;
    image.pixels = QImage(display.width(), display.height(), QImage::Format_RGB32);
    image.isOpaque = showPixels(display, look,
                                reinterpret_cast<std::uint32_t*>(image.pixels.bits()),
                                image.pixels.bytesPerLine() / 4);
    if (!image.isOpaque) image.pixels.reinterpretAsFormat(QImage::Format_ARGB32_Premultiplied);
    PixelSize const shown = frame->view.shows == ShownPicture::kLayer ? m_document.layerSize()
                                                                      : m_document.frameSize();
    image.scale = pictureScale(*frame, shown, m_document.scene().downsample.value_or(1));
    QPoint const cut = frame->view.part && display.width() != frame->whole.width
                           ? QPoint(frame->view.part->left, frame->view.part->top)
                           : QPoint();
    // A grown frame's margin is as wide on both sides.
    QPoint const margin(std::max(0, frame->whole.width * image.scale - shown.width) / 2,
                        std::max(0, frame->whole.height * image.scale - shown.height) / 2);
    image.corner = QPointF(cut * image.scale - margin);
    return image;
}

void CompositionCanvas::remakeImages() {
    m_image = imageOf(m_shown, m_look.pixels);
    PixelLook beside = m_look.pixels;
    if (beside.backdrop == Backdrop::kPlate) beside.backdrop = Backdrop::kBlack;
    m_besideImage = imageOf(m_beside, beside);
    m_loupeImage = imageOf(m_loupe, m_look.pixels);
    update();
}

void CompositionCanvas::setLook(CanvasLook const& look) {
    bool const isOther = look.shows != m_look.shows;
    m_look = look;
    m_pins.showMotionPaths(look.hasMotionPaths && look.hasOverlay);
    if (isOther) settleMap();
    if (isOther) m_shown.reset();
    remakeImages();
    viewChanged();
}

void CompositionCanvas::changeView(std::function<void(ViewMap&)> const& act) {
    act(m_map);
    viewChanged();
}

void CompositionCanvas::viewChanged() {
    ask(m_document.isOpen() && m_document.isActing());
    if (onView) onView();
    update();
}

void CompositionCanvas::resizeEvent(QResizeEvent*) {
    m_map.setPanel({static_cast<int>(std::lround(width() * density())),
                    static_cast<int>(std::lround(height() * density()))});
    m_pins.setReach(7 * density());
    viewChanged();
}

// --- Painting

void CompositionCanvas::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.scale(1 / density(), 1 / density());
    QRectF const panel(0, 0, m_map.panel().width, m_map.panel().height);
    painter.fillRect(panel.adjusted(-1, -1, 1, 1), kAround);
    if (!m_document.isOpen())
        return drawSentence(painter, panel, "Open or drop a picture or a project", density());
    if (m_shown && !m_shown->error.empty())
        return drawSentence(painter, panel, QString::fromStdString(m_shown->error), density());
    paintPictures(painter);
    if (m_look.hasGrid) drawPixelGrid(painter, m_map);
    if (m_look.hasWipe) drawWipe(painter, m_map, wipeX(), density());
    if (m_look.hasOverlay) paintPins(painter);
}

void CompositionCanvas::paintPictures(QPainter& painter) {
    QRectF const picture = pictureRect(m_map);
    Backdrop const backdrop = m_look.pixels.backdrop;
    bool const hasPlate = backdrop == Backdrop::kPlate && !m_besideImage.isNull();
    bool const isSeen = m_image.isNull() || !m_image.isOpaque;
    if (isSeen) drawBackdrop(painter, picture, backdrop, density());
    if (isSeen && hasPlate) drawImage(painter, m_map, m_besideImage);
    if (!m_image.isNull()) drawImage(painter, m_map, m_image);
    if (!m_look.hasWipe || m_besideImage.isNull()) return;
    painter.save();
    painter.setClipRect(QRectF(0, 0, wipeX(), m_map.panel().height));
    painter.fillRect(QRectF(0, 0, wipeX(), m_map.panel().height), kAround);
    if (!m_besideImage.isOpaque) drawBackdrop(painter, picture, backdrop, density());
    drawImage(painter, m_map, m_besideImage);
    painter.restore();
}

void CompositionCanvas::paintPins(QPainter& painter) {
    std::vector<PinHandle> const handles = m_pins.handles();
    try {
        PainterPort const port(painter, density(), m_pins.panel(), handles);
        painter.setRenderHint(QPainter::Antialiasing);
        m_pins.drawOverlay();
    } catch (UserError const& error) {
        if (onFailure) onFailure(error.what());
    }
    painter.setRenderHint(QPainter::Antialiasing, false);
    PinColors const colors = {colorOf(m_document.valueOf(kParamToWireframeColor)),
                              colorOf(m_document.valueOf(kParamFromWireframeColor))};
    for (MotionPath const& path : m_pins.motionPaths())
        drawMotionPath(painter, m_map, path,
                       quadOf(path.parameter) == TrackedPins::kTo ? colors.to : colors.from,
                       density());
    drawHandles(painter, handles, colors, density());
    if (auto const at = m_pins.snapTarget()) {
        PanelPoint const target = m_map.toPanel(*at);
        drawSnap(painter, {target.x, target.y}, density());
    }
    if (auto const box = m_pins.box())
        drawSelectionBox(painter,
                         QRectF(QPointF(box->first.x, box->first.y),
                                QPointF(box->second.x, box->second.y)),
                         density());
    paintLoupe(painter);
}

void CompositionCanvas::paintLoupe(QPainter& painter) {
    auto const pin = m_pins.draggedPin();
    if (!pin || m_map.zoom() >= kGridZoom) return;
    ShownImage const& image = m_map.reduce() == 1 ? m_image : m_loupeImage;
    if (auto const handle = m_pins.handleOf(*pin); handle && !image.isNull())
        drawLoupe(painter, m_map, image, *handle, density());
}

}  // namespace zelk
