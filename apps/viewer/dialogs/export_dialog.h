// ExportDialog: what is rendered to which files, and the run's progress. The window stays usable:
// the run has a copy of the scene.
#pragma once

#include <QDialog>
#include <memory>

#include "apps/viewer/model/command_text.h"
#include "apps/viewer/model/export_job.h"

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;

namespace zelk {

struct WindowServices;

class ExportDialog : public QDialog {
    Q_OBJECT

public:
    ExportDialog(WindowServices& services, QWidget* parent);
    ~ExportDialog() override;

    ExportEdits edits() const;
    void start();
    bool mayReplace(Scene const& scene, RunOptions& run);
    void cancel();
    bool isRunning() const;
    ExportState state() const { return m_job ? m_job->state() : ExportState(); }

    /// Closing in the midst of a run asks; a run that goes on is seen when it is opened again.
    void reject() override;

private:
    void makeForm(QFormLayout& form);
    void makeProgress(QFormLayout& form);
    QWidget* makeButtons();
    QComboBox* makeChoice(QFormLayout& form, QString const& name, char const* edit,
                          QString const& byDefault);
    void askOutput();
    void copyCommand();
    void showState();
    void showFields();

    WindowServices& m_services;
    QLineEdit *m_output, *m_frames, *m_quality;
    QComboBox *m_codec, *m_channels, *m_depth;
    QCheckBox *m_skip, *m_share;
    QLabel* m_text;
    QProgressBar* m_bar;
    QPlainTextEdit* m_failures;
    QPushButton *m_start, *m_cancel, *m_copy, *m_close;
    std::unique_ptr<ExportJob> m_job;  ///< last: its thread calls the dialog
};

}  // namespace zelk
