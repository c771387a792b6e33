// Picture libraries print on standard error what they also report to us; a user is to see one line.
#pragma once

namespace zelk {

/// While one lives, on whatever thread, standard error leads nowhere.
class QuietLibraries {
public:
    QuietLibraries();
    ~QuietLibraries();
    QuietLibraries(QuietLibraries const&) = delete;
    QuietLibraries& operator=(QuietLibraries const&) = delete;
};

}  // namespace zelk
