// See start_page.h.
#include "apps/viewer/start_page.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace zelk {

namespace {

QLabel* labelOf(QString const& text, double size, QPalette::ColorRole role) {
    auto* const label = new QLabel(text);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * size);
    label->setFont(font);
    label->setForegroundRole(role);
    label->setAlignment(Qt::AlignCenter);
    return label;
}

}  // namespace

StartPage::StartPage(WindowServices& services, FileActs& files, QWidget* parent)
    : QWidget(parent), m_services(services), m_files(files), m_recent(new QVBoxLayout) {
    auto* const rows = new QVBoxLayout(this);
    rows->addStretch(2);
    rows->addWidget(labelOf("Pin a picture", 2, QPalette::WindowText));
    rows->addWidget(labelOf("Drop a project, a picture, a sequence or a movie here", 1,
                            QPalette::PlaceholderText));
    auto* const line = new QHBoxLayout;
    line->addStretch();
    auto* const open = new QPushButton("Open\u2026", this);
    open->setToolTip("Open a project, a picture, a numbered sequence or a movie");
    connect(open, &QPushButton::clicked, this,
            [this] { m_services.attempt([this] { m_files.open(); }); });
    line->addWidget(open);
    setFocusProxy(open);
    line->addStretch();
    rows->addSpacing(12);
    rows->addLayout(line);
    rows->addSpacing(18);
    rows->addLayout(m_recent);
    rows->addStretch(3);
    files.onRecent([this] { refresh(); });
    refresh();
}

void StartPage::refresh() {
    while (QLayoutItem* const item = m_recent->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    for (auto const& file : m_files.recent()) {
        auto* const button = new QPushButton(plainLabel(textOf(file)), this);
        button->setFlat(true);
        button->setToolTip("Open it again");
        connect(button, &QPushButton::clicked, this, [this, file] {
            QMetaObject::invokeMethod(  // the button may go with it
                this, [this, file] { m_services.attempt([&] { m_files.openFile(file); }); },
                Qt::QueuedConnection);
        });
        m_recent->addWidget(button, 0, Qt::AlignHCenter);
    }
}

}  // namespace zelk
