// ControlEditor: what sets a value, by its kind: fields, a popup, a checkbox, a colour or a file.
#pragma once

#include <QWidget>
#include <functional>
#include <vector>

#include "apps/viewer/model/panel_control.h"

class QCheckBox;
class QComboBox;
class QHBoxLayout;
class QToolButton;

namespace zelk {

class ValueField;

/// Runs an act; false, and told to the user, where it is refused.
using RunAct = std::function<bool(std::function<void()> const& act)>;

class ControlEditor : public QWidget {
public:
    /// The control must outlive it.
    ControlEditor(PanelControl& control, RunAct run, QWidget* parent);

    void show(ControlState const& state);
    /// The first of its widgets takes the focus.
    void focusFirst();
    /// What is typed and not set goes.
    void dropTyped();

private:
    void addFields(QHBoxLayout& layout);
    void addPopup(QHBoxLayout& layout);
    void addCheckbox(QHBoxLayout& layout);
    QToolButton* addButton(QHBoxLayout& layout, QString const& help, void (ControlEditor::*act)());
    ValueField* newField(int field, QString const& name);
    QString type(int field, std::string const& text);

    void choose(int position);
    void askForColor();
    void askForFile();
    void clearFile();

    PanelControl& m_control;
    RunAct m_run;
    std::vector<ValueField*> m_fields;
    QComboBox* m_popup = nullptr;
    QCheckBox* m_checkbox = nullptr;
    QToolButton* m_button = nullptr;  ///< of a colour or a file
    QToolButton* m_clear = nullptr;   ///< of a file
};

}  // namespace zelk
