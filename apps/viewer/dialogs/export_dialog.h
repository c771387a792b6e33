// ExportDialog: what is rendered to which files, and the run's progress. The window stays usable:
// the run has a copy of the scene. There is one for a window, which keeps its fields.
#pragma once

#include <QDialog>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

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
    /// First and last frame of a part of the timeline that is marked; nothing for all of it.
    using Range = std::function<std::optional<std::pair<int, int>>()>;
    ExportDialog(WindowServices& services, Range marked, QWidget* parent);
    ~ExportDialog() override;

    /// Shows it. Output and frames are the scene's own where these are others than before; else
    /// all fields are as they were left.
    void bring();
    /// The scene is another one: as bring, while the dialog is shown.
    void follow();
    /// So may be the part that is marked; cheap for who says so often.
    void followRange();
    ExportEdits edits() const;
    void start();
    bool mayReplace(Scene const& scene, RunOptions& run);
    void cancel();
    bool isRunning() const;
    ExportState state() const { return m_job ? m_job->state() : ExportState(); }
    /// What it refuses, or says of its last act.
    QString said() const;

    /// A run that is under way goes on.
    void reject() override;

signals:
    void changed();  ///< the run, or whether the dialog is seen

protected:
    bool event(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void makeForm(QFormLayout& form);
    void makeProgress(QFormLayout& form);
    QWidget* makeButtons();
    QComboBox* makeChoice(QFormLayout& form, QString const& name, char const* edit,
                          QString const& byDefault);
    QCheckBox* makeCheckbox(QFormLayout& form, QString const& name, QString const& help);
    void settle();
    void nameOwnChoices();
    QString framesByDefault() const;
    void askOutput();
    void copyCommand();
    void refuse(std::function<QString()> why);
    void tell(QString const& sentence);
    void lookAgain();
    void makeRoom();
    void showState();
    void showFields();

    WindowServices& m_services;
    Range m_marked;
    std::string m_sceneOutput;           ///< as it was taken
    QString m_defaultFrames;             ///< the field's, unless somebody typed
    int m_opened = 0;                    ///< Document::opened of the fields
    std::function<QString()> m_refusal;  ///< why the last act was refused, as of now
    QLineEdit *m_output, *m_frames, *m_quality;
    QComboBox *m_codec, *m_channels, *m_depth;
    QCheckBox *m_skip, *m_share;
    QLabel *m_said, *m_text;
    QProgressBar* m_bar;
    QPlainTextEdit* m_failures;
    QPushButton *m_start, *m_cancel, *m_copy, *m_close;
    std::unique_ptr<ExportJob> m_job;  ///< last: its thread calls the dialog
};

}  // namespace zelk
