// See color_acts.h.
#include "apps/viewer/color_acts.h"

#include <QAction>
#include <algorithm>
#include <utility>

#include "apps/viewer/composition_canvas.h"
#include "apps/viewer/composition_panel.h"
#include "apps/viewer/model/scene_inputs.h"
#include "apps/viewer/spoken_label.h"
#include "zelk/files/file_stamp.h"
#include "zelk/render/scene_colors.h"
#include "zelk/scene/color_names.h"

namespace zelk {

namespace {

constexpr char const* kUsual = "sRGB";

QString sentenceOf(ColorsAtHand const& colors) {
    return QString::fromStdString(colors.fault) +
           (colors.areBuiltIn
                ? "; the picture is shown by the built-in colour spaces instead, and no file is "
                  "rendered until it can be read"
                : "; the scene names colour spaces of it, so that no picture is shown until it can "
                  "be read");
}

}  // namespace

ColorActs::ColorActs(WindowServices& services, CompositionPanel& panel)
    : m_services(services), m_panel(panel), m_label(new QLabel(services.window)) {
    m_label->hide();
    services.document->onChange([this](DocumentChange const& change) {
        if (change.isReload) m_namesOf.clear();
        if (change.inputs) follow();
    });
}

/// A configuration is read only where it may be another one, or was written since.
void ColorActs::follow() {
    tellFault();
    Scene scene = document().scene();
    scene.color.isBuiltIn = document().colors().areBuiltIn;
    bool const isRead = scene.color.isBuiltIn || document().colors().fault.empty();
    std::string config = "none";
    if (isRead && !scene.color.isRaw) {
        auto const file = colorConfigFile(scene);
        config = file.empty() ? "built-in" : stampOf(file);
    }
    if (std::exchange(m_namesOf, config) != config)
        m_names =
            config == "none" ? std::vector<std::string>() : displayNames(colorConfigOf(scene));
    show();
}

QString ColorActs::display() const {
    bool const isThere = std::count(m_names.begin(), m_names.end(), m_wanted.toStdString()) > 0;
    return isThere ? m_wanted : kUsual;
}

void ColorActs::show() {
    CanvasLook look = m_panel.canvas().look();
    auto const former = look.displayView;
    look.displayView.reset();
    if (display() != kUsual) look.displayView = display().toStdString();
    if (look.displayView != former) m_panel.canvas().setLook(look);
    bool const isRaw = document().isOpen() && document().scene().color.isRaw;
    showText(*m_label, "Display", isRaw ? "values as stored" : "display " + display());
    m_label->setToolTip(
        isRaw ? "The scene's colour is raw: nothing is converted for the screen"
        : display() == m_wanted || m_wanted.isEmpty()
            ? "What colours are shown for (View > Display); files don't depend on it"
            : "The scene's configuration has no display " + m_wanted + ": sRGB is shown");
    m_label->setVisible(document().isOpen());
}

void ColorActs::chooseDisplay(QString const& name) {
    m_wanted = name;
    show();
}

void ColorActs::stepDisplay(int step) {
    auto const count = static_cast<int>(m_names.size());
    auto const now = std::find(m_names.begin(), m_names.end(), display().toStdString());
    auto const place = static_cast<int>(now - m_names.begin());
    chooseDisplay(QString::fromStdString(
        m_names.at(static_cast<std::size_t>((place + step + count) % count))));
}

ViewerCommands ColorActs::commands() {
    auto const hasChoice = [this] { return m_names.size() > 1; };
    auto const step = [this, hasChoice](char const* name, char const* keys, int by) {
        return ViewerCommand{"View/Display",
                             name,
                             QKeySequence(keys),
                             "Show colours for another display of the scene's configuration, or of "
                             "the built-in ones",
                             [this, by] { stepDisplay(by); },
                             hasChoice};
    };
    return {{"View/Display", "", {}, "", {}},
            step("Next Display", "Alt+D", 1),
            step("Previous Display", "Alt+Shift+D", -1)};
}

void ColorActs::fillDisplays(QMenu& menu) {
    for (QAction* const action : menu.actions())
        if (action->data().isValid()) delete action;
    QAction* const before = menu.actions().value(0);
    for (std::string const& each : m_names) {
        QString const name = QString::fromStdString(each);
        auto* const action = new QAction(name, &menu);
        action->setData(name);
        action->setCheckable(true);
        action->setChecked(name == display());
        action->setToolTip("Show colours for " + name + "; files don't depend on it");
        QObject::connect(action, &QAction::triggered, &menu, [this, name] { chooseDisplay(name); });
        menu.insertAction(before, action);
    }
}

void ColorActs::tellFault() {
    ColorsAtHand const& colors = document().colors();
    if (colors.fault.empty()) return m_services.notices->remove("colour");
    Notice notice{NoticeTone::kWarning, sentenceOf(colors), {}, false};
    notice.buttons = {
        {"Try Again", "Read the configuration once more",
         [this] { m_services.attempt([&] { document().readColorsAgain(); }); }},
        {"Choose Configuration\u2026", "Another OpenColorIO configuration for the scene",
         [this] { m_services.attempt([&] { chooseConfig(); }); }}};
    m_services.notices->show("colour", notice);
}

/// One that can't be read is refused.
void ColorActs::chooseConfig() {
    QString const file =
        m_services.questions.fileToOpen("OpenColorIO Configuration", kConfigFilter);
    if (file.isEmpty()) return;
    Scene wanted = document().scene();
    wanted.color.config = pathIn(wanted, pathOf(file));
    colorConfigOf(wanted);
    document().change("Set Configuration",
                      [&](Scene& scene) { scene.color.config = wanted.color.config; });
}

}  // namespace zelk
