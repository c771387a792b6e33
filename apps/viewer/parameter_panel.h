// ParameterPanel: the scene's settings and the effect's controls, in groups that fold, with a
// search. What it shows is model/panel_controls.h; here are the widgets and what is folded, which
// it remembers.
//
// Rows are made once for a kind of scene; while frames play and values change, only what differs is
// shown anew, and of folded rows nothing.
#pragma once

#include <QPointer>
#include <QWidget>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/viewer/commands.h"
#include "apps/viewer/model/panel_control.h"

class QLabel;
class QLineEdit;
class QScrollArea;

namespace zelk {

class ControlRowWidget;
class GroupHeader;

class ParameterPanel : public QWidget {
    Q_OBJECT

public:
    explicit ParameterPanel(Document& document, QWidget* parent = nullptr);
    ~ParameterPanel() override;

    QSize sizeHint() const override;
    ViewerCommands commands();
    /// The last refusal, as it stands below the controls; empty after an act that went well.
    QString message() const;

private:
    /// A control and its widget: a header of a group, else a row.
    struct Entry {
        GroupHeader* header = nullptr;
        ControlRowWidget* row = nullptr;
        bool isFolded = false;
    };

    void hear(DocumentChange const& change);
    void rebuild();
    QWidget* addEntry(PanelControl& control, QWidget& parent);
    void readFolds();
    void arrange();
    void refresh();
    void fold(std::size_t group, bool isFolded);
    void foldAll(bool isFolded);
    /// Of the row or header that had the focus last; nothing before any had.
    std::optional<std::size_t> groupOfFocus() const;
    void resetGroup(std::size_t group);
    void showGroupMenu(std::size_t group, QPoint const& place);
    bool run(std::function<void()> const& act);
    void remark(PanelControl const& control);
    void say(QString const& message);
    void noteFocus(QWidget* widget);
    /// A command for the row that had the focus last.
    ViewerCommand rowCommand(QString const& name, QKeySequence const& keys, QString const& help,
                             std::function<void(ControlRowWidget&)> act);

    Document& m_document;
    int m_opened = 0;   ///< of the document that it shows
    std::string m_key;  ///< of the document that the rows were made for
    std::vector<std::unique_ptr<PanelControl>> m_controls;
    std::vector<Entry> m_entries;  ///< of each control
    QLineEdit* m_search;
    QScrollArea* m_area;
    QLabel *m_message, *m_nothing;
    QPointer<QWidget> m_focused;  ///< the row or header that had the focus last
};

}  // namespace zelk
