// WindowMenus: a window's menus and keys, out of records (commands.h). Whether an act is possible
// and what it is called now is asked for whenever a menu opens or a key is pressed.
#pragma once

#include <QMainWindow>
#include <QMap>
#include <QMenu>
#include <QSettings>
#include <functional>
#include <vector>

#include "apps/viewer/commands.h"

namespace zelk {

class WindowMenus : public QObject {
    Q_OBJECT

public:
    /// `failed` hears the sentence of an act that threw.
    WindowMenus(QMainWindow& window, std::function<void(QString const&)> failed);

    void add(ViewerCommands const& commands);
    /// "File/Open Recent"; made where it is not there.
    QMenu* menu(QString const& path);
    /// The act of a record, by its menu and name: "File/Save". Null for none.
    QAction* action(QString const& place) const { return m_actions.value(place); }
    ViewerCommands const& commands() const { return m_commands; }
    /// Runs it as a menu would, and hears its failure; false where it is not possible now.
    bool run(ViewerCommand const& command);
    void update();

    /// What is ticked in the menus of views, pins and play, for the next window.
    void keepChoices(QSettings& settings) const;
    void takeChoices(QSettings const& settings) const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void addAction(ViewerCommand const& command);
    QMenu* makeMenu(QString const& path);

    QMainWindow& m_window;
    std::function<void(QString const&)> m_failed;
    ViewerCommands m_commands;
    std::vector<QAction*> m_inOrder;  ///< of m_commands; null for lines
    QMap<QString, QMenu*> m_menus;
    QMap<QString, QAction*> m_actions;
};

}  // namespace zelk
