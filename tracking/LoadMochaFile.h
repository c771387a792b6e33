// Reads a planar tracker's text file into a MochaLoader; docs/tracking.md describes the file.
//
// `paramIndices` and `diskIds` hold four entries each, in the order of the file's corner sections:
// position 0, 1, 2, 3 of TrackingLine.
#pragma once

class MochaLoader;
class PluginHost_API;

/// A file without size lines is taken to be of this size, pixels.
constexpr int kUntoldTrackWidth = 720, kUntoldTrackHeight = 486;

/// Lets the user choose a file and reads it. Always 0: a cancel and a failure end in silence.
int LoadMochaFile(PluginHost_API* host, int* paramIndices, int* diskIds, MochaLoader* loader);

/// 1 when the file can't be opened, else 0. Lines longer than 255 characters are looked at in
/// pieces; a line that says nothing is passed over.
int LoadMochaFile(PluginHost_API* host, int* paramIndices, int* diskIds, char const* path,
                  MochaLoader* loader);
