// What the parts of the file dialog share within the library.
#pragma once

#include "platform/services/FileChooser.h"

/// Tells the installed backend of a step; its answer, 0 without one.
OSStatus chooserStatus(char const* step);

/// The ending that a list's first identifier stands for; "" without one.
char const* firstExtensionOf(CFTypeRef list);
