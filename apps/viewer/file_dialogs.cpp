// See file_dialogs.h.
#include "apps/viewer/file_dialogs.h"

#include <QFileDialog>

#include "apps/viewer/model/opened_file.h"

namespace zelk {

namespace {

/// " *.exr *.EXR": some desktops' dialogs tell cases apart.
QString patternsOf(std::vector<std::string> const& endings) {
    QString patterns;
    for (std::string const& ending : endings) {
        QString const own = QString::fromStdString(ending);
        patterns += " *." + own + " *." + own.toUpper();
    }
    return patterns.trimmed();
}

QString picturePatterns() {
    return patternsOf(pictureEndings()) + " " + patternsOf(movieEndings());
}

}  // namespace

QString openFilter() {
    return "Projects, pictures, movies and tracks (*.zelk.json *.json " + picturePatterns() + " " +
           patternsOf(trackEndings()) + ");;" + kProjectFilter;
}

QString pictureFilter() { return "Pictures and movies (" + picturePatterns() + ");;" + kAnyFilter; }

QString trackFilter() {
    return "Tracking data (" + patternsOf(trackEndings()) + ");;" + kAnyFilter;
}

QString askFileToOpen(QWidget* parent, QString const& title, QString const& filter,
                      QString const& start) {
    return QFileDialog::getOpenFileName(parent, title, start, filter, nullptr,
                                        QFileDialog::HideNameFilterDetails);
}

QString askFileToSave(QWidget* parent, QString const& title, QString const& proposal,
                      QString const& filter) {
    return QFileDialog::getSaveFileName(parent, title, proposal, filter, nullptr,
                                        QFileDialog::HideNameFilterDetails);
}

}  // namespace zelk
