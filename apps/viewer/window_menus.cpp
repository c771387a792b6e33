// See window_menus.h.
#include "apps/viewer/window_menus.h"

#include <QAction>
#include <QApplication>
#include <QEvent>
#include <QMenuBar>
#include <QStringList>

#include "apps/viewer/typed_field.h"
#include "apps/viewer/viewer_application.h"

namespace zelk {

namespace {

/// In their order, "&" before the letter that opens it with Alt. Menus of other names stand before
/// the last two.
QStringList const& menuOrder() {
    static QStringList const order = {"&File", "&Edit", "&Pins",   "P&arameters", "&Keys",
                                      "&View", "P&lay", "&Window", "&Help"};
    return order;
}

qsizetype rankOf(QString const& title) {
    auto const rank = menuOrder().indexOf(title);
    return rank >= 0 ? rank : menuOrder().indexOf("&Window") - 1;
}

/// Its name with the letter, where it stands in the bar.
QString titleOf(QString const& name) {
    for (QString const& title : menuOrder())
        if (QString(title).remove('&') == name) return title;
    return name;
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
    QList<QKeySequence> keys = command.otherKeys;
    if (!command.keys.isEmpty()) keys.prepend(command.keys);
    action->setShortcuts(keys);
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
    auto* const made =
        new QMenu(slash < 0 ? titleOf(name) : name,
                  slash < 0 ? static_cast<QWidget*>(m_window.menuBar()) : menu(path.left(slash)));
    made->setToolTipsVisible(true);
    connect(made, &QMenu::aboutToShow, this, &WindowMenus::update);
    if (slash >= 0) {
        menu(path.left(slash))->addMenu(made);
        return made;
    }
    QAction* before = nullptr;
    for (QAction* const other : m_window.menuBar()->actions())
        if (!before && rankOf(other->text()) > rankOf(titleOf(name))) before = other;
    m_window.menuBar()->insertMenu(before, made);
    return made;
}

bool WindowMenus::run(ViewerCommand const& command) {
    takeTypedFields(m_window);
    if (command.isEnabled && !command.isEnabled()) return false;
    QString const failure = failureOf(command.run);
    if (!failure.isEmpty()) m_failed(failure);
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
