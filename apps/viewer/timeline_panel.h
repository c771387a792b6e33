// TimelinePanel: transport buttons over the rows of keyframes, and the commands of both.
#pragma once

#include <QWidget>
#include <vector>

#include "apps/viewer/commands.h"
#include "apps/viewer/model/document.h"
#include "apps/viewer/model/key_acts.h"
#include "apps/viewer/player.h"
#include "apps/viewer/timeline_view.h"

class QLabel;
class QToolButton;

namespace zelk {

class FrameField;

class TimelinePanel : public QWidget {
    Q_OBJECT

public:
    explicit TimelinePanel(Document& document, QWidget* parent = nullptr);

    ViewerCommands commands();
    /// Who renders: what is ready is marked on the ruler, and waited for while it plays.
    void setSource(FrameSource source) { m_player.setSource(std::move(source)); }

    Player& player() { return m_player; }
    TimelineView& view() { return *m_view; }

signals:
    void menuAsked(QPoint const& global);  ///< over the selected keys
    void keysFree();                       ///< the frame's field is done with

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    QWidget* transport();
    QToolButton* button(ViewerCommand const& command, QString const& mark);
    void refresh();

    ViewerCommands playCommands();
    ViewerCommands keyCommands();
    ViewerCommand loopCommand(LoopMode mode, QString const& name, QString const& help);
    ViewerCommand shapeCommand(KeyShape shape, QString const& name, QKeySequence const& keys,
                               QString const& help);

    bool hasSelection() const { return !m_view->selection().empty(); }
    bool isOpen() const { return m_document.isOpen(); }
    /// An act on the selected keys, which may answer another selection.
    void actOnKeys(char const* name,
                   std::function<KeySelection(std::vector<Parameter>&)> const& act);
    void addKeysHere();
    void deleteSelected();
    void copySelected();
    void paste();
    void moveSelected(int frames);
    /// The selected keys that can do more than hold.
    KeySelection easedKeys() const;
    /// Shows the numbers of the clicked key, else of the first one.
    void askForEase(std::optional<KeyRef> const& clicked = {});

    Document& m_document;
    Player m_player;
    TimelineView* m_view;
    QToolButton* m_play = nullptr;
    FrameField* m_frame = nullptr;
    QLabel* m_rate = nullptr;
    std::vector<CopiedKey> m_copied;
};

}  // namespace zelk
