// NoticeArea: sentences above the picture that stay until they are answered: what failed, what is
// missing, what can be recovered. It takes no room while it has nothing to say. Errors, which come
// in the midst of acts, take none at all: they lie over what is below, so that no picture moves.
#pragma once

#include <QMap>
#include <QString>
#include <QWidget>
#include <functional>
#include <vector>

class QVBoxLayout;

namespace zelk {

enum class NoticeTone { kNote, kWarning, kError };

struct NoticeButton {
    QString text, help;
    std::function<void()> run;
};

struct Notice {
    NoticeTone tone = NoticeTone::kNote;
    QString text;
    std::vector<NoticeButton> buttons = {};
    bool canClose = true;
};

class NoticeArea : public QWidget {
public:
    explicit NoticeArea(QWidget* parent = nullptr);

    /// One of each key at a time: a later one takes the former's place.
    void show(QString const& key, Notice const& notice);
    void remove(QString const& key);
    /// The sentence that is shown; empty for none.
    QString text(QString const& key) const;
    /// Presses its button of that name; false for none.
    bool press(QString const& key, QString const& button);

protected:
    /// Of the area and the widget that it is in.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void placeErrors();
    QWidget* barOf(QString const& key, Notice const& notice);

    QVBoxLayout* m_rows;
    QMap<QString, QWidget*> m_bars;
};

}  // namespace zelk
