// TrackDialog: a tracking file before it is taken: its paths over the picture that its pins lie in,
// what is odd about it, and how it is read.
#pragma once

#include <QDialog>
#include <QImage>
#include <memory>

#include "apps/viewer/model/document.h"
#include "apps/viewer/model/frame_service.h"
#include "apps/viewer/model/track_choice.h"

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QVBoxLayout;

namespace zelk {

class PathPreview;

class TrackDialog : public QDialog {
    Q_OBJECT

public:
    TrackDialog(Document const& document, std::filesystem::path const& file, QWidget* parent);
    ~TrackDialog() override;

    TrackChoice const& choice() const { return m_choice; }
    /// As one step: "Import Track". Throws what the document refuses.
    void put(Document& document) const;

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    QWidget* makeForm();
    void addField(QFormLayout& form, QString const& name, QLineEdit*& field,
                  QString const& placeholder, QString const& help);
    void readForm();
    void askPicture();
    void takePicture(SharedFrame const& frame);
    void showChoice();
    void showWarnings();
    void mend(TrackReading const& reading);

    Document const& m_document;
    Comp m_comp;
    TrackChoice m_choice;
    PathPreview* m_preview;
    QComboBox *m_pins, *m_format;
    QLineEdit *m_size, *m_order, *m_firstFrame, *m_shift;
    QCheckBox *m_flipY, *m_fitComp;
    QLabel *m_facts, *m_fault;
    QWidget* m_warnings;
    QVBoxLayout* m_warningRows;
    QPushButton* m_take;
    std::optional<ShownPicture> m_under;
    std::unique_ptr<FrameService> m_service;  ///< last: its thread calls the dialog
};

}  // namespace zelk
