// What the window's acts share: the document, where they say what went wrong, and whom they ask.
#pragma once

#include <QList>
#include <QString>
#include <QWidget>
#include <functional>

#include "apps/viewer/file_dialogs.h"
#include "apps/viewer/model/document.h"
#include "apps/viewer/notice_area.h"

namespace zelk {

/// An answer among several.
struct Answer {
    QString text;
    bool discards = false;  ///< loses something: its button stands apart, as the desktop has it

    Answer(char const* words) : text(QString::fromUtf8(words)) {}
    Answer(QString words, bool loses = false) : text(std::move(words)), discards(loses) {}
};
using Answers = QList<Answer>;

/// Questions to the user; tests answer them by themselves. An empty answer, and -1, is Cancel.
struct Questions {
    std::function<QString(QString const& title, QString const& filter)> fileToOpen;
    std::function<QString(QString const& title, QString const& proposal, QString const& filter)>
        fileToSave;
    std::function<QString(QString const& title)> folder;
    /// The first choice is the one of Enter.
    std::function<int(QString const& text, Answers const& choices)> choice;
    /// Whether to go on with what loses something. Enter and Esc stay.
    std::function<bool(QString const& text, QString const& stay, QString const& goOn)> goesOn;
};
/// Dialogs over a window.
Questions dialogQuestions(QWidget* parent);

struct WindowServices {
    QWidget* window = nullptr;
    Document* document = nullptr;
    NoticeArea* notices = nullptr;
    Questions questions;

    /// Runs an act; what it throws becomes a notice, and the answer false.
    bool attempt(std::function<void()> const& act) const;
    void tellError(QString const& sentence) const;
};

/// Paths between the two worlds.
inline std::filesystem::path pathOf(QString const& text) { return text.toStdString(); }
inline QString textOf(std::filesystem::path const& path) {
    return QString::fromStdString(path.string());
}
/// A name on a button or in a menu, where "&" would mark the next letter.
inline QString plainLabel(QString text) { return text.replace("&", "&&"); }
inline QString nameOf(std::filesystem::path const& path) { return textOf(path.filename()); }

/// A tooltip of what may look like rich text.
inline QString plainToolTip(QString const& text) { return text.toHtmlEscaped(); }

}  // namespace zelk
