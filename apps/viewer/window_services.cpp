// See window_services.h.
#include "apps/viewer/window_services.h"

#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>

#include "zelk/text/errors.h"

namespace zelk {

namespace {

int chosenOf(QWidget* parent, QString const& text, QStringList const& choices) {
    QMessageBox box(QMessageBox::Question, "Zelk", text, QMessageBox::NoButton, parent);
    QList<QAbstractButton*> buttons;
    for (QString const& choice : choices)
        buttons.append(box.addButton(choice, choice.startsWith("Don") ? QMessageBox::DestructiveRole
                                                                      : QMessageBox::AcceptRole));
    box.setDefaultButton(qobject_cast<QPushButton*>(buttons.front()));
    box.setEscapeButton(box.addButton(QMessageBox::Cancel));
    box.exec();
    return static_cast<int>(buttons.indexOf(box.clickedButton()));
}

}  // namespace

Questions dialogQuestions(QWidget* parent) {
    Questions ask;
    ask.fileToOpen = [parent](QString const& title, QString const& filter) {
        return QFileDialog::getOpenFileName(parent, title, {}, filter);
    };
    ask.fileToSave = [parent](QString const& title, QString const& proposal,
                              QString const& filter) {
        return QFileDialog::getSaveFileName(parent, title, proposal, filter);
    };
    ask.folder = [parent](QString const& title) {
        return QFileDialog::getExistingDirectory(parent, title);
    };
    ask.choice = [parent](QString const& text, QStringList const& choices) {
        return chosenOf(parent, text, choices);
    };
    return ask;
}

bool WindowServices::attempt(std::function<void()> const& act) const {
    try {
        act();
        return true;
    } catch (UserError const& error) {
        tellError(QString::fromStdString(error.what()));
        return false;
    }
}

void WindowServices::tellError(QString const& sentence) const {
    notices->show("error", {NoticeTone::kError, sentence});
}

}  // namespace zelk
