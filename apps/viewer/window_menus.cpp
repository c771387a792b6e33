// See window_menus.h.
#include "apps/viewer/window_menus.h"

#include <QAction>
#include <QApplication>
#include <QEvent>
#include <QMenuBar>
#include <QStringList>

#include "zelk/text/errors.h"

namespace zelk {

namespace {

/// Menus of other names stand before the last two.
QStringList const& menuOrder() {
    static QStringList const order = {"File", "Edit", "Composition", "Pins",   "Parameters", "Keys",
                                      "View", "Play", "Timeline",    "Window", "Help"};
    return order;
}

qsizetype rankOf(QString const& name) {
    auto const rank = menuOrder().indexOf(name);
    return rank >= 0 ? rank : menuOrder().indexOf("Window") - 1;
}

}  // namespace

WindowMenus::WindowMenus(QMainWindow& window, std::function<void(QString const&)> failed)
    : QObject(&window), m_window(window), m_failed(std::move(failed)) {
    qApp->installEventFilter(this);
}

void WindowMenus::add(ViewerCommands const& commands) {
    for (ViewerCommand const& command : commands) addAction(command);
    update();
}

void WindowMenus::addAction(ViewerCommand const& command) {
    m_commands.push_back(command);
    QMenu* const in = menu(command.menu);
    if (command.name.isEmpty()) {
        in->addSeparator();
        m_inOrder.push_back(nullptr);
        return;
    }
    auto* const action = new QAction(command.name, this);
    action->setShortcut(command.keys);
    action->setStatusTip(command.help);
    action->setToolTip(command.help);
    action->setCheckable(static_cast<bool>(command.isChecked));
    connect(action, &QAction::triggered, this, [this, command] {
        run(command);
        update();
    });
    in->addAction(action);
    m_window.addAction(action);  // its keys work where the menu bar is hidden, too
    m_actions[command.menu + "/" + command.name] = action;
    m_inOrder.push_back(action);
}

QMenu* WindowMenus::menu(QString const& path) {
    QMenu*& menu = m_menus[path];
    if (!menu) menu = makeMenu(path);
    return menu;
}

QMenu* WindowMenus::makeMenu(QString const& path) {
    auto const slash = path.lastIndexOf('/');
    QString const name = path.mid(slash + 1);
    auto* const made = new QMenu(
        name, slash < 0 ? static_cast<QWidget*>(m_window.menuBar()) : menu(path.left(slash)));
    made->setToolTipsVisible(true);
    connect(made, &QMenu::aboutToShow, this, &WindowMenus::update);
    if (slash >= 0) {
        menu(path.left(slash))->addMenu(made);
        return made;
    }
    QAction* before = nullptr;
    for (QAction* const other : m_window.menuBar()->actions())
        if (!before && rankOf(other->text()) > rankOf(name)) before = other;
    m_window.menuBar()->insertMenu(before, made);
    return made;
}

bool WindowMenus::run(ViewerCommand const& command) {
    if (command.isEnabled && !command.isEnabled()) return false;
    try {
        command.run();
    } catch (UserError const& error) {
        m_failed(QString::fromStdString(error.what()));
    }
    return true;
}

void WindowMenus::update() {
    for (std::size_t i = 0; i < m_commands.size(); ++i) {
        ViewerCommand const& command = m_commands[i];
        QAction* const action = m_inOrder[i];
        if (!action) continue;
        action->setEnabled(!command.isEnabled || command.isEnabled());
        if (command.isChecked) action->setChecked(command.isChecked());
        if (command.label) action->setText(command.label());
    }
}

namespace {

/// Not of the wipe and of single channels, with which another scene looks broken.
bool isKept(ViewerCommand const& command) {
    static QStringList const menus = {"View", "View/Background", "Pins", "Keys",
                                      "Play", "Play/Repeat"};
    return command.isChecked && menus.contains(command.menu) && command.name != "Wipe";
}

QString keyOf(ViewerCommand const& command) {
    return "choices/" + command.menu + "/" + command.name;
}

}  // namespace

void WindowMenus::keepChoices(QSettings& settings) const {
    for (ViewerCommand const& command : m_commands)
        if (isKept(command)) settings.setValue(keyOf(command), command.isChecked());
}

/// Of several that exclude each other the ticked one counts: the others change nothing.
void WindowMenus::takeChoices(QSettings const& settings) const {
    for (ViewerCommand const& command : m_commands) {
        if (!isKept(command)) continue;
        bool const now = command.isChecked();
        if (settings.value(keyOf(command), now).toBool() != now) command.run();
    }
}

/// Comes before Qt looks for the act of a key.
bool WindowMenus::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride) update();
    return QObject::eventFilter(watched, event);
}

}  // namespace zelk
