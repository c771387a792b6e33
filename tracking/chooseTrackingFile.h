// The user's choice of a tracking file, by the desktop system's dialog.
#pragma once

#include <functional>

#include "platform/services/FileChooser.h"

/// Of a chosen path with its end.
constexpr int kTrackingPathBytes = 1024;

/// Shows the dialog for one file with the ending "txt". When one is chosen its path is in `path`,
/// of kTrackingPathBytes, and `read` runs while the dialog's objects are still held. Always 0: a
/// cancel or a step that fails ends it in silence, with everything given back.
int chooseTrackingFile(char* path, std::function<void()> const& read);

/// -50 for a null `spec`, else FSGetCatalogInfo's status, which fills `spec` from `ref`.
OSErr FSRefMakeFSSpec(FSRef const* ref, FSSpec* spec);
