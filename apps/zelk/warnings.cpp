// See warnings.h.
#include "apps/zelk/warnings.h"

#include <cstdio>

namespace zelk {

void tellWarnings(std::vector<std::string> const& warnings) {
    for (std::string const& warning : warnings)
        std::fprintf(stderr, "zelk: warning: %s\n", warning.c_str());
}

}  // namespace zelk
