// StartPage: what the window shows while nothing is open.
#pragma once

#include <QWidget>

#include "apps/viewer/file_acts.h"

class QVBoxLayout;

namespace zelk {

class StartPage : public QWidget {
    Q_OBJECT

public:
    StartPage(WindowServices& services, FileActs& files, QWidget* parent);
    /// The recent files anew.
    void refresh();

private:
    WindowServices& m_services;
    FileActs& m_files;
    QVBoxLayout* m_recent;
};

}  // namespace zelk
