// The dialog's steps in their order, and what each of them owes; see chooseTrackingFile.h.
#include "tracking/chooseTrackingFile.h"

#include <cstring>

namespace {

/// What was had so far, given back in this order at the end of the scope.
struct DialogObjects {
    CFStringRef type = nullptr;
    CFMutableArrayRef types = nullptr;
    NavReplyRecord reply{};
    bool hasReply = false;
    NavDialogRef dialog = nullptr;

    DialogObjects() = default;
    DialogObjects(DialogObjects const&) = delete;
    DialogObjects& operator=(DialogObjects const&) = delete;
    ~DialogObjects() {
        CFRelease(type);
        CFRelease(types);
        if (hasReply) NavDisposeReply(&reply);
        if (dialog) NavDialogDispose(dialog);
    }
};

bool createDialog(NavDialogRef& dialog) {
    NavDialogCreationOptions options;
    if (NavGetDefaultDialogCreationOptions(&options) != 0) return false;
    options.modality = kWindowModalityAppModal;
    return NavCreateGetFileDialog(&options, &dialog) == 0;
}

bool allowOnlyText(DialogObjects& held) {
    held.types = CFArrayCreateMutable();
    if (!held.types) return false;
    held.type =
        UTTypeCreatePreferredIdentifierForTag(kUTTagClassFilenameExtension, "txt", kUTTypeData);
    if (!held.type) return false;
    CFArrayAppendValue(held.types, held.type);
    return NavDialogSetFilterTypeIdentifiers(held.dialog, held.types) == 0;
}

bool pathOf(NavReplyRecord const& reply, char* path) {
    FSRef chosen, found;
    FSSpec spec;
    if (AEGetNthPtr(reply.selection, 1, kTypeFSRef, &chosen, sizeof chosen) != 0) return false;
    if (FSRefMakeFSSpec(&chosen, &spec) != 0) return false;
    if (FSpMakeFSRef(&spec, &found) != 0) return false;
    std::memset(path, 0, kTrackingPathBytes);
    return FSRefMakePath(&found, path, kTrackingPathBytes) == 0;
}

}  // namespace

OSErr FSRefMakeFSSpec(FSRef const* ref, FSSpec* spec) {
    if (!spec) return kParamStatus;
    return FSGetCatalogInfo(ref, spec);
}

int chooseTrackingFile(char* path, std::function<void()> const& read) {
    DialogObjects held;
    if (!createDialog(held.dialog)) return 0;
    if (!allowOnlyText(held)) return 0;
    if (NavDialogRun(held.dialog) != 0) return 0;
    held.hasReply = NavDialogGetReply(held.dialog, &held.reply) == 0;
    if (held.hasReply && pathOf(held.reply, path)) read();
    return 0;
}
