// See control_editor.h.
#include "apps/viewer/parameters/control_editor.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QHBoxLayout>
#include <QToolButton>

#include "apps/viewer/file_dialogs.h"
#include "apps/viewer/model/field_text.h"
#include "apps/viewer/parameters/own_keys.h"
#include "apps/viewer/parameters/panel_icons.h"
#include "apps/viewer/parameters/popup.h"
#include "apps/viewer/parameters/value_field.h"
#include "zelk/text/errors.h"

namespace zelk {
namespace {

constexpr int kFieldPx = 100, kPairFieldPx = 68, kTurnsFieldPx = 34, kPopupPx = 20;

/// What users hear of one of several fields.
QString nameOfField(ControlRow const& row, int field) {
    if (row.kind == ControlKind::kPoint) return field == 0 ? "x" : "y";
    if (row.kind == ControlKind::kAngle) return field == 0 ? "turns" : "degrees";
    return row.fields > 1 ? QString("%1 of %2").arg(field + 1).arg(row.fields) : QString();
}

int widthOfField(ControlRow const& row, int field) {
    if (row.kind == ControlKind::kAngle && field == 0) return kTurnsFieldPx;
    return row.fields > 1 ? kPairFieldPx : kFieldPx;
}

/// With its unit; a point's is the tooltip's.
QString shownText(ControlRow const& row, int field, std::string const& text) {
    if (row.kind == ControlKind::kFile && text.empty()) return "none";
    bool const isTurns = row.kind == ControlKind::kAngle && field == 0;
    std::string const unit = row.kind == ControlKind::kPoint ? ""
                             : isTurns                       ? "x"
                                                             : shortUnit(row.unit);
    bool const joins = unit.empty() || unit == "°" || unit == "x";
    return QString::fromStdString(text + (joins ? "" : " ") + unit);
}

bool isNumber(ControlKind kind) {
    return kind == ControlKind::kNumber || kind == ControlKind::kPoint ||
           kind == ControlKind::kAngle;
}

}  // namespace

ControlEditor::ControlEditor(PanelControl& control, RunAct run, QWidget* parent)
    : QWidget(parent), m_control(control), m_run(std::move(run)) {
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    ControlKind const kind = control.row().kind;
    if (kind == ControlKind::kColor)
        m_button = addButton(*layout, "Choose a colour", &ControlEditor::askForColor);
    if (control.row().fields > 0) addFields(*layout);
    if (kind == ControlKind::kPopup) addPopup(*layout);
    if (kind == ControlKind::kCheckbox) addCheckbox(*layout);
    if (kind == ControlKind::kFile) {
        m_button = addButton(*layout, "Choose a file", &ControlEditor::askForFile);
        m_button->setText("…");
        m_clear = addButton(*layout, "Remove the file", &ControlEditor::clearFile);
        m_clear->setText("×");
    } else if (kind != ControlKind::kPopup) {
        layout->addStretch();
    }
}

ValueField* ControlEditor::newField(int field, QString const& name) {
    FieldActs acts;
    acts.typedText = [this, field] { return QString::fromStdString(m_control.typedText(field)); };
    acts.type = [this, field](QString const& text) { return type(field, text.toStdString()); };
    acts.giveUp = [this] { m_run([] {}); };
    acts.begin = [this] { m_control.begin(); };
    acts.end = [this] { m_control.end(); };
    acts.cancel = [this] { m_run([&] { m_control.cancel(); }); };
    if (isNumber(m_control.row().kind))
        acts.step = [this, field](double steps) {
            return m_run([&] { m_control.step(field, steps); });
        };
    auto* const widget = new ValueField(std::move(acts), m_control.row().isWhole, this);
    widget->setObjectName(QString("field%1").arg(field));
    widget->setAccessibleName(
        (QString::fromStdString(m_control.row().label) + " " + name).trimmed());
    m_fields.push_back(widget);
    return widget;
}

/// The sentence of a refusal, which is told as that of any act is.
QString ControlEditor::type(int field, std::string const& text) {
    QString refusal;
    m_run([&] {
        try {
            m_control.type(field, text);
        } catch (UserError const& error) {
            refusal = QString::fromUtf8(error.what());
            throw;
        }
    });
    return refusal;
}

void ControlEditor::dropTyped() {
    for (ValueField* const field : m_fields) field->dropTyped();
}

void ControlEditor::addFields(QHBoxLayout& layout) {
    ControlRow const& row = m_control.row();
    bool const isShort = isNumber(row.kind) || row.kind == ControlKind::kColor;
    for (int field = 0; field < row.fields; ++field) {
        ValueField* const widget = newField(field, nameOfField(row, field));
        if (isShort) widget->setFixedWidth(widthOfField(row, field));
        widget->setFixedHeight(kPopupPx);
        layout.addWidget(widget);
    }
}

void ControlEditor::addPopup(QHBoxLayout& layout) {
    m_popup = new Popup(this);
    m_popup->setFocusPolicy(Qt::StrongFocus);
    m_popup->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_popup->setMinimumContentsLength(8);
    m_popup->setFixedHeight(kPopupPx);
    m_popup->setMaxVisibleItems(40);
    m_popup->setAccessibleName(QString::fromStdString(m_control.row().label));
    for (std::string const& choice : m_control.row().choices) {
        if (choice == kSeparator)
            m_popup->insertSeparator(m_popup->count());
        else
            m_popup->addItem(QString::fromStdString(choice));
    }
    connect(m_popup, &QComboBox::activated, this, [this](int place) { choose(place + 1); });
    layout.addWidget(m_popup, 1);
}

void ControlEditor::addCheckbox(QHBoxLayout& layout) {
    m_checkbox = new QCheckBox(QString::fromStdString(m_control.row().caption), this);
    keepKeys(*m_checkbox, {Qt::Key_Space});
    m_checkbox->setAccessibleName(QString::fromStdString(m_control.row().label));
    connect(m_checkbox, &QCheckBox::clicked, this, [this](bool isOn) { choose(isOn); });
    layout.addWidget(m_checkbox);
}

QToolButton* ControlEditor::addButton(QHBoxLayout& layout, QString const& help,
                                      void (ControlEditor::*act)()) {
    auto* const button = new QToolButton(this);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::StrongFocus);
    keepKeys(*button, {Qt::Key_Space});
    button->setToolTip(help);
    button->setAccessibleName(help + " of " + QString::fromStdString(m_control.row().label));
    connect(button, &QToolButton::clicked, this, act);
    layout.addWidget(button);
    return button;
}

void ControlEditor::show(ControlState const& state) {
    for (std::size_t i = 0; i < m_fields.size(); ++i)
        m_fields[i]->showText(shownText(m_control.row(), static_cast<int>(i), state.fields.at(i)));
    if (m_popup) {
        m_popup->setCurrentIndex(state.choice - 1);
        if (!state.fields.empty())
            m_popup->setPlaceholderText(QString::fromStdString(state.fields.front()));
    }
    if (m_checkbox) m_checkbox->setChecked(state.choice != 0);
    if (m_control.row().kind == ControlKind::kColor)
        m_button->setIcon(colorIcon(QColor(QString::fromStdString(state.fields.front()))));
    if (m_clear) m_clear->setEnabled(!state.isDefault);
    setEnabled(state.isEnabled);
}

void ControlEditor::focusFirst() {
    if (!m_fields.empty()) return m_fields.front()->setFocus(Qt::OtherFocusReason);
    if (m_popup) m_popup->setFocus(Qt::OtherFocusReason);
    if (m_checkbox) m_checkbox->setFocus(Qt::OtherFocusReason);
}

/// What was not taken is shown as it was.
void ControlEditor::choose(int position) {
    bool const asks = m_popup && m_control.asksForFile(position);
    QString const title = QString::fromStdString(m_control.row().label);
    QString const file = asks ? askFileToOpen(window(), title, trackFilter()) : QString();
    if (asks && !file.isEmpty())
        m_run([&] { m_control.chooseFile(position, file.toStdString()); });
    else if (!asks)
        m_run([&] { m_control.choose(position); });
    show(m_control.state());
}

/// Shown in the picture while it is chosen; one act.
void ControlEditor::askForColor() {
    QColorDialog dialog(QColor(m_fields.front()->text()), window());
    dialog.setWindowTitle(QString::fromStdString(m_control.row().label));
    connect(&dialog, &QColorDialog::currentColorChanged, this, [this](QColor const& color) {
        m_run([&] { m_control.type(0, color.name().toStdString()); });
    });
    m_control.begin();
    if (dialog.exec() == QDialog::Accepted)
        m_control.end();
    else
        m_run([&] { m_control.cancel(); });
}

void ControlEditor::askForFile() {
    bool const isConfig = m_control.row().name == "scene ocio";
    QString const file = askFileToOpen(window(), QString::fromStdString(m_control.row().label),
                                       isConfig ? kConfigFilter : pictureFilter(),
                                       QString::fromStdString(m_control.file().string()));
    if (!file.isEmpty()) m_run([&] { m_control.type(0, file.toStdString()); });
}

void ControlEditor::clearFile() {
    m_run([this] { m_control.reset(); });
}

}  // namespace zelk
