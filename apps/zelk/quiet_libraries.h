// Picture libraries print on standard error what they also report to us; a user is to see one line.
#pragma once

namespace zelk {

/// While it lives, standard error leads nowhere. For the main thread; objects do not overlap.
class QuietLibraries {
public:
    QuietLibraries();
    ~QuietLibraries();
    QuietLibraries(QuietLibraries const&) = delete;
    QuietLibraries& operator=(QuietLibraries const&) = delete;

private:
    int m_kept;  ///< the real standard error, below 0 when it could not be kept
};

}  // namespace zelk
