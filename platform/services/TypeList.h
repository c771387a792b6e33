// Lists of type identifiers of the desktop system, as a file dialog takes them.
//
// Objects that a Create function gives belong to the caller, who gives them back with CFRelease.
#pragma once

#include <cstddef>

#include "platform/services/Export.h"

using CFTypeRef = struct CFObject*;
using CFStringRef = CFTypeRef;
using CFMutableArrayRef = CFTypeRef;

extern "C" {

/// The class of tags that are endings of file names, and the type of any data.
ZELK_SERVICES_API extern char const* const kUTTagClassFilenameExtension;
ZELK_SERVICES_API extern char const* const kUTTypeData;

/// An empty list, or null when there is no memory.
ZELK_SERVICES_API CFMutableArrayRef CFArrayCreateMutable();
/// The identifier of files with that ending, such as "txt"; null for another class of tags.
ZELK_SERVICES_API CFStringRef UTTypeCreatePreferredIdentifierForTag(char const* tagClass,
                                                                    char const* tag,
                                                                    char const* conformingTo);
/// The list holds `value` from here on, until it goes. Null is let pass, here as below.
ZELK_SERVICES_API void CFArrayAppendValue(CFMutableArrayRef list, CFTypeRef value);
ZELK_SERVICES_API void CFRelease(CFTypeRef object);
}
