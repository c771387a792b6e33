// RecoveryDialog: scenes that viewers left behind, each to be recovered or discarded.
#pragma once

#include <QDialog>
#include <filesystem>
#include <vector>

class QPushButton;
class QTreeWidget;

namespace zelk {

class RecoveryDialog : public QDialog {
    Q_OBJECT

public:
    RecoveryDialog(std::vector<std::filesystem::path> const& abandoned, QWidget* parent);

signals:
    void recovered(QString const& file);  ///< and the dialog closes
    void discarded(QString const& file);

private:
    QString selected() const;
    void discard();
    void showButtons();

    QTreeWidget* m_list;
    QPushButton *m_recover, *m_discard;
};

}  // namespace zelk
