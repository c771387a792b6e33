// Dialogs that ask for a file, and what of a folder they show.
#pragma once

#include <QString>

class QWidget;

namespace zelk {

/// Empty for Cancel. `start` is a folder or a file of it.
QString askFileToOpen(QWidget* parent, QString const& title, QString const& filter,
                      QString const& start = {});
QString askFileToSave(QWidget* parent, QString const& title, QString const& proposal,
                      QString const& filter);

/// What can be opened, a picture's files, tracking data; each with "All files".
QString openFilter();
QString pictureFilter();
QString trackFilter();
inline constexpr char const* kProjectFilter = "Zelk projects (*.zelk.json);;All files (*)";
inline constexpr char const* kConfigFilter =
    "OpenColorIO configurations (*.ocio *.ocioz);;All files (*)";
inline constexpr char const* kAnyFilter = "All files (*)";

}  // namespace zelk
