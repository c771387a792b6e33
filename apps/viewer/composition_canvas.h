// CompositionCanvas: the picture with the pins over it, and the mouse and keys on them.
//
//     document, view --ask--> feed --ready--> image --paint--> picture, overlay, handles
//     mouse, keys -----------> PinTool -----> document
//
// While an act is open, and a moment after each change, the feed is asked for a draft of what is
// visible, as fine as the screen; at rest for the full picture.
#pragma once

#include <QTimer>
#include <QWidget>
#include <functional>
#include <memory>

#include "apps/viewer/canvas_paint.h"
#include "apps/viewer/model/document.h"
#include "apps/viewer/picture_feed.h"

namespace zelk {

/// What a user chose to see.
struct CanvasLook {
    ShownPicture shows = ShownPicture::kFrame;
    PixelLook pixels;
    bool hasOverlay = true;  ///< outlines, handles, motion paths, loupe
    bool hasMotionPaths = true;
    bool hasGrid = true;
    bool hasWipe = false;
    double wipeFrac = 0.5;  ///< of the picture's width, where it was put
    bool snaps = false;
    std::optional<std::string> displayView = {};  ///< as PictureView has it
};

class PinField;

class CompositionCanvas : public QWidget {
public:
    explicit CompositionCanvas(Document& document, QWidget* parent = nullptr);
    ~CompositionCanvas() override;

    CanvasLook const& look() const { return m_look; }
    void setLook(CanvasLook const& look);
    ViewMap const& map() const { return m_map; }
    PinTool& pins() { return m_pins; }
    /// Another zoom or place.
    void changeView(std::function<void(ViewMap&)> const& act);
    bool hasPlate() const;
    /// What it is compared with by the wipe: the plate, else the layer. The plate alone shows
    /// through.
    ShownPicture besidePicture() const;
    /// The line parts the picture: a frame alone has something before it.
    bool isWiped() const { return m_look.hasWipe && m_look.shows == ShownPicture::kFrame; }
    /// Where its line is seen: within what the panel shows of the picture.
    double wipeFrac() const;
    /// The picture that is shown is that of the document's state, in full.
    bool isAtRest() const;
    SharedFrame const& shown() const { return m_shown; }
    FrameService& frames() { return m_feed.service(); }
    /// How frames are asked for at rest.
    PictureView restView() const;

    /// Tells once more what holds (onWarnings).
    void sayWarnings();
    void nudge(double dx, double dy);
    void scalePins(bool isUp);
    void selectAllPins();
    void fitPins();
    /// The first selected pin's position is typed.
    void typePosition();

    /// Zoom, look or selection changed.
    std::function<void()> onView;
    /// The mouse took a pin, an edge or all of a quad.
    std::function<void()> onPinsTaken;
    /// What is under the cursor; empty outside.
    std::function<void(QString const&)> onReadout;
    /// A whole picture has come.
    std::function<void()> onPicture;
    /// What there is to say of the scene as it is, a sentence each; frames come one by one.
    std::function<void(QStringList const&)> onWarnings;
    /// Something that failed, a sentence.
    std::function<void(QString const&)> onFailure;
    /// The files of a picture that is shown are others by now.
    std::function<void()> onOutdated;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    bool focusNextPrevChild(bool isNext) override;
    bool event(QEvent* event) override;

private:
    enum class Hand { kNone, kPins, kPan, kWipe };

    double density() const { return devicePixelRatioF(); }
    PanelPoint panelPoint(QPointF const& widget) const;
    PinMouse pinMouse(QMouseEvent const& event) const;
    double wipeX() const;

    bool isDropped(QMouseEvent const& event) const;
    void drop();  ///< what the hand holds, where it was last

    void hear(DocumentChange const& change);
    void updateSoon();
    void settleMap();
    void turnToPins();
    void holdPlace(bool isFrameSame);
    void dropPlace();
    int reduceOf(ShownPicture shows) const;
    std::optional<PixelSize> screenSize(ShownPicture shows) const;
    Backdrop backdrop() const;
    void ask(bool isDraft);
    bool askPart(PictureView const& view);
    bool awaitsDraft() const;
    void askAtRest();
    void askNext();
    void askLoupe();
    bool isCurrent(SharedFrame const& frame) const;
    ShownPicture pointedPicture() const;
    SharedFrame pointedFrame() const;
    void take(SharedFrame const& frame);
    ShownImage imageOf(SharedFrame const& frame, PixelLook const& look) const;
    void tellWarnings(ShownFrame const& frame);
    void remakeImages();
    void viewChanged();
    /// Runs an act; what it throws is told, and what is under way taken back.
    void act(std::function<void()> const& run);

    void paintPictures(QPainter& painter);
    void paintPins(QPainter& painter);
    void paintLoupe(QPainter& painter);
    void tellReadout();
    /// To accessibility.
    void describePins();
    void updateCursor(PanelPoint at);
    void openField(int parameter);
    void closeField();
    bool pressArrow(QKeyEvent const& event);
    bool pressPinKey(QKeyEvent const& event);

    Document& m_document;
    CanvasLook m_look;
    ViewMap m_map;
    PinTool m_pins;
    PictureFeed m_feed;
    SharedFrame m_shown, m_beside, m_loupe;
    SharedFrame m_values;  ///< with all pixels of the file
    QStringList m_warnings;
    std::uint64_t m_warningsOf = 0;  ///< a revision
    int m_opened = 0;                ///< of the document that it shows
    ShownImage m_image, m_besideImage, m_loupeImage;
    QTimer m_rest, m_draftWait, m_loupeWait;
    bool m_isDraftAsked = false, m_isLoupeAsked = false;  ///< since the last change
    Hand m_hand = Hand::kNone;
    Qt::MouseButton m_button = Qt::NoButton;  ///< that the hand holds
    PanelPoint m_lastMouse;
    bool m_isHovered = false;
    bool m_wasInverted = false;
    std::unique_ptr<PinField> m_field;
};

}  // namespace zelk
