// Picture libraries print on standard error what they also report to us; a user is to see one line.
#pragma once

#include <string_view>

namespace zelk {

/// While one lives, on whatever thread, standard error leads nowhere.
class QuietLibraries {
public:
    QuietLibraries();
    ~QuietLibraries();
    QuietLibraries(QuietLibraries const&) = delete;
    QuietLibraries& operator=(QuietLibraries const&) = delete;
};

/// Whether it stays what it is, from the next QuietLibraries on: in a process of others what they
/// print meanwhile would be lost.
void leaveStandardErrorAlone(bool isLeftAlone);

/// Writes to standard error itself, quiet or not; what can't be written is left out.
void writeToStandardError(std::string_view text);

}  // namespace zelk
