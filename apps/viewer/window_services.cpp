// See window_services.h.
#include "apps/viewer/window_services.h"

#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>

#include "apps/viewer/viewer_application.h"

namespace zelk {

namespace {

int chosenOf(QWidget* parent, QString const& text, Answers const& choices) {
    QMessageBox box(QMessageBox::Question, "Zelk", text, QMessageBox::NoButton, parent);
    box.setTextFormat(Qt::PlainText);
    QList<QAbstractButton*> buttons;
    for (Answer const& choice : choices)
        buttons.append(box.addButton(plainLabel(choice.text), choice.discards
                                                                  ? QMessageBox::DestructiveRole
                                                                  : QMessageBox::AcceptRole));
    box.setDefaultButton(qobject_cast<QPushButton*>(buttons.front()));
    box.setEscapeButton(box.addButton(QMessageBox::Cancel));
    box.exec();
    return static_cast<int>(buttons.indexOf(box.clickedButton()));
}

bool goesOn(QWidget* parent, QString const& text, QString const& stay, QString const& goOn) {
    QMessageBox box(QMessageBox::Question, "Zelk", text, QMessageBox::NoButton, parent);
    box.setTextFormat(Qt::PlainText);
    QPushButton* const keeps = box.addButton(plainLabel(stay), QMessageBox::RejectRole);
    box.addButton(plainLabel(goOn), QMessageBox::DestructiveRole);
    box.setDefaultButton(keeps);
    box.setEscapeButton(keeps);
    box.exec();
    return box.clickedButton() != keeps;
}

}  // namespace

Questions dialogQuestions(QWidget* parent) {
    Questions ask;
    ask.fileToOpen = [parent](QString const& title, QString const& filter) {
        return askFileToOpen(parent, title, filter);
    };
    ask.fileToSave = [parent](QString const& title, QString const& proposal,
                              QString const& filter) {
        return askFileToSave(parent, title, proposal, filter);
    };
    ask.folder = [parent](QString const& title) {
        return QFileDialog::getExistingDirectory(parent, title);
    };
    ask.choice = [parent](QString const& text, Answers const& choices) {
        return chosenOf(parent, text, choices);
    };
    ask.goesOn = [parent](QString const& text, QString const& stay, QString const& goOn) {
        return goesOn(parent, text, stay, goOn);
    };
    return ask;
}

bool WindowServices::attempt(std::function<void()> const& act) const {
    QString const failure = failureOf(act);
    if (!failure.isEmpty()) tellError(failure);
    return failure.isEmpty();
}

void WindowServices::tellError(QString const& sentence) const {
    notices->show("error", {NoticeTone::kError, sentence});
}

}  // namespace zelk
