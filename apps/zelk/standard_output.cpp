// See standard_output.h.
#include "apps/zelk/standard_output.h"

#include <cstdio>

#include "apps/zelk/errors.h"

namespace zelk {

void print(std::string_view text) {
    bool const isWritten = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    if (!isWritten || std::fflush(stdout) != 0) {
        throw UserError(ExitCode::kOutput, {"standard output", "cannot be written:", "write failed",
                                            "an open output"});
    }
}

}  // namespace zelk
