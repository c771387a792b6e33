// ExportStatus: an export in the window's status line, while its dialog is closed: how far it is, a
// way back to the dialog, and its end.
#pragma once

#include <QWidget>

class QToolButton;

namespace zelk {

class ExportDialog;

class ExportStatus : public QWidget {
    Q_OBJECT

public:
    /// The dialog must outlive what the window does.
    ExportStatus(ExportDialog& dialog, QWidget* parent);

    /// "Export: 12 of 48 frames, 0:05 left"; empty where nothing is shown.
    QString text() const;

private:
    QToolButton* makeButton(QString const& name, QString const& help);
    void showNow();
    void end();

    ExportDialog& m_dialog;
    QToolButton *m_text, *m_end;
    bool m_isFollowed = false;  ///< it ran while its dialog was closed, and nobody looked since
};

}  // namespace zelk
