// Counted objects: an identifier holds its ending, a list holds identifiers.
#include "platform/services/TypeList.h"

#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "platform/services/ChooserSteps.h"

struct CFObject {
    int holders = 1;
    std::string extension;          ///< of an identifier
    std::vector<CFTypeRef> values;  ///< of a list
};

namespace {

void letGo(CFTypeRef object) {
    if (--object->holders > 0) return;
    for (CFTypeRef value : object->values) letGo(value);
    delete object;
}

}  // namespace

char const* const kUTTagClassFilenameExtension = "public.filename-extension";
char const* const kUTTypeData = "public.data";

CFMutableArrayRef CFArrayCreateMutable() {
    return chooserStatus("CFArrayCreateMutable") ? nullptr : new (std::nothrow) CFObject;
}

CFStringRef UTTypeCreatePreferredIdentifierForTag(char const* tagClass, char const* tag,
                                                  char const*) {
    if (chooserStatus("UTTypeCreatePreferredIdentifierForTag")) return nullptr;
    if (std::strcmp(tagClass, kUTTagClassFilenameExtension) != 0) return nullptr;
    return new (std::nothrow) CFObject{1, tag, {}};
}

void CFArrayAppendValue(CFMutableArrayRef list, CFTypeRef value) {
    if (chooserStatus("CFArrayAppendValue") || !list || !value) return;
    list->values.push_back(value);
    ++value->holders;
}

void CFRelease(CFTypeRef object) {
    if (!object) return;
    chooserStatus("CFRelease");
    letGo(object);
}

char const* firstExtensionOf(CFTypeRef list) {
    return list && !list->values.empty() ? list->values.front()->extension.c_str() : "";
}
