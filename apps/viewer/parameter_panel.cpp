// See parameter_panel.h.
#include "apps/viewer/parameter_panel.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QScreen>
#include <QScrollArea>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>

#include "apps/viewer/model/panel_controls.h"
#include "apps/viewer/own_settings.h"
#include "apps/viewer/parameters/control_row.h"
#include "apps/viewer/parameters/group_header.h"
#include "apps/viewer/spoken_label.h"
#include "zelk/text/errors.h"

namespace zelk {
namespace {

constexpr int kLeastWidthPx = 354, kUsualWidthPx = 424;
constexpr QColor kWarningColor(240, 176, 96);

QString foldKey(PanelControl const& control) {
    return "parameters/folded/" + QString::fromStdString(control.row().name);
}

}  // namespace

ParameterPanel::ParameterPanel(Document& document, QWidget* parent)
    : QWidget(parent),
      m_document(document),
      m_search(new QLineEdit(this)),
      m_area(new QScrollArea(this)),
      m_message(new QLabel(this)),
      m_nothing(new QLabel(this)) {
    setAccessibleName("Parameters");
    m_search->setObjectName("search");
    m_search->setPlaceholderText("Find a parameter");
    m_search->setAccessibleName("Find a parameter");
    m_search->setClearButtonEnabled(true);
    m_message->setObjectName("message");
    m_message->setWordWrap(true);
    m_message->setMargin(8);
    QPalette palette = m_message->palette();
    palette.setColor(QPalette::WindowText, kWarningColor);
    m_message->setPalette(palette);
    m_message->hide();
    m_nothing->setObjectName("dim");
    m_nothing->setTextFormat(Qt::PlainText);
    m_nothing->setWordWrap(true);
    m_nothing->setMargin(8);
    m_nothing->hide();
    m_area->setWidgetResizable(true);
    m_area->setFrameShape(QFrame::NoFrame);
    m_area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 6, 0, 0);
    layout->setSpacing(6);
    auto* const top = new QHBoxLayout;
    top->setContentsMargins(6, 0, 6, 0);
    top->addWidget(m_search);
    layout->addLayout(top);
    layout->addWidget(m_nothing);
    layout->addWidget(m_area, 1);
    layout->addWidget(m_message);
    setMinimumWidth(kLeastWidthPx);
    connect(m_search, &QLineEdit::textChanged, this, &ParameterPanel::arrange);
    connect(qApp, &QApplication::focusChanged, this,
            [this](QWidget*, QWidget* now) { noteFocus(now); });
    document.onChange([this](DocumentChange const& change) { hear(change); });
}

ParameterPanel::~ParameterPanel() {
    disconnect(qApp, nullptr, this, nullptr);
    delete m_area->takeWidget();  // before the controls that it shows
}

/// No more than a quarter of the screen where that shows enough.
QSize ParameterPanel::sizeHint() const {
    int const quarter = screen()->availableSize().width() / 4;
    return {std::clamp(quarter, kLeastWidthPx, kUsualWidthPx), QWidget::sizeHint().height()};
}

QString ParameterPanel::message() const { return m_message->text(); }

/// Other rows come later, never within an act of one of them.
void ParameterPanel::hear(DocumentChange const& change) {
    if (m_opened != m_document.opened()) {  // another scene
        for (Entry const& entry : m_entries)
            if (entry.row) entry.row->dropTyped();
        say({});
    }
    m_opened = m_document.opened();
    if (change.inputs && controlsKey(m_document) != m_key) {
        if (m_controls.empty()) return rebuild();
        QTimer::singleShot(0, this, &ParameterPanel::rebuild);
    }
    refresh();  // a save elsewhere names files anew
}

void ParameterPanel::rebuild() {
    if (controlsKey(m_document) == m_key) return;
    m_key = controlsKey(m_document);
    m_entries.clear();
    delete m_area->takeWidget();  // before the controls that it shows
    m_controls = panelControls(m_document);
    auto* const content = new QWidget;
    auto* const layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(1);
    for (auto const& control : m_controls) layout->addWidget(addEntry(*control, *content));
    layout->addStretch();
    readFolds();
    arrange();
    m_area->setWidget(content);
}

void ParameterPanel::readFolds() {
    QSettings const settings = ownSettings();
    for (std::size_t i = 0; i < m_entries.size(); ++i)
        m_entries[i].isFolded =
            settings.value(foldKey(*m_controls[i]), m_controls[i]->row().startsFolded).toBool();
}

QWidget* ParameterPanel::addEntry(PanelControl& control, QWidget& parent) {
    Entry entry;
    std::size_t const place = m_entries.size();
    if (control.row().kind == ControlKind::kGroup) {
        entry.header = new GroupHeader(
            control, [this, place](bool isFolded) { fold(place, isFolded); }, &parent);
        entry.header->setContextMenuPolicy(Qt::CustomContextMenu);
        connect(entry.header, &QWidget::customContextMenuRequested, this,
                [this, place](QPoint const& at) { showGroupMenu(place, at); });
    } else {
        entry.row = new ControlRowWidget(
            control,
            [this, &control](auto const& act) {
                bool const isDone = run(act);
                if (isDone) remark(control);
                return isDone;
            },
            [this](int frame) { run([&] { m_document.setFrame(frame); }); }, &parent);
    }
    m_entries.push_back(entry);
    return entry.row ? static_cast<QWidget*>(entry.row) : entry.header;
}

/// Shows what is neither folded nor left out by the search, under which nothing is folded.
void ParameterPanel::arrange() {
    std::string const text = m_search->text().toStdString();
    std::vector<bool> const found = foundRows(m_controls, text);
    bool const isNothing =
        !found.empty() && std::find(found.begin(), found.end(), true) == found.end();
    m_nothing->setText("No parameter has \u201c" + m_search->text() + "\u201d in its name.");
    m_nothing->setVisible(isNothing);
    int openLevel = 0;  // rows down to this one are in open groups
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        Entry const& entry = m_entries[i];
        int const level = m_controls[i]->row().level;
        openLevel = std::min(openLevel, level);
        bool const isShown = found[i] && level == openLevel;
        if (entry.row) entry.row->setVisible(isShown);
        if (!entry.header) continue;
        entry.header->setVisible(isShown);
        bool const isFolded = entry.isFolded && m_search->text().isEmpty();
        entry.header->showFolded(isFolded);
        if (level == openLevel && !isFolded) ++openLevel;
    }
    refresh();
}

void ParameterPanel::refresh() {
    for (Entry const& entry : m_entries) {
        if (entry.row && !entry.row->isHidden()) entry.row->refresh();
        if (entry.header && !entry.header->isHidden()) entry.header->refresh();
    }
}

void ParameterPanel::fold(std::size_t group, bool isFolded) {
    m_entries[group].isFolded = isFolded;
    ownSettings().setValue(foldKey(*m_controls[group]), isFolded);
    arrange();
}

void ParameterPanel::foldAll(bool isFolded) {
    QSettings settings = ownSettings();
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        if (!m_entries[i].header) continue;
        m_entries[i].isFolded = isFolded;
        settings.setValue(foldKey(*m_controls[i]), isFolded);
    }
    arrange();
}

std::optional<std::size_t> ParameterPanel::groupOfFocus() const {
    auto const isFocused = [this](Entry const& entry) {
        return m_focused && (entry.row == m_focused || entry.header == m_focused);
    };
    auto const found = std::find_if(m_entries.begin(), m_entries.end(), isFocused);
    if (found == m_entries.end()) return std::nullopt;
    auto place = static_cast<std::size_t>(found - m_entries.begin());
    int const level = m_controls[place]->row().level - (found->row ? 1 : 0);
    while (m_controls[place]->row().level > level) --place;
    return place;
}

/// The last first: what comes later may need what comes before. Files stay, and so does what is
/// greyed by then.
void ParameterPanel::resetGroup(std::size_t group) {
    int const level = m_controls[group]->row().level;
    std::size_t end = group + 1;
    while (end < m_controls.size() && m_controls[end]->row().level > level) ++end;
    m_document.endAct();  // of what is held, which is no part of it
    m_document.runAct("Reset " + m_controls[group]->row().label, [&] {
        for (std::size_t i = end; --i > group;) {
            ControlState const state = m_controls[i]->state();
            bool const isFile = m_controls[i]->row().kind == ControlKind::kFile;
            if (state.isEnabled && !state.isDefault && !isFile) m_controls[i]->reset();
        }
    });
}

void ParameterPanel::showGroupMenu(std::size_t group, QPoint const& place) {
    QMenu menu(this);
    menu.addAction("Reset All of the Group", this, [&] { run([&] { resetGroup(group); }); });
    menu.addAction("Fold All Groups", this, [this] { foldAll(true); });
    menu.addAction("Unfold All Groups", this, [this] { foldAll(false); });
    menu.exec(m_entries[group].header->mapToGlobal(place));
}

/// All acts go through here, so that a refusal is told in one place.
bool ParameterPanel::run(std::function<void()> const& act) {
    QString refusal;
    try {
        act();
    } catch (UserError const& error) {
        refusal = QString::fromUtf8(error.what());
    }
    say(refusal);
    return refusal.isEmpty();
}

/// What was set and has no effect yet.
void ParameterPanel::remark(PanelControl const& control) {
    ControlState const state = control.state();
    if (state.note.empty() || state.isDefault) return;
    say(QString::fromStdString(control.row().label + ": " + state.note));
}

void ParameterPanel::say(QString const& message) {
    showText(*m_message, "Message", message);
    m_message->setVisible(!message.isEmpty());
}

void ParameterPanel::noteFocus(QWidget* widget) {
    for (; widget && widget != this; widget = widget->parentWidget())
        if (dynamic_cast<ControlRowWidget*>(widget) || dynamic_cast<GroupHeader*>(widget))
            m_focused = widget;
}

ViewerCommand ParameterPanel::rowCommand(QString const& name, QKeySequence const& keys,
                                         QString const& help,
                                         std::function<void(ControlRowWidget&)> act) {
    auto const row = [this] { return dynamic_cast<ControlRowWidget*>(m_focused.data()); };
    return {.menu = "Parameters",
            .name = name,
            .keys = keys,
            .help = help,
            .run =
                [row, act] {
                    if (row()) act(*row());
                },
            .isEnabled = [row] { return row() != nullptr; }};
}

ViewerCommands ParameterPanel::commands() {
    using Row = ControlRowWidget;
    auto const find = [this] {
        m_search->setFocus(Qt::ShortcutFocusReason);
        m_search->selectAll();
    };
    return {
        {"Parameters", "Find a Parameter", QKeySequence("Ctrl+F"),
         "Filter the parameters by their names", find},
        rowCommand("Reset to Default", QKeySequence("Ctrl+Backspace"),
                   "Reset the focused parameter to its default", [](Row& row) { row.reset(); }),
        {"Parameters", "Reset Group", QKeySequence("Ctrl+Shift+Backspace"),
         "Reset all parameters of the focused group to their defaults; files stay",
         [this] {
             if (auto const group = groupOfFocus()) run([&] { resetGroup(*group); });
         },
         [this] { return groupOfFocus().has_value(); }},
        rowCommand("Keyframes On or Off", QKeySequence("Ctrl+Alt+K"),
                   "Animate the focused parameter, or remove its keyframes and keep the value",
                   [](Row& row) { row.toggleKeys(); }),
        rowCommand("Key at This Frame", QKeySequence("Ctrl+K"),
                   "Add or remove a keyframe of the focused parameter at this frame",
                   [](Row& row) { row.toggleKeyHere(); }),
        rowCommand("Previous Key of Parameter", QKeySequence("Shift+J"),
                   "Go to the focused parameter's previous keyframe",
                   [](Row& row) { row.goToKey(false); }),
        rowCommand("Next Key of Parameter", QKeySequence("Shift+K"),
                   "Go to the focused parameter's next keyframe",
                   [](Row& row) { row.goToKey(true); }),
        {"Parameters", "Fold All Groups", QKeySequence("Ctrl+Shift+F"),
         "Close all groups of parameters", [this] { foldAll(true); }},
        {"Parameters", "Unfold All Groups", QKeySequence("Ctrl+Alt+F"),
         "Open all groups of parameters", [this] { foldAll(false); }},
    };
}

}  // namespace zelk
