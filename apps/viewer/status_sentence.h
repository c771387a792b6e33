// StatusSentence: the window's one place for what a scene gives cause to say. Its height is
// reserved, so that no sentence moves the picture.
//
// Warnings are those that hold, each once. What is told of the last act goes with the next one.
#pragma once

#include <QStringList>
#include <QWidget>

namespace zelk {

class StatusSentence : public QWidget {
public:
    explicit StatusSentence(QWidget* parent);

    void warn(QString const& sentence);  ///< beside those that hold
    /// These alone from now on.
    void holdWarnings(QStringList const& sentences);
    void tell(QString const& sentence);
    void endTold() { tell({}); }
    void clear();  ///< another scene
    /// All of them, the newest first.
    QStringList sentences() const;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void showNow();

    QStringList m_warnings;
    QString m_told;
};

}  // namespace zelk
