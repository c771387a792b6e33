// What is asked for, and what is painted; mouse and keys stand in canvas_input.cpp.
#include "apps/viewer/composition_canvas.h"

#include <QPaintEvent>
#include <algorithm>
#include <cmath>
#include <utility>

#include "Transform/Common/PopupEntries.h"
#include "apps/viewer/model/pin_names.h"
#include "apps/viewer/model/readout.h"
#include "apps/viewer/painter_port.h"
#include "apps/viewer/pin_field.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/text/errors.h"

namespace zelk {
namespace {

constexpr QColor kAround(38, 38, 38);
constexpr int kRestMs = 120;
/// While something is dragged the pins wait that long for their picture, to be painted with it. A
/// paint of its own would take a processor from the render.
constexpr int kDraftWaitMs = 33;
/// Where a pin stays that long after its draft a fine picture is asked for its loupe. One for each
/// move would hold up the next draft, and be another one by then.
constexpr int kLoupeWaitMs = 40;

QColor colorOf(KeyValue const& value) {
    return {static_cast<int>(value[1]), static_cast<int>(value[2]), static_cast<int>(value[3])};
}

/// The display's own bytes, which the image holds.
QImage imageAround(SharedFrame const& frame) {
    World const& display = frame->display;
    return QImage(
        display.rowAs<uchar>(0), display.width(), display.height(), display.rowBytes(),
        frame->isOpaque ? QImage::Format_RGB32 : QImage::Format_ARGB32,
        [](void* held) { delete static_cast<SharedFrame*>(held); }, new SharedFrame(frame));
}

QImage imageMade(World const& display, PixelLook const& look) {
    QImage image(display.width(), display.height(), QImage::Format_RGB32);
    showPixels(display, look, reinterpret_cast<std::uint32_t*>(image.bits()),
               image.bytesPerLine() / 4);
    return image;
}

/// Than its frame.
bool isCoarse(PictureView const& view) { return view.reduce > 1 || view.size; }

bool isWhole(PictureView const& view) { return view.reduce == 1 && !view.part && !view.isDraft; }

}  // namespace

CompositionCanvas::CompositionCanvas(Document& document, QWidget* parent)
    : QWidget(parent),
      m_document(document),
      m_pins(document, m_map),
      m_feed([this](SharedFrame const& frame) { take(frame); },
             [this] {
                 if (onOutdated) onOutdated();
             }) {
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(160, 120);
    setAccessibleName("Composition");
    auto const onceAfter = [this](QTimer& timer, int ms, auto act) {
        timer.setSingleShot(true);
        timer.setInterval(ms);
        connect(&timer, &QTimer::timeout, this, act);
    };
    onceAfter(m_rest, kRestMs, [this] { askAtRest(); });
    onceAfter(m_draftWait, kDraftWaitMs, [this] { update(); });
    onceAfter(m_loupeWait, kLoupeWaitMs, [this] { askLoupe(); });
    document.onChange([this](DocumentChange const& change) { hear(change); });
}

CompositionCanvas::~CompositionCanvas() = default;

// --- What is asked for

void CompositionCanvas::hear(DocumentChange const& change) {
    if (change.inputs || change.frame) closeField();
    if (m_opened != m_document.opened()) m_warnings.clear();
    m_opened = m_document.opened();
    if (change.inputs) turnToPins();
    // No frame comes to renew what was said of the former one.
    if (change.inputs || (change.values && m_warningsOf != 0)) holdPlace(false);
    bool const isSized = change.values && m_document.scene().isInverted;
    if (change.inputs || isSized) settleMap();
    if (change.inputs || change.values || change.frame) {
        ask(m_document.isActing());
        describePins();
        updateSoon();
        if (onView) onView();
    } else if (change.state && m_feed.asked() && m_feed.asked()->isDraft) {
        m_rest.start();
    }
}

/// What is dragged is painted with its picture.
void CompositionCanvas::updateSoon() {
    if (!awaitsDraft()) return update();
    if (!m_draftWait.isActive()) m_draftWait.start();
}

void CompositionCanvas::settleMap() {
    if (!m_document.isOpen()) return;
    m_map.setPicture(m_document.sizeOf(m_look.shows));
    m_pins.setShown(m_look.shows);
}

/// A scene that is inverted from now on is shown by the picture that its pins lie in; so is one
/// that has no plate any more.
void CompositionCanvas::turnToPins() {
    bool const isInverted = m_document.isOpen() && m_document.scene().isInverted;
    bool const isTurned = std::exchange(m_wasInverted, isInverted) != isInverted;
    bool const isGone = m_look.shows == ShownPicture::kPlate && !hasPlate();
    if (!isTurned && !isGone) return;
    CanvasLook look = m_look;
    look.shows = isInverted ? besidePicture() : ShownPicture::kFrame;
    look.hasWipe = look.hasWipe && !isInverted;
    m_warnings.clear();
    setLook(look);
    sayWarnings();
}

/// The scene's Downsample makes a frame coarser already.
int CompositionCanvas::reduceOf(ShownPicture shows) const {
    bool const isFrame = shows == ShownPicture::kFrame && m_document.isOpen();
    return m_map.reduce(isFrame ? m_document.scene().downsample.value_or(1) : 1);
}

/// Of drafts: they have the screen's own pixels, which are painted as they are. An inverted scene's
/// frame has no size but by its pins; Super Sample's fade depends on how many pixels there are.
std::optional<PixelSize> CompositionCanvas::screenSize(ShownPicture shows) const {
    if (shows != ShownPicture::kFrame || !m_document.isOpen()) return std::nullopt;
    Scene const& scene = m_document.scene();
    bool const fades = m_document.valueOf(kParamQuality)[0] == hostEntry(kQualitySuperSample);
    bool const isPlain = !scene.isInverted && scene.downsample.value_or(1) == 1 && !fades;
    return isPlain ? m_map.screenSize() : std::nullopt;
}

PictureView CompositionCanvas::restView() const {
    PictureView view;
    view.shows = m_look.shows;
    view.reduce = reduceOf(view.shows);
    view.displayView = m_look.displayView;
    return view;
}

void CompositionCanvas::ask(bool isDraft) {
    m_rest.stop();
    m_loupeWait.stop();
    m_isDraftAsked = m_isLoupeAsked = false;
    if (!m_document.isOpen()) return;
    if (!isDraft) return askNext();
    m_rest.start();
    PictureView view = restView();
    view.isDraft = true;
    view.size = screenSize(view.shows);
    view.part = m_map.part(placeAhead(view, m_map.picture(), m_document));
    m_isDraftAsked = askPart(view);
}

/// Not one without pixels.
bool CompositionCanvas::askPart(PictureView const& view) {
    bool const isSeen = view.part->right > view.part->left && view.part->bottom > view.part->top;
    if (isSeen) m_feed.ask(m_document.snapshot(), view);
    return isSeen;
}

bool CompositionCanvas::awaitsDraft() const { return m_isDraftAsked && !isCurrent(m_shown); }

/// The draft comes first, and the loupe's picture: the full one would stop them, and take longer.
void CompositionCanvas::askAtRest() {
    bool const awaitsLoupe = m_loupeWait.isActive() || (m_isLoupeAsked && !isCurrent(m_loupe));
    awaitsDraft() || awaitsLoupe ? m_rest.start() : ask(false);
}

bool CompositionCanvas::hasPlate() const { return m_document.isOpen() && m_document.scene().plate; }

ShownPicture CompositionCanvas::besidePicture() const {
    return hasPlate() ? ShownPicture::kPlate : ShownPicture::kLayer;
}

/// What was chosen stays for the next scene that has a plate.
Backdrop CompositionCanvas::backdrop() const {
    Backdrop const chosen = m_look.pixels.backdrop;
    return chosen == Backdrop::kPlate && !hasPlate() ? Backdrop::kChecker : chosen;
}

bool CompositionCanvas::isCurrent(SharedFrame const& frame) const {
    if (!frame || !m_document.isOpen()) return false;
    SceneSnapshot const now = m_document.snapshot();
    return frame->revision == now.revision && frame->frame == now.frame;
}

/// What is seen at the mouse.
ShownPicture CompositionCanvas::pointedPicture() const {
    return isWiped() && m_lastMouse.x < wipeX() ? besidePicture() : m_look.shows;
}

/// It in full, with its values; null until it is there.
SharedFrame CompositionCanvas::pointedFrame() const {
    ShownPicture const pointed = pointedPicture();
    for (SharedFrame const& frame : {m_values, m_shown, m_beside})
        if (isCurrent(frame) && frame->view.shows == pointed && isWhole(frame->view)) return frame;
    return {};
}

/// One after the other, since a request takes the place of the one before: what is shown, what is
/// beside it, the values of the file where what is shown is coarser than it.
void CompositionCanvas::askNext() {
    if (!m_document.isOpen()) return;
    if (m_rest.isActive()) return m_loupeWait.start();
    PictureView const rest = restView();
    PictureView beside = rest, whole = rest;
    beside.shows = besidePicture();
    beside.reduce = reduceOf(beside.shows);
    whole.shows = pointedPicture();
    whole.reduce = 1;
    bool const needsBeside = isWiped() || backdrop() == Backdrop::kPlate;
    auto const isThere = [&](SharedFrame const& frame, PictureView const& view) {
        return isCurrent(frame) && frame->view == view;
    };
    if (!isThere(m_shown, rest))
        m_feed.ask(m_document.snapshot(), rest);
    else if (needsBeside && beside.shows != rest.shows && !isThere(m_beside, beside))
        m_feed.ask(m_document.snapshot(), beside);
    else if (m_isHovered && !isThere(pointedFrame(), whole))
        m_feed.ask(m_document.snapshot(), whole);
}

/// Of a reduced picture the loupe would show too little.
void CompositionCanvas::askLoupe() {
    auto const pin = m_pins.draggedPin();
    auto const handle = pin ? m_pins.handleOf(*pin) : std::nullopt;
    if (!handle || isCurrent(m_loupe) || !isCurrent(m_shown) || !isCoarse(m_shown->view)) return;
    PictureView view = restView();
    view.reduce = 1;
    view.isDraft = view.isLoupe = true;
    view.part = loupePart(handle->value, placeAhead(view, m_map.picture(), m_document));
    m_isLoupeAsked = askPart(view);
}

bool CompositionCanvas::isAtRest() const {
    return !m_rest.isActive() && isCurrent(m_shown) && m_shown->view == restView();
}

/// By its view, as the newest request may be another one by now.
void CompositionCanvas::take(SharedFrame const& frame) {
    PictureView const& view = frame->view;
    bool const isFine = view.isLoupe || (!view.size && view.reduce < reduceOf(view.shows));
    bool const isOwn = view.shows == m_look.shows;
    if (isOwn)
        (isFine ? m_loupe : m_shown) = frame;
    else if (!isFine)
        m_beside = frame;
    if (isWhole(view)) m_values = frame;
    tellWarnings(*frame);
    remakeImages();
    askNext();
    tellReadout();
    if (!view.isDraft && onPicture) onPicture();
}

ShownImage CompositionCanvas::imageOf(SharedFrame const& frame, PixelLook const& look) const {
    ShownImage image;
    if (!frame || !frame->error.empty() || frame->display.width() < 1) return image;
    bool const isOverColor = look.backdrop == Backdrop::kBlack || look.backdrop == Backdrop::kWhite;
    bool const isAsItIs = look.channels == ChannelView::kColor && (frame->isOpaque || !isOverColor);
    image.isOpaque = frame->isOpaque || !isAsItIs;
    image.pixels = isAsItIs ? imageAround(frame) : imageMade(frame->display, look);
    PixelSize const shown =
        frame->view.shows == m_look.shows ? m_map.picture() : m_document.sizeOf(frame->view.shows);
    PicturePlace const place = placeOf(*frame, shown, m_document);
    PixelRect const part = frame->view.part.value_or(PixelRect{});
    PanelPoint const corner = place.toShown({double(part.left), double(part.top)});
    image.scale = QPointF(place.scale.x, place.scale.y);
    bool const isOfScreen = frame->view.size && frame->view.size == screenSize(frame->view.shows);
    image.screenZoom = isOfScreen ? m_map.zoom() : 0;
    image.corner = QPointF(corner.x, corner.y);
    return image;
}

void CompositionCanvas::remakeImages() {
    m_image = imageOf(m_shown, m_look.pixels);
    PixelLook beside = m_look.pixels;
    beside.backdrop = backdrop();
    if (beside.backdrop == Backdrop::kPlate) beside.backdrop = Backdrop::kBlack;
    bool const isSame = besidePicture() == m_look.shows;
    m_besideImage = imageOf(isSame ? m_shown : m_beside, beside);
    m_loupeImage = isCurrent(m_loupe) ? imageOf(m_loupe, m_look.pixels) : ShownImage();
    m_draftWait.stop();
    update();
}

void CompositionCanvas::setLook(CanvasLook const& look) {
    bool const isOther = look.shows != m_look.shows;
    m_look = look;
    if (look.hasWipe && m_document.isOpen() && m_document.scene().isInverted) {
        m_look.hasWipe = false;
        if (onFailure)
            onFailure(
                "Wipe compares a frame with what it is laid over; an inverted scene's frame "
                "lies over nothing");
    }
    m_pins.showMotionPaths(look.hasMotionPaths && look.hasOverlay);
    if (isOther) {
        settleMap();
        m_shown.reset();
        holdPlace(true);
        if (look.shows == ShownPicture::kFrame) {
            m_warningsOf = 0;  // it says its own anew
            dropPlace();
            sayWarnings();
        }
    }
    remakeImages();
    viewChanged();
}

void CompositionCanvas::changeView(std::function<void(ViewMap&)> const& act) {
    act(m_map);
    viewChanged();
}

void CompositionCanvas::fitPins() {
    std::vector<PanelPoint> places;
    for (PinHandle const& handle : m_pins.handles()) places.push_back(handle.value);
    changeView([&](ViewMap& map) { map.fitWith(places); });
}

void CompositionCanvas::viewChanged() {
    ask(m_document.isOpen() && m_document.isActing());
    if (onView) onView();
    tellReadout();
    describePins();
    update();
}

void CompositionCanvas::resizeEvent(QResizeEvent*) {
    m_map.setPanel({static_cast<int>(std::lround(width() * density())),
                    static_cast<int>(std::lround(height() * density()))},
                   density());
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
    paintPictures(painter);
    if (m_look.hasGrid) drawPixelGrid(painter, m_map);
    if (isWiped()) drawWipe(painter, m_map, wipeX(), density());
    // The pins have their places without a picture too: what is drawn is what the mouse takes.
    if (m_shown && !m_shown->error.empty())
        drawSentence(painter, panel, QString::fromStdString(m_shown->error), density());
    if (m_look.hasOverlay) paintPins(painter);
}

void CompositionCanvas::paintPictures(QPainter& painter) {
    QRectF const picture = pictureRect(m_map);
    Backdrop const behind = backdrop();
    bool const showsPlate = behind == Backdrop::kPlate && !m_besideImage.isNull();
    bool const isSeen = m_image.isNull() || !m_image.isOpaque;
    if (isSeen) drawBackdrop(painter, picture, behind, density());
    if (isSeen && showsPlate) drawImage(painter, m_map, m_besideImage);
    if (!m_image.isNull()) drawImage(painter, m_map, m_image);
    if (!isWiped() || m_besideImage.isNull()) return;
    painter.save();
    QRectF const left(0, 0, wipeX(), m_map.panel().height);
    painter.fillRect(left, kAround);
    painter.setClipRect(left.intersected(picture));  // a layer may be larger than its frame
    if (!m_besideImage.isOpaque) drawBackdrop(painter, picture, behind, density());
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
        drawSelectionBox(
            painter,
            QRectF(QPointF(box->first.x, box->first.y), QPointF(box->second.x, box->second.y)),
            density());
    paintLoupe(painter);
}

void CompositionCanvas::paintLoupe(QPainter& painter) {
    auto const pin = m_pins.draggedPin();
    if (!pin || m_map.zoom() >= kGridZoom) return;
    bool const isFine = isCurrent(m_loupe) && !m_loupeImage.isNull();
    bool const needsFine = m_shown && isCoarse(m_shown->view);
    ShownImage const& image = isFine && needsFine ? m_loupeImage : m_image;
    LoupeView view{backdrop(), {&image}};
    if (view.backdrop == Backdrop::kPlate) view.images.insert(view.images.begin(), &m_besideImage);
    if (auto const handle = m_pins.handleOf(*pin); handle && !image.isNull())
        drawLoupe(painter, m_map, view, *handle, density());
}

}  // namespace zelk
