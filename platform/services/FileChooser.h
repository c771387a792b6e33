// The desktop system's dialog for choosing a file, in the steps in which an effect uses it, and the
// file references that it answers.
//
// An application installs what really asks the user; with nothing installed the user has cancelled.
// A status is 0 for success. Everything here belongs to the one thread that has the interface.
#pragma once

#include <cstddef>

#include "platform/services/Export.h"
#include "platform/services/TypeList.h"

using OSStatus = int;
using OSErr = short;

enum : OSStatus {
    kParamStatus = -50,          ///< an argument that can't be
    kFileNotFoundStatus = -43,   ///< no such file
    kUserCanceledStatus = -128,  ///< the user chose nothing
    kNoMemoryStatus = -108,
    kNameTooLongStatus = -2110,  ///< a path that doesn't fit
};

constexpr std::size_t kFilePathBytes = 4096;

/// A file that was found, and a file by its name.
struct FSRef {
    char path[kFilePathBytes];
};
struct FSSpec {
    char path[kFilePathBytes];
};

enum : int { kWindowModalityAppModal = 2 };

struct NavDialogCreationOptions {
    int modality;
};
using NavDialogRef = struct NavDialog*;
using NavSelection = struct NavSelectedFiles*;
/// `selection` belongs to the record until NavDisposeReply.
struct NavReplyRecord {
    NavSelection selection;
};

constexpr unsigned kTypeFSRef = 0x66737266;  ///< "fsrf"

extern "C" {

ZELK_SERVICES_API OSStatus NavGetDefaultDialogCreationOptions(NavDialogCreationOptions* options);
/// A dialog for one file that is there; give it back with NavDialogDispose.
ZELK_SERVICES_API OSStatus NavCreateGetFileDialog(NavDialogCreationOptions const* options,
                                                  NavDialogRef* dialog);
/// Only files of the list's types can be chosen. The list stays the caller's.
ZELK_SERVICES_API OSStatus NavDialogSetFilterTypeIdentifiers(NavDialogRef dialog, CFTypeRef types);
/// Shows the dialog and returns when the user has decided.
ZELK_SERVICES_API OSStatus NavDialogRun(NavDialogRef dialog);
/// kUserCanceledStatus, or 0 and a reply; give it back with NavDisposeReply.
ZELK_SERVICES_API OSStatus NavDialogGetReply(NavDialogRef dialog, NavReplyRecord* reply);
ZELK_SERVICES_API OSStatus NavDisposeReply(NavReplyRecord* reply);
ZELK_SERVICES_API void NavDialogDispose(NavDialogRef dialog);

/// The entry at `index`, from 1, as a kTypeFSRef.
ZELK_SERVICES_API OSErr AEGetNthPtr(NavSelection list, long index, unsigned type, void* bytes,
                                    std::size_t size);
/// The name of a file.
ZELK_SERVICES_API OSErr FSGetCatalogInfo(FSRef const* file, FSSpec* name);
/// The file of a name; kFileNotFoundStatus without one.
ZELK_SERVICES_API OSErr FSpMakeFSRef(FSSpec const* name, FSRef* file);
/// The path, ending with a zero byte; kNameTooLongStatus, and nothing written, when it doesn't fit.
ZELK_SERVICES_API OSStatus FSRefMakePath(FSRef const* file, char* path, std::size_t size);

/// What a dialog asks of the user.
struct FileChooserRequest {
    int modality;
    char const* extension;  ///< of the files to offer, "" for any; a chosen path may have another
};

struct FileChooserBackend {
    void* context;
    /// Writes the chosen path, ending with a zero byte, and returns 0, or another status.
    OSStatus (*choose)(void* context, FileChooserRequest const* request, char* path,
                       std::size_t size);
    /// May be null. Told each step by its function's name before it is done; another status than 0
    /// makes a step fail that can.
    OSStatus (*step)(void* context, char const* name);
};

/// `backend` stays the caller's and is used until another, or null, takes its place.
ZELK_SERVICES_API void installFileChooserBackend(FileChooserBackend const* backend);
}
