// FileActs: new, open, save and what goes with them. Nothing that is not saved is closed without a
// question.
#pragma once

#include <QMenu>

#include "apps/viewer/commands.h"
#include "apps/viewer/model/recent_files.h"
#include "apps/viewer/window_services.h"
#include "zelk/scene/hand_over.h"

namespace zelk {

class FileActs {
public:
    /// Without a state folder no recent files are kept.
    FileActs(WindowServices& services, std::filesystem::path const& stateFolder);

    ViewerCommands commands();
    /// Reads the list anew: other windows add to it.
    void fillRecent(QMenu& menu);
    /// Hears when the list changes here.
    void onRecent(std::function<void()> changed) { m_recentChanged = std::move(changed); }
    std::vector<std::filesystem::path> recent() const;
    /// Hears of tracking data that is to be opened: it comes into a scene.
    void onTrack(std::function<void(std::filesystem::path const&)> take) {
        m_takeTrack = std::move(take);
    }

    // All of these throw what the document refuses; what was open then stays. They ask before they
    // close anything.
    void open();
    void openFile(std::filesystem::path const& file);
    void startWith(std::filesystem::path const& layer);
    void take(HandedScene handed);
    void recover(HandedScene handed);
    void revert();

    bool save();  ///< false where the user thought better of it
    bool saveAs();
    /// Asks where something is not saved, and saves; false: stay.
    bool mayLeave();

    /// A numbered picture, or all that it is one of, as the user answers; empty for Cancel.
    std::filesystem::path pictureMeant(std::filesystem::path const& file) const;

private:
    Document& document() const { return *m_services.document; }
    void clearRecent();
    void remember(std::filesystem::path const& file);

    WindowServices& m_services;
    std::optional<RecentFiles> m_recent;
    std::function<void()> m_recentChanged;
    std::function<void(std::filesystem::path const&)> m_takeTrack;
};

}  // namespace zelk
