// InputActs: files that come into a scene: imports, drops, and those that are missing.
#pragma once

#include <QList>
#include <QUrl>

#include "apps/viewer/commands.h"
#include "apps/viewer/file_acts.h"
#include "apps/viewer/model/scene_inputs.h"
#include "apps/viewer/window_services.h"

namespace zelk {

class InputActs {
public:
    InputActs(WindowServices& services, FileActs& files);

    ViewerCommands commands();
    /// Of a drop or a command line, in their order; asks what each is for.
    void take(std::vector<std::filesystem::path> const& files);
    /// The same; links to other machines are refused.
    void takeDropped(QList<QUrl> const& urls);
    /// A picture, as one step: "Set Plate".
    void import(InputKind kind, std::filesystem::path const& file);
    /// Shows a tracking file before it is taken.
    void importTrack(std::filesystem::path const& file);
    void relink(InputKind kind, std::filesystem::path const& file);
    void relinkAll(std::filesystem::path const& folder);
    /// Other files are missing than those that are told, or one of them is another by now.
    bool hasMissingChanged() const;

private:
    Document& document() const { return *m_services.document; }
    ViewerCommand importCommand(InputKind kind, QString const& name, QString const& help);
    void take(std::vector<std::filesystem::path> const& files, QStringList refusals);
    void takeOne(std::filesystem::path const& file);
    void tellMissing();
    void askRelink();
    void askFolder();

    WindowServices& m_services;
    FileActs& m_files;
    std::string m_missing;  ///< stamps of what is told
};

}  // namespace zelk
