// TimelineView: rows of keyframes under a ruler.
//
//     names      | ruler, range, shutter, what is rendered
//     -----------+---------------------------------------
//     parameter  |   <>        []      ()                    linear, hold, bezier
//
// A click on the ruler goes to a frame, a click on a key selects it, a drag moves the selected ones
// by whole frames (with Ctrl copies of them), a drag over nothing selects in a box. The wheel
// scrolls, with Ctrl it zooms, with Shift it goes along.
#pragma once

#include <QAbstractScrollArea>
#include <QBasicTimer>
#include <QPixmap>
#include <optional>
#include <vector>

#include "apps/viewer/model/key_acts.h"
#include "apps/viewer/model/time_scale.h"
#include "apps/viewer/model/timeline_rows.h"
#include "apps/viewer/player.h"

namespace zelk {

/// What a painter needs to know of the view.
struct TimelineLook {
    static constexpr int kNamesPx = 210, kRulerPx = 30, kRowPx = 20;
};

class TimelineView : public QAbstractScrollArea {
    Q_OBJECT

public:
    TimelineView(Document& document, Player& player, QWidget* parent = nullptr);

    RowFilter filter() const { return m_filter; }
    void setFilter(RowFilter filter);
    void fit();
    TimeScale const& scale() const { return m_scale; }
    void zoom(double factor);

    std::vector<TimelineRow> const& rows() const { return m_rows; }
    KeySelection const& selection() const { return m_selection; }
    /// Those of these keys that the scene has.
    void select(KeySelection selection);
    /// The row that keys are added to; -1 for none.
    int currentRow() const { return m_currentRow; }

    /// Where a key is drawn, pixels of the viewport.
    QPointF placeOf(TimelineKey const& key) const;
    QPointF placeOfFrame(int frame) const;  ///< on the ruler

signals:
    void selectionChanged();
    void easeAsked(KeyRef const& key);     ///< a double click on it
    void menuAsked(QPoint const& global);  ///< over the selected keys

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    bool viewportEvent(QEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    enum class Drag { kNone, kFrame, kKeys, kBox, kPan, kIn, kOut };

    void refresh();
    void dropMissing(KeySelection& selection) const;
    /// The rows too; an update alone is enough for another frame.
    void redraw();
    /// The whole where it was shown; what was zoomed to stays.
    void keepFit();
    /// Goes along as little as shows a frame.
    void followFrame();
    void reveal(double frame);
    double timeX(double x) const { return x - TimelineLook::kNamesPx; }
    double rowY(int row) const;
    int rowAt(double y) const;  ///< -1 for none
    TimelineKey const* keyAt(QPointF const& at) const;
    Drag dragAt(QPointF const& at) const;
    void pressKey(TimelineKey const& key, Qt::KeyboardModifiers modifiers);
    void dragOn();
    QPointF beyond() const;
    bool scrollOn();
    void dragKeys(QPointF const& at);
    void selectBox(QPointF const& at);
    void endDrag();
    void setCurrentRow(int row);
    void goToRow(int row);
    void selectKey(bool isLater, bool adds);
    /// To accessibility.
    void describe();
    QString keyText(TimelineRow const& row) const;

    void paintRuler(QPainter& painter) const;
    void paintRows(QPainter& painter) const;
    QPixmap drawnRows() const;
    void paintKeys(QPainter& painter, TimelineRow const& row, double y) const;
    void paintPlayhead(QPainter& painter) const;

    Document& m_document;
    Player& m_player;
    TimeScale m_scale;
    int m_opened = 0;            ///< of the document that it shows
    std::uint64_t m_rowsOf = 0;  ///< the revision of the scene that has these rows
    int m_followed = 0;          ///< the frame that was shown last
    bool m_isFit = true;         ///< nobody has zoomed or gone along since it showed the whole
    RowFilter m_filter = RowFilter::kAnimated;
    std::vector<TimelineRow> m_rows;
    /// As the viewport shows them, without the frame's own marks; null where they are to be drawn.
    QPixmap m_drawnRows;
    KeySelection m_selection;
    int m_currentRow = -1;

    Drag m_drag = Drag::kNone;
    Qt::MouseButton m_button = Qt::NoButton;  ///< that holds it
    QPointF m_pressedAt, m_boxEnd, m_mouseAt;
    QBasicTimer m_scrolling;  ///< while the mouse is held beyond an end
    double m_leftAtPress = 0;
    bool m_copies = false;
    int m_movedBy = 0;               ///< frames, of the drag under way
    std::uint64_t m_draggedTo = 0;   ///< the revision that the drag left
    KeySelection m_selectedBefore;   ///< the press; Escape gives it back
    KeySelection m_selectedAtPress;  ///< that the drag moves or adds to
    std::vector<ParameterState> m_statesAtPress;
};

}  // namespace zelk
