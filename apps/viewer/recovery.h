// Recovery: what is edited is saved by itself every few seconds, and what a viewer that died left
// behind is offered.
#pragma once

#include <QTimer>

#include "apps/viewer/file_acts.h"
#include "apps/viewer/model/autosave.h"

namespace zelk {

class Recovery : public QObject {
public:
    Recovery(WindowServices& services, FileActs& files, std::filesystem::path folder);

    /// One notice of all scenes that were left behind; none without them.
    void offer();
    /// What was edited is saved or discarded: the window closes.
    void end();
    /// How long after a change it is saved; 3 seconds.
    void setDelay(int ms) { m_timer.setInterval(ms); }

private:
    void follow();
    void save();
    void hear(std::string const& fault);
    void tell(std::string const& fault);
    void offerOne(std::filesystem::path const& abandoned);
    void showList();
    void recover(std::filesystem::path const& abandoned);
    void askDiscard(std::vector<std::filesystem::path> const& abandoned);

    WindowServices& m_services;
    FileActs& m_files;
    std::filesystem::path m_folder;
    std::string m_told;  ///< why the last writing failed
    QTimer m_timer;
    Autosave m_autosave;  ///< ends first: it calls from a thread of its own
};

}  // namespace zelk
