// A dialog remembers what the backend answered until its reply is fetched.
#include "platform/services/FileChooser.h"

#include <unistd.h>

#include <cstring>
#include <new>

#include "platform/services/ChooserSteps.h"

struct NavDialog {
    NavDialogCreationOptions options;
    char extension[32] = "";
    OSStatus answer = kUserCanceledStatus;
    FSRef chosen{};
};
struct NavSelectedFiles {
    FSRef file;
};

namespace {

FileChooserBackend const* installed = nullptr;

bool copyText(char const* from, char* to, std::size_t size) {
    std::size_t const length = std::strlen(from);
    if (length >= size) return false;
    std::memcpy(to, from, length + 1);
    return true;
}

}  // namespace

void installFileChooserBackend(FileChooserBackend const* backend) { installed = backend; }

OSStatus chooserStatus(char const* step) {
    return installed && installed->step ? installed->step(installed->context, step) : 0;
}

OSStatus NavGetDefaultDialogCreationOptions(NavDialogCreationOptions* options) {
    if (OSStatus const status = chooserStatus("NavGetDefaultDialogCreationOptions")) return status;
    *options = {};
    return 0;
}

OSStatus NavCreateGetFileDialog(NavDialogCreationOptions const* options, NavDialogRef* dialog) {
    if (OSStatus const status = chooserStatus("NavCreateGetFileDialog")) return status;
    *dialog = new (std::nothrow) NavDialog{*options};
    return *dialog ? 0 : kNoMemoryStatus;
}

OSStatus NavDialogSetFilterTypeIdentifiers(NavDialogRef dialog, CFTypeRef types) {
    if (OSStatus const status = chooserStatus("NavDialogSetFilterTypeIdentifiers")) return status;
    return copyText(firstExtensionOf(types), dialog->extension, sizeof dialog->extension)
               ? 0
               : kParamStatus;
}

OSStatus NavDialogRun(NavDialogRef dialog) {
    if (OSStatus const status = chooserStatus("NavDialogRun")) return status;
    if (!installed) return 0;
    FileChooserRequest const request{dialog->options.modality, dialog->extension};
    dialog->answer = installed->choose(installed->context, &request, dialog->chosen.path,
                                       sizeof dialog->chosen.path);
    return 0;
}

OSStatus NavDialogGetReply(NavDialogRef dialog, NavReplyRecord* reply) {
    if (OSStatus const status = chooserStatus("NavDialogGetReply")) return status;
    if (dialog->answer != 0) return dialog->answer;
    reply->selection = new (std::nothrow) NavSelectedFiles{dialog->chosen};
    return reply->selection ? 0 : kNoMemoryStatus;
}

OSStatus NavDisposeReply(NavReplyRecord* reply) {
    chooserStatus("NavDisposeReply");
    delete reply->selection;
    reply->selection = nullptr;
    return 0;
}

void NavDialogDispose(NavDialogRef dialog) {
    chooserStatus("NavDialogDispose");
    delete dialog;
}

OSErr AEGetNthPtr(NavSelection list, long index, unsigned type, void* bytes, std::size_t size) {
    if (OSStatus const status = chooserStatus("AEGetNthPtr")) return static_cast<OSErr>(status);
    if (!list || index != 1 || type != kTypeFSRef || size < sizeof list->file) return kParamStatus;
    std::memcpy(bytes, &list->file, sizeof list->file);
    return 0;
}

OSErr FSGetCatalogInfo(FSRef const* file, FSSpec* name) {
    if (OSStatus const status = chooserStatus("FSGetCatalogInfo"))
        return static_cast<OSErr>(status);
    std::memcpy(name->path, file->path, sizeof name->path);
    return 0;
}

OSErr FSpMakeFSRef(FSSpec const* name, FSRef* file) {
    if (OSStatus const status = chooserStatus("FSpMakeFSRef")) return static_cast<OSErr>(status);
    if (::access(name->path, F_OK) != 0) return kFileNotFoundStatus;
    std::memcpy(file->path, name->path, sizeof file->path);
    return 0;
}

OSStatus FSRefMakePath(FSRef const* file, char* path, std::size_t size) {
    if (OSStatus const status = chooserStatus("FSRefMakePath")) return status;
    return copyText(file->path, path, size) ? 0 : kNameTooLongStatus;
}
